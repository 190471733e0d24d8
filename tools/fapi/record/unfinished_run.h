// SPDX-License-Identifier: Apache-2.0
// What a run keeps beside its report until it has ended, so that it can be resumed when it never does: a file of JSON
// lines, the first for the run and one more for each step that has ended.
#ifndef FAPI_BENCH_RECORD_UNFINISHED_RUN_H
#define FAPI_BENCH_RECORD_UNFINISHED_RUN_H

#include <memory>

#include "base/durable_file.h"
#include "record/result.h"

namespace tool {

// The set that a run is on.
struct SetOfRun {
    enum class Kind { kept, fresh, target };
    std::string name;  // the virtual set's folder; of a target with a wire its name
    Kind kind = Kind::kept;

    bool operator==(const SetOfRun& other) const { return name == other.name; }
};

class UnfinishedRun {
public:
    // There is no file before begin().
    UnfinishedRun(const Plan& plan, const ParameterValues& parameters, const std::string& stem, const SetOfRun& set);

    // The newest one of the plan in the report folder, on that set; of any folder when the set's name is empty. Throws
    // UsageError when there is none that can be gone on with.
    static std::unique_ptr<UnfinishedRun> find(const std::string& folder, const Plan& plan, const SetOfRun& set);

    // The one in the file; null when that is damaged.
    static std::unique_ptr<UnfinishedRun> read(const std::string& file);
    // The files of the folder, newest first.
    static std::vector<std::string> filesIn(const std::string& folder);

    // The one of the run whose report has these names.
    static std::string fileOf(const std::string& stem);

    // Before begin(): which run of the store it is, and what decides what that comes to, by name.
    void nameRecord(const std::string& run, const Json& decides);
    // Throws UsageError when something of that has changed since the run began.
    void requireSame(const Json& decides) const;
    // Notes that a run of a bench without a store is there now.
    void storeRecord(const std::string& run);
    // Empty for a run that is in no store.
    const std::string& record() const { return _record; }

    // From then on nobody else goes on with it. False when somebody does, or is still at it.
    bool lock() const;
    // Whether nobody can go on with it any more.
    bool isLost() const;
    // Removes the file, and what of its report there was, unless that was written for good. Locked before.
    void remove() const;
    // What that removes.
    std::vector<std::string> files() const;

    const std::string& stem() const { return _stem; }
    const std::string& plan() const { return _plan; }
    const SetOfRun& set() const { return _set; }
    const ParameterValues& parameters() const { return _parameters; }

    // Where it goes on, and what there was until then; steps that have not ended have no result.
    const Position& position() const { return _position; }
    const Variables& variables() const { return _variables; }
    const std::map<std::size_t, StepResult>& steps() const { return _steps; }

    // Something is called from now on. What else was unfinished on the same set is not any more. Trouble with the file
    // is told on standard error, and the run goes on without it.
    void begin();
    // `position` is where the step has ended, `kept` what has been kept since the one before it.
    void endStep(const Position& position, const StepResult& result, const Variables& kept);
    // The run has ended: nothing is left to resume.
    void finish();

private:
    explicit UnfinishedRun(const std::string& file);

    Json header() const;
    void readHeader(const Json& json);
    void readStep(const Json& json);
    void write(const Json& json);
    void giveUp(const char* why);
    void check(const Plan& plan) const;
    void dropOthers() const;
    std::string file() const;

    std::string _stem;
    std::unique_ptr<OpenFile> _open;  // locked; null without a file
    std::size_t _validBytes = 0;      // of the file that was read
    bool _begun = false;

    std::string _plan;  // the file, as an absolute path
    std::string _record;
    Json _decides;  // null for a run of an older bench
    std::string _hash;
    std::string _faultsHash;
    SetOfRun _set;
    ParameterValues _parameters;

    Position _position;
    Variables _variables;
    std::map<std::size_t, StepResult> _steps;
};

}  // namespace tool

#endif
