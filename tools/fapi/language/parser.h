// SPDX-License-Identifier: Apache-2.0
// Reads plans, and finds everything in them that cannot work. For the sources of this reader only.
#ifndef FAPI_BENCH_LANGUAGE_PARSER_H
#define FAPI_BENCH_LANGUAGE_PARSER_H

#include <map>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "language/line_words.h"
#include "plan/order.h"
#include "plan/plan.h"
#include "target/surprises.h"

namespace tool {

constexpr const char* kOnlyIf = "only-if";

bool isName(const std::string& word);
// Throws UsageError for a word after those that are used.
void requireEnd(const Words& words, std::size_t used);

class PlanParser {
public:
    PlanParser(std::string_view text, std::vector<Problem>& problems, const std::string& file);
    Plan take() { return std::move(_plan); }

private:
    // Where lines of a word stand.
    enum class Place {
        head,     // before the first step
        frame,    // around lines: it begins or ends steps
        line,     // in a step
        follower  // after the line that it belongs to
    };
    // A word that lines of plans begin with, and what reads these lines.
    struct PlanWord {
        const char* word;
        Place place;
        void (PlanParser::*read)(const Words& words);
    };
    static const std::vector<PlanWord>& planWords();
    static const PlanWord* findPlanWord(const std::string& word);
    // A file that lines are read from.
    struct Source {
        std::string name;                                        // empty: the plan's own
        std::map<std::string, std::string> values;               // that its include has given
        std::vector<std::pair<std::string, std::size_t>> given;  // their names, and the columns of these
        std::set<std::string> used;                              // names of values in it
    };
    // A part whose end has not come yet.
    struct OpenPart {
        PlanPart part;
        Section section = Section::steps;  // of a group: the present one
        std::string word;                  // that began it
        std::size_t column = 1;            // of the word
        std::size_t source = 0;            // how many files were open then
        std::string skipped;               // why this set is not to meet its steps
        std::vector<OnlyIf> conditions;    // on which a run meets them
    };
    // Names of all words, for "did you mean".
    static std::vector<std::string> knownWords();

    void parseLine(std::string_view text);
    void problem(const UsageError& error);
    void addProblem(unsigned int line, std::size_t column, const std::string& text);
    std::size_t takeCondition(const Words& words, std::string& skipped, std::vector<OnlyIf>& conditions);
    std::size_t readOnlyIf(const Words& words, std::size_t i, std::string& skipped, std::vector<OnlyIf>& conditions);
    bool isAfterSkipped(const PlanWord* word) const;
    void skipLine(const Words& words, const PlanWord* word, const std::string& why);
    void finish();
    void sortProblems();

    // parser_head.cpp
    void parsePlanName(const Words& words);
    void requireHead(const std::string& word) const;
    void addParameter(const Words& words);
    void parseUnit(const Words& words);
    void parseLimitsLine(const Words& words);
    void parseDefaultOnFailure(const Words& words);

    // parser_steps.cpp
    static std::size_t parseOnFailure(const Words& words, std::size_t i, bool& stop);
    void parseStep(const Words& words);
    std::size_t parseStepOption(const Words& words, std::size_t i, Step& step);
    void endStep();

    // parser_parts.cpp
    bool isIn(PartKind kind) const;
    bool isInTeardown() const;
    void leaveStep();
    void addPart(PlanPart part);
    PlanPart& openPart(PartKind kind, const char* word);
    void parseGroup(const Words& words);
    void parseSection(const Words& words);
    void parseTeardown(const Words& words);
    void parseRepeat(const Words& words);
    void parseTurnsOfLimits(const Words& words, Loop& loop);
    void parseAlongside(const Words& words);
    void parseEnd(const Words& words);
    void closePart();
    void closeParts(std::size_t source);

    // parser_include.cpp
    Words wordsOf(std::string_view text);
    void readIncludeValues(const Words& words, std::size_t i, Source& source) const;
    void addInclude(const Words& words);
    void readSource(Source source, const std::string& text, const std::string& path);

    // parser_lines.cpp
    PlanLine& addLine(const Words& words);
    void addOwnLine(const Words& words);
    void checkFirstWord(const std::string& word);
    void addCommand(Words words);
    void requireNoRival(const Command& command) const;
    void warn(const std::string& text);
    bool useVariables(const std::string& word);
    bool useVariables(const Words& words);
    void useVariables(const Condition& condition);
    PlanLine& lastLine(const std::string& word, bool isAboutChip = false);
    void checkOutput(const std::string& output, std::size_t word) const;
    static void checkEventField(const std::string& output, const PlanLine& line);
    void addExpectation(const Words& words);
    void checkMeasure(const Measure& measure, const Words& words);
    void setVariable(const std::string& name, std::size_t word);
    void addKeep(const Words& words);

    std::vector<Problem>& _problems;
    Plan _plan;
    std::string_view _text;  // of the line
    unsigned int _line = 0;
    std::size_t _before = 0;  // words of the line that are cut off
    std::size_t _stepColumn = 1;
    Surprises _surprises;
    Source _source;
    std::vector<std::string> _chain;  // the files that are open, each included by the one before
    std::vector<OpenPart> _open;      // the innermost at the end
    std::set<std::string> _loops;     // variables of the loops among them
    std::vector<OnlyIf> _conditions;  // of the line
    bool _hasStep = false;            // a step has begun, and nothing has ended it
    bool _teardown = false;
    bool _stopOnFailure = true;
    // Of the last line, as far as they are known.
    std::optional<std::vector<std::string>> _outputs;
    std::string _silent;  // what it is, when it answers nothing
    std::set<std::string> _kept = {kPlanFolder};
    std::set<std::pair<LineKind, std::string>> _names;  // of lines whose name stands once in a plan
    std::set<std::string> _measures;
    bool _areLimitsKnown = false;
};

}  // namespace tool

#endif
