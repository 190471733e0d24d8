// SPDX-License-Identifier: Apache-2.0
// The results of runs in the file of a station.
#ifndef FAPI_BENCH_RECORD_RESULTS_STORE_H
#define FAPI_BENCH_RECORD_RESULTS_STORE_H

#include "protocol/value.h"
#include "record/database.h"
#include "record/run_record.h"

namespace tool {

// The file in a folder of reports.
std::string resultsFileIn(const std::string& folder);

// Another run of the unit goes on at this station.
class UnitIsBusy : public UsageError {
public:
    using UsageError::UsageError;
};

// Inserts whole runs, or parts of one. Rows that are there already stay.
class RunInserter {
public:
    explicit RunInserter(Database& database);
    void insert(const RunRecord& run);
    void insert(const RunParts& parts);

private:
    Inserter<StationRecord> _station;
    Inserter<UnitRecord> _unit;
    Inserter<PlanRecord> _plan;
    Inserter<RunRecord> _run;
    Inserter<StepRecord> _step;
    Inserter<AttemptRecord> _attempt;
    Inserter<MeasurementRecord> _measurement;
    Inserter<AttachmentRecord> _attachment;
    Inserter<EventRecord> _event;
};

// Whether a run has no end, and its process has died.
bool hasDeadRuns(Database& database);

// Everything that is stored of the run.
RunParts readParts(Database& database, const std::string& run);

// One program's way to write a file of results.
class ResultsStore {
public:
    // Makes the file, brings it up to date, and ends runs whose processes have died. Throws ResultsError.
    explicit ResultsStore(const std::string& file);

    Database& database() { return _database; }
    // From then on runs wait for this server, and are not forgotten before it has them. Throws UsageError for an
    // address that must not be used.
    void noteServer(const std::string& address);
    // Stores a run that begins, with the number and the attempt that it gives it. Throws UnitIsBusy.
    void begin(RunRecord& run);
    // Stores what has come of steps, in one transaction.
    void add(const std::vector<RunParts>& parts);
    // Stores how a run has ended, and puts it into the outbox. The run is of begin(), or whole and new.
    void end(const RunRecord& run, const std::vector<RunParts>& parts);
    void remove(const std::string& run);
    // Ends runs whose processes have died as interrupted.
    void endDeadRuns();
    // A run that is over and known with all its parts.
    void addWhole(const std::vector<WholeRun>& runs);

private:
    void endDeadRun(const std::string& run);
    void insertParts(const std::vector<RunParts>& parts);
    void endRow(const RunRecord& run);
    void putOut(const std::string& run);

    Database _database;
    RunInserter _insert;
};

}  // namespace tool

#endif
