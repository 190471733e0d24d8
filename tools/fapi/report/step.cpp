// SPDX-License-Identifier: Apache-2.0
// One step on the page.
#include "report/step.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>

#include "report/charts.h"

namespace tool {

namespace {

// What is shown of a long text; the JSON report has everything.
constexpr std::size_t kShown = 1500;
constexpr std::size_t kShownLine = 300;
constexpr std::size_t kShownEvent = 120;
// Of many attempts those at both ends are shown.
constexpr std::size_t kShownAttempts = 3;

std::string textOf(const Json& json, const char* name) {
    return json.contains(name) && json[name].is_string() ? json[name].get<std::string>() : "";
}

// A value as the JSON report has it, for a person. A list has a line for each of its rows: a text as it is, or the
// parts of an object by their names.
std::string valueText(const Json& value) {
    if (value.is_string()) {
        return value.get<std::string>();
    }
    if (value.is_object() && value.contains("hex")) {
        return jsonText(value["size"], -1) + " bytes: " + value["hex"].get<std::string>();
    }
    if (!value.is_structured()) {
        return jsonLine(value);
    }
    std::string text;
    for (const auto& [name, part] : value.items()) {
        text += value.is_array() ? valueText(part) + "\n" : (text.empty() ? "" : ", ") + name + " " + valueText(part);
    }
    return text;
}

std::string withoutEmptyLines(const std::string& text) {
    std::string result;
    for (const char c : text) {
        if (c != '\n' || (!result.empty() && result.back() != '\n')) {
            result += c;
        }
    }
    return result;
}

bool isBadName(const std::string& verdict) {
    return verdict != verdictName(Verdict::passed) && verdict != verdictName(Verdict::marginal) &&
           verdict != verdictName(Verdict::skipped);
}

void writeBadge(Html parent, const std::string& verdict) {
    parent.add("span", ("badge " + verdictClass(verdict)).c_str(), verdict);
}

void writeExpectation(Html parent, const Json& expectation) {
    const std::string verdict = textOf(expectation, "verdict");
    Html row = parent.add("div", ("expectation " + verdictClass(verdict)).c_str());
    row.add("code", "", beginningOf(textOf(expectation, "text"), kShownLine));
    const std::string why = textOf(expectation, "why"), found = textOf(expectation, "found");
    if (!why.empty()) {
        row.add("span", "why", beginningOf(why, kShown));
    } else if (verdict == verdictName(Verdict::notRun)) {
        row.add("span", "found", "not looked at");
    } else if (!found.empty()) {
        row.add("span", "found", "found " + beginningOf(found, kShownLine));
    }
}

void writeOutputs(Html parent, const Json& outputs) {
    Html list = parent.add("dl", "outputs");
    for (const auto& [name, value] : outputs.items()) {
        list.add("dt", "", name);
        list.add("dd").add("pre", "", beginningOf(valueText(value), kShown));
    }
}

void writeCommand(Html parent, const Json& command) {
    const bool hasStatus = command.contains("status");
    Html block = parent.add("div", "command");
    Html head = block.add("div", "head");
    head.add("span", "line", command.contains("line") ? "line " + jsonText(command["line"], -1) : "");
    head.add("code", "call", beginningOf(textOf(command, "command"), kShownLine));
    if (hasStatus) {
        const bool isGood = command.value("good", false);
        head.add("span", isGood ? "status good" : "status bad",
                 jsonText(command["status"], -1) + " (" + textOf(command, "word") + ")");
    }
    if (command.contains("seconds")) {
        head.add("span", "time", durationText(command["seconds"].get<double>()));
    }
    if (command.contains("outputs") && !command["outputs"].empty()) {
        writeOutputs(block, command["outputs"]);
    }
    if (const std::string error = textOf(command, "error"); !error.empty()) {
        block.add("div", "expectation v-failed").add("span", "why", beginningOf(error, kShown));
    }
    if (const std::string why = textOf(command, "skipped"); !why.empty()) {
        block.add("p", "note", "skipped: " + beginningOf(why, kShown));
    }
    if (const std::string note = textOf(command, "note"); !note.empty()) {
        block.add("p", "note", beginningOf(note, kShown));
    }
    for (const Json& refusal : command.value("refusals", Json::array())) {
        block.add("p", "note refusal", beginningOf(textOf(refusal, "text"), kShownLine));
    }
    if (command.contains("expectations")) {
        for (const Json& expectation : command["expectations"]) {
            writeExpectation(block, expectation);
        }
    }
}

void writeMoments(Html parent, const Attempt& attempt) {
    std::vector<Moment> moments;
    for (const Json& command : attempt.commands) {
        for (const Json& expectation : command.value("expectations", Json::array())) {
            if (expectation.contains("event")) {
                moments.push_back({expectation["event"]["after"].get<double>(),
                                   beginningOf(textOf(expectation, "found"), kShownEvent)});
            }
        }
    }
    if (!moments.empty()) {
        parent.add("h4", "", "Events in the " + durationText(attempt.seconds) + " of the attempt");
        drawMoments(parent, moments, attempt.seconds);
    }
}

void writeLines(Html parent, const Attempt& attempt) {
    for (const Json& command : attempt.commands) {
        writeCommand(parent, command);
    }
    if (!attempt.log.empty()) {
        parent.add("h4", "", "The library's log");
        // Somebody without a mouse scrolls in it, too.
        parent.add("pre", "log", withoutEmptyLines(attempt.log)).attribute("tabindex", "0");
    }
}

void writeAttempt(Html parent, const Attempt& attempt, std::size_t number, std::size_t count) {
    const bool isBadAttempt = isBad(attempt.judgement.verdict);
    Html details = parent.add("details", "attempt");
    if (isBadAttempt && number == count) {
        details.attribute("open", std::string("open"));
    }
    const std::size_t commands = attempt.commands.size();
    Html summary = details.add("summary");
    if (count > 1) {
        summary.text("Attempt " + std::to_string(number) + " of " + std::to_string(count) + " ");
        writeBadge(summary, verdictName(attempt.judgement.verdict));
        summary.text(" ");
    }
    summary.text(std::to_string(commands) + (commands == 1 ? " line in " : " lines in ") +
                 durationText(attempt.seconds));
    if (number < count && !attempt.judgement.text.empty()) {
        details.add("p", "why", beginningOf(attempt.judgement.text, kShown));
    }
    writeLines(details, attempt);
}

void writeAttempts(Html parent, const std::vector<Attempt>& attempts) {
    for (std::size_t i = 0; i < attempts.size(); ++i) {
        const std::size_t left = attempts.size() > 2 * kShownAttempts ? attempts.size() - 2 * kShownAttempts : 0;
        if (left > 0 && i == kShownAttempts) {
            parent.add("p", "note", "... " + std::to_string(left) + " more attempts, which the JSON report has ...");
            i += left;
        }
        writeAttempt(parent, attempts[i], i + 1, attempts.size());
    }
}

void writePicture(Html parent, const Json& picture, const std::string& folder) {
    const std::string name = textOf(picture, "name"), file = textOf(picture, "file");
    std::ifstream stream(std::filesystem::path(folder) / file, std::ios::binary);
    const std::string bytes(std::istreambuf_iterator<char>(stream), {});
    if (bytes.empty()) {
        parent.add("p", "note", "The picture " + file + " is gone.");
        return;
    }
    // Opens to its full size.
    Html details = parent.add("details", "picture");
    Html summary = details.add("summary");
    summary.add("img").attribute("src", pngAddress(bytes)).attribute("alt", name);
    summary.add("span", "caption", name);
    details.add("p", "note", file);
}

void writeKept(Html parent, const StepResult& result, const std::string& folder) {
    const Json pictures = result.kept("picture");
    if (!pictures.empty()) {
        Html gallery = parent.add("div", "gallery");
        for (const Json& picture : pictures) {
            writePicture(gallery, picture, folder);
        }
    }
    for (const Json& attachments : result.kept("attachments")) {
        for (const Json& attached : attachments) {
            parent.add(
                "p", "note",
                "Attached " + textOf(attached, "name") + ": " + textOf(attached, "file") + ", next to this page.");
        }
    }
    for (const Json& data : result.kept("data")) {
        Html figure = parent.add("figure");
        figure.add("figcaption", "", textOf(data, "name"));
        drawData(figure, data);
    }
}

void writeHeading(Html parent, const Plan& plan, const StepResult& result, std::size_t index) {
    Html head = parent.add("h3");
    head.add("span", "number", std::to_string(index + 1));
    head.add("span", "name", plan.nameAt(index));
    if (plan.stepAt(index).teardown) {
        head.add("span", "tag", "teardown");
    }
    writeBadge(head, verdictName(result.verdict()));
    head.add("span", "time", result.attempts.empty() ? "" : durationText(result.seconds()));
}

}  // namespace

std::string stepAnchor(std::size_t index) {
    return "step-" + std::to_string(index + 1);
}

std::string verdictClass(const std::string& verdict) {
    std::string name = "v-" + verdict;
    std::replace(name.begin(), name.end(), ' ', '-');
    return name;
}

std::string whyText(const StepResult& result) {
    if (!result.text().empty() || result.attempts.empty()) {
        return result.text();
    }
    return result.attempts.size() > 1 ? "at first: " + result.attempts.front().judgement.text : "";
}

void writeStep(Html parent, const PlanResult& run, std::size_t index, const std::string& folder) {
    const StepResult& result = run.steps[index];
    const Plan& plan = *run.plan;
    const std::string verdict = verdictName(result.verdict());
    Html section = parent.add("section", ("step " + verdictClass(verdict)).c_str());
    section.attribute("id", stepAnchor(index));
    // Of a step that simply passed the heading is all there is until somebody opens it.
    const bool isPlain = result.verdict() == Verdict::passed && result.attempts.size() == 1;
    if (isPlain) {
        Html details = section.add("details", "plain");
        writeHeading(details.add("summary"), plan, result, index);
        writeLines(details, result.attempts.back());
    } else {
        writeHeading(section, plan, result, index);
    }
    if (const std::string why = whyText(result); !why.empty() && result.verdict() != Verdict::passed) {
        section.add("p", isBadName(verdict) ? "why bad" : "why", beginningOf(why, kShown));
    }
    if (result.attempts.empty()) {
        return;
    }
    writeKept(section, result, folder);
    writeMoments(section, result.attempts.back());
    if (!isPlain) {
        writeAttempts(section, result.attempts);
    }
}

}  // namespace tool
