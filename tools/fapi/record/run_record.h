// SPDX-License-Identifier: Apache-2.0
// What is kept of a run for good: the rows of the results store.
#ifndef FAPI_BENCH_RECORD_RUN_RECORD_H
#define FAPI_BENCH_RECORD_RUN_RECORD_H

#include <optional>
#include <string>
#include <vector>

namespace tool {

// Every row lists its columns once, in visit(): tables are written, read and exported by these lists. Times are UTC,
// "2026-02-14T09:15:30.125Z".

struct StationRecord {
    std::string name, host;

    static constexpr const char* kTable = "station";
    template <class Visitor, class Row>
    static void visit(Visitor& column, Row& row) {
        column("name", row.name);
        column("host", row.host);
    }
};

struct UnitRecord {
    std::string serial, seen;  // since when it is known

    static constexpr const char* kTable = "unit";
    template <class Visitor, class Row>
    static void visit(Visitor& column, Row& row) {
        column("serial", row.serial);
        column("seen", row.seen);
    }
};

struct PlanRecord {
    std::string hash, name, file;

    static constexpr const char* kTable = "plan";
    template <class Visitor, class Row>
    static void visit(Visitor& column, Row& row) {
        column("hash", row.hash);
        column("name", row.name);
        column("file", row.file);
    }
};

struct RunRecord {
    std::string id;        // a UUID of version 7, made before the first step
    long long number = 0;  // counts the runs of a station from 1
    std::string station, host, stage, person;
    std::optional<std::string> unit;
    std::string plan, planFile, planHash;  // the hash is of all that decides
    std::string parameters;                // a JSON object
    std::string target, set, library, agent, bench;
    std::string began;
    std::optional<std::string> ended;
    long long utcOffset = 0;  // minutes by which local time was ahead
    double seconds = 0;
    long long attempt = 1;               // at this unit, at this stage
    std::optional<std::string> verdict;  // none while it goes on
    std::string decidingStep, why;
    long long passed = 0, marginal = 0, failed = 0, errors = 0, interrupted = 0, notRun = 0, skipped = 0;  // steps
    double inCalls = 0, inWaits = 0;              // of the seconds
    long long faults = 0;                         // how many it was to meet
    std::string report;                           // what the names of its report's files begin with
    std::optional<std::string> waivedBy, waiver;  // who let a failed unit pass, and for which reason

    static constexpr const char* kTable = "run";
    template <class Visitor, class Row>
    static void visit(Visitor& column, Row& row) {
        column("id", row.id);
        column("number", row.number);
        column("station", row.station);
        column("host", row.host);
        column("stage", row.stage);
        column("person", row.person);
        column("unit", row.unit);
        column("plan", row.plan);
        column("plan_file", row.planFile);
        column("plan_hash", row.planHash);
        column("parameters", row.parameters);
        column("target", row.target);
        column("set_folder", row.set);
        column("library", row.library);
        column("agent", row.agent);
        column("bench", row.bench);
        column("began", row.began);
        column("ended", row.ended);
        column("utc_offset", row.utcOffset);
        column("seconds", row.seconds);
        column("attempt", row.attempt);
        column("verdict", row.verdict);
        column("deciding_step", row.decidingStep);
        column("why", row.why);
        column("passed", row.passed);
        column("marginal", row.marginal);
        column("failed", row.failed);
        column("errors", row.errors);
        column("interrupted", row.interrupted);
        column("not_run", row.notRun);
        column("skipped", row.skipped);
        column("in_calls", row.inCalls);
        column("in_waits", row.inWaits);
        column("faults", row.faults);
        column("report", row.report);
        column("waived_by", row.waivedBy);
        column("waiver", row.waiver);
    }
};

struct StepRecord {
    std::string run;
    long long number = 0;  // its place in the plan, from 0
    std::string name, verdict, text;
    long long teardown = 0;
    double seconds = 0;

    static constexpr const char* kTable = "step";
    template <class Visitor, class Row>
    static void visit(Visitor& column, Row& row) {
        column("run", row.run);
        column("number", row.number);
        column("name", row.name);
        column("verdict", row.verdict);
        column("text", row.text);
        column("teardown", row.teardown);
        column("seconds", row.seconds);
    }
};

struct AttemptRecord {
    std::string run;
    long long step = 0, number = 0;  // the number counts from 1
    long long final = 0;             // 1: the last one, which decides
    std::string verdict, text, began, log;
    double seconds = 0;

    static constexpr const char* kTable = "attempt";
    template <class Visitor, class Row>
    static void visit(Visitor& column, Row& row) {
        column("run", row.run);
        column("step", row.step);
        column("number", row.number);
        column("final", row.final);
        column("verdict", row.verdict);
        column("text", row.text);
        column("began", row.began);
        column("log", row.log);
        column("seconds", row.seconds);
    }
};

struct MeasurementRecord {
    std::string run;
    long long step = 0, attempt = 1, number = 0;  // the number counts those of the attempt from 0
    long long final = 0;                          // 1: of the attempt that decides
    std::string name, unit;
    std::optional<double> value;      // of a list: how far its nearest value is from an end of its limits
    std::optional<std::string> text;  // of what is no number: a text, a list
    std::optional<double> low, high, margin;
    std::string verdict, at;

    static constexpr const char* kTable = "measurement";
    template <class Visitor, class Row>
    static void visit(Visitor& column, Row& row) {
        column("run", row.run);
        column("step", row.step);
        column("attempt", row.attempt);
        column("number", row.number);
        column("final", row.final);
        column("name", row.name);
        column("unit", row.unit);
        column("value", row.value);
        column("text", row.text);
        column("low", row.low);
        column("high", row.high);
        column("margin", row.margin);
        column("verdict", row.verdict);
        column("at", row.at);
    }
};

// Of what is the whole run's and no step's.
constexpr long long kNoStep = -1;

// What a file beside the report is.
constexpr const char* kReportFile = "report";
constexpr const char* kPicture = "picture";
constexpr const char* kAttached = "attached";  // by a program of the plan

struct AttachmentRecord {
    std::string run;
    long long number = 0, step = 0;
    std::string kind = kReportFile, name, hash, file;  // the SHA-256; the file is beside the report
    long long bytes = 0;

    static constexpr const char* kTable = "attachment";
    template <class Visitor, class Row>
    static void visit(Visitor& column, Row& row) {
        column("run", row.run);
        column("number", row.number);
        column("step", row.step);
        column("kind", row.kind);
        column("name", row.name);
        column("hash", row.hash);
        column("file", row.file);
        column("bytes", row.bytes);
    }
};

// "waiver": who has let something pass, and why.
struct EventRecord {
    std::string run;
    long long number = 0, step = 0;
    std::string at, name, data;

    static constexpr const char* kTable = "event";
    template <class Visitor, class Row>
    static void visit(Visitor& column, Row& row) {
        column("run", row.run);
        column("number", row.number);
        column("step", row.step);
        column("at", row.at);
        column("name", row.name);
        column("data", row.data);
    }
};

// What belongs to a run besides its own row: all of it, or what has come of one step.
struct RunParts {
    std::vector<StepRecord> steps;
    std::vector<AttemptRecord> attempts;
    std::vector<MeasurementRecord> measurements;
    std::vector<AttachmentRecord> attachments;
    std::vector<EventRecord> events;
    bool replaces = false;  // its steps were stored before, and have changed
};

struct WholeRun {
    RunRecord run;
    RunParts parts;
};

}  // namespace tool

#endif
