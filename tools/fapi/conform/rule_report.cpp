// SPDX-License-Identifier: Apache-2.0
#include "conform/rule_report.h"

#include <algorithm>
#include <cstdio>
#include <sstream>

#include <pugixml.hpp>

#include "base/report_text.h"
#include "base/terminal.h"
#include "report/html.h"
#include "report/style.h"
#include "report/verdict_banner.h"

namespace tool {

namespace {

// The verdict of a run with which the page and the terminal share their colors.
Verdict likeOf(const RuleResult& result) {
    switch (result.verdict) {
        case RuleVerdict::pass:
            return Verdict::passed;
        case RuleVerdict::skipped:
            return Verdict::notRun;
        case RuleVerdict::fail:
            return result.expected.empty() ? Verdict::failed : Verdict::marginal;
        default:
            return Verdict::error;
    }
}

const char* classOf(const RuleResult& result) {
    switch (likeOf(result)) {
        case Verdict::passed:
            return "v-passed";
        case Verdict::notRun:
            return "v-not-run";
        case Verdict::marginal:
            return "v-marginal";
        default:
            return "v-failed";
    }
}

std::string wordsOf(const std::vector<std::string>& words) {
    std::string text;
    for (const std::string& word : words) {
        text += (text.empty() ? "" : ", ") + word;
    }
    return text;
}

// "fail (expected: the board has no such pad)"
std::string verdictText(const RuleResult& result) {
    const std::string name = verdictName(result.verdict);
    return result.expected.empty() ? name : name + " (expected: " + result.expected + ")";
}

std::string placeOf(const Rule& rule) {
    return rule.place + ", " + rule.plan.file;
}

std::string secondsOf(double seconds) {
    char text[32];
    std::snprintf(text, sizeof(text), "%.3f", seconds);
    return text;
}

void writeRow(Html rows, const RuleResult& result) {
    const Rule& rule = *result.rule;
    Html row = rows.add("tr", classOf(result));
    Html what = row.add("td", "step", rule.name);
    what.add("div", "note", rule.promise + " (" + rule.place + ")");
    if (!result.text.empty()) {
        what.add("div", "text", result.text);
    }
    if (result.verdict == RuleVerdict::fail) {
        what.add("div", "note", "does not work without it: " + wordsOf(rule.breaks));
    }
    if (!result.expected.empty()) {
        what.add("div", "note", "expected: " + result.expected);
    }
    row.add("td", "", dangerName(rule.danger));
    row.add("td").add("span", "badge", verdictName(result.verdict));
    row.add("td", "time", result.verdict == RuleVerdict::skipped ? "" : durationText(result.seconds));
}

void writeFamily(Html body, const ConformanceResult& result, const std::string& family) {
    body.add("h2", "", family);
    Html table = body.add("table", "list");
    Html head = table.add("thead").add("tr");
    head.add("th", "step", "Rule");
    head.add("th", "badges", "Does");
    head.add("th", "badges", "Result");
    head.add("th", "time", "Duration");
    Html rows = table.add("tbody");
    for (const RuleResult& rule : result.rules) {
        if (rule.rule->family == family) {
            writeRow(rows, rule);
        }
    }
}

std::string countsText(const ConformanceResult& result) {
    std::string text = std::to_string(result.rules.size()) + " rules: ";
    const char* separator = "";
    for (const RuleVerdict verdict : {RuleVerdict::pass, RuleVerdict::fail, RuleVerdict::skipped, RuleVerdict::error}) {
        text += separator + std::to_string(result.count(verdict)) + " " + verdictName(verdict);
        separator = ", ";
    }
    return text;
}

}  // namespace

std::size_t ConformanceResult::count(RuleVerdict verdict) const {
    return static_cast<std::size_t>(
        std::count_if(rules.begin(), rules.end(), [&](const RuleResult& result) { return result.verdict == verdict; }));
}

std::size_t ConformanceResult::unexpectedFailures() const {
    return static_cast<std::size_t>(std::count_if(rules.begin(), rules.end(), [](const RuleResult& result) {
        return result.verdict == RuleVerdict::fail && result.expected.empty();
    }));
}

Verdict ConformanceResult::verdict() const {
    return isInterrupted                    ? Verdict::interrupted
           : count(RuleVerdict::error) != 0 ? Verdict::error
           : unexpectedFailures() != 0      ? Verdict::failed
                                            : Verdict::passed;
}

void printRule(const RuleResult& result, bool json) {
    const Rule& rule = *result.rule;
    if (json) {
        Json line = {{"rule", rule.name},
                     {"result", verdictName(result.verdict)},
                     {"text", result.text},
                     {"promise", rule.promise},
                     {"place", rule.place},
                     {"breaks", rule.breaks},
                     {"danger", dangerName(rule.danger)},
                     {"seconds", result.seconds}};
        if (!result.expected.empty()) {
            line["expected"] = result.expected;
        }
        printLine(jsonLine(line));
        return;
    }
    const std::string name = verdictName(result.verdict);
    const std::string colored = usesColors() ? colorOf(likeOf(result)) + name + kColorsOff : name;
    printLine(colored + std::string(8 - std::min<std::size_t>(name.size(), 7), ' ') + rule.name);
    if (result.verdict == RuleVerdict::pass) {
        return;
    }
    printLine("        " + printable(result.text));
    if (!result.expected.empty()) {
        printLine("        expected: " + printable(result.expected));
    }
    if (result.verdict == RuleVerdict::fail) {
        printLine("        " + printable(rule.promise) + " (" + printable(placeOf(rule)) + ")");
        printLine("        does not work without it: " + wordsOf(rule.breaks));
    }
}

void printSummary(const ConformanceResult& result, std::size_t notChosen, bool json) {
    if (json) {
        printLine(jsonLine({{"rules", result.rules.size()},
                            {"pass", result.count(RuleVerdict::pass)},
                            {"fail", result.count(RuleVerdict::fail)},
                            {"skipped", result.count(RuleVerdict::skipped)},
                            {"error", result.count(RuleVerdict::error)},
                            {"unexpected", result.unexpectedFailures()},
                            {"not_chosen", notChosen},
                            {"seconds", result.seconds},
                            {"verdict", verdictName(result.verdict())}}));
        return;
    }
    printLine(countsText(result) + " in " + durationText(result.seconds));
    if (notChosen != 0) {
        printLine(std::to_string(notChosen) + " more rules are checked when they are named, or with --danger");
    }
    printVerdict(result.verdict());
}

std::string junitOf(const ConformanceResult& result) {
    pugi::xml_document document;
    document.append_child(pugi::node_declaration).append_attribute("version") = "1.0";
    pugi::xml_node suite = document.append_child("testsuites").append_child("testsuite");
    suite.append_attribute("name") = "conformance";
    suite.append_attribute("timestamp") = isoTime(result.start).c_str();
    suite.append_attribute("tests") = result.rules.size();
    suite.append_attribute("failures") = result.unexpectedFailures();
    suite.append_attribute("errors") = result.count(RuleVerdict::error);
    suite.append_attribute("skipped") = result.rules.size() - result.count(RuleVerdict::pass) -
                                        result.count(RuleVerdict::error) - result.unexpectedFailures();
    suite.append_attribute("time") = secondsOf(result.seconds).c_str();
    for (const RuleResult& rule : result.rules) {
        pugi::xml_node test = suite.append_child("testcase");
        test.append_attribute("classname") = ("conformance." + rule.rule->family).c_str();
        test.append_attribute("name") = rule.rule->name.c_str();
        test.append_attribute("time") = secondsOf(rule.seconds).c_str();
        if (rule.verdict == RuleVerdict::pass) {
            continue;
        }
        const bool isSkipped = rule.verdict == RuleVerdict::skipped || !rule.expected.empty();
        const bool isError = rule.verdict == RuleVerdict::error;
        pugi::xml_node why = test.append_child(isSkipped ? "skipped" : isError ? "error" : "failure");
        const std::string text = rule.expected.empty() ? rule.text : verdictText(rule) + ": " + rule.text;
        why.append_attribute("message") = xmlText(text).c_str();
    }
    std::ostringstream stream;
    document.save(stream, "  ");
    return stream.str();
}

std::string pageOf(const ConformanceResult& result) {
    pugi::xml_document document;
    document.append_child(pugi::node_doctype).set_value("html");
    Html html(document.append_child("html"));
    html.attribute("lang", "en");
    Html head = html.add("head");
    head.add("meta").attribute("charset", "utf-8");
    head.add("meta").attribute("name", "viewport").attribute("content", "width=device-width, initial-scale=1");
    const std::string word = verdictWord(result.verdict());
    head.add("title", "", word + ": conformance");
    head.add("style", "", kHtmlStyle);
    Html body = html.add("body");
    Html card = body.add("header", result.verdict() == Verdict::passed ? "verdict v-passed" : "verdict v-failed");
    Html what = card.add("div", "what");
    what.add("h1", "", "Conformance");
    what.add("div", "note",
             countsText(result) + " in " + durationText(result.seconds) + ", " +
                 timeText(result.start, "%Y-%m-%d %H:%M:%S %Z"));
    card.add("div", "word", word);
    Html main = body.add("main");
    Html facts = main.add("dl", "facts");
    facts.add("dt", "", "Set");
    facts.add("dd", "", result.set);
    std::vector<std::string> families;
    for (const RuleResult& rule : result.rules) {
        if (std::find(families.begin(), families.end(), rule.rule->family) == families.end()) {
            families.push_back(rule.rule->family);
        }
    }
    for (const std::string& family : families) {
        writeFamily(main, result, family);
    }
    // Without indentation, which some elements would show.
    std::ostringstream stream;
    document.save(stream, "", pugi::format_raw | pugi::format_no_declaration, pugi::encoding_utf8);
    return stream.str();
}

}  // namespace tool
