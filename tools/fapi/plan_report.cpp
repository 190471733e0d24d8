// SPDX-License-Identifier: Apache-2.0
// Reports as files.
#include "plan_report.h"

#include <ctime>
#include <fstream>
#include <memory>

#include <pugixml.hpp>

#include "vset/vset.h"

namespace tool {

namespace {

std::string isoTime(std::chrono::system_clock::time_point time) {
    const std::time_t seconds = std::chrono::system_clock::to_time_t(time);
    std::tm local = {};
    localtime_r(&seconds, &local);
    char text[32];
    std::strftime(text, sizeof(text), "%Y-%m-%dT%H:%M:%S", &local);
    return text;
}

std::string secondsText(double seconds) {
    char text[32];
    std::snprintf(text, sizeof(text), "%.6f", seconds);
    return text;
}

// XML 1.0 has no place for most control characters, not even escaped, and wants UTF-8.
std::string xmlText(const std::string& text) {
    const std::string valid = Json::parse(jsonLine(Json(text))).get<std::string>();
    std::string result;
    for (const char c : valid) {
        const auto byte = static_cast<unsigned char>(c);
        result += byte >= 0x20 || c == '\n' || c == '\t' || c == '\r' ? c : '?';
    }
    return result;
}

class JUnitReport : public Report {
public:
    std::string write(const PlanResult& result, const std::string& stem) const override {
        pugi::xml_document document;
        document.append_child(pugi::node_declaration).append_attribute("version") = "1.0";
        pugi::xml_node suites = document.append_child("testsuites");
        pugi::xml_node suite = suites.append_child("testsuite");
        suite.append_attribute("name") = xmlText(result.plan->name).c_str();
        suite.append_attribute("timestamp") = isoTime(result.start).c_str();
        suite.append_attribute("tests") = result.steps.size();
        suite.append_attribute("failures") = result.count(Verdict::failed);
        suite.append_attribute("errors") = result.count(Verdict::died) + result.count(Verdict::interrupted);
        suite.append_attribute("skipped") = result.count(Verdict::notRun);
        suite.append_attribute("time") = secondsText(result.seconds).c_str();
        for (std::size_t i = 0; i < result.steps.size(); ++i) {
            addStep(suite, *result.plan, result.plan->steps[i], result.steps[i]);
        }
        const std::string file = stem + ".xml";
        const vset::HostPaths hostPaths;
        if (!document.save_file(file.c_str(), "  ")) {
            throw std::runtime_error(file + ": cannot be written");
        }
        return file;
    }

private:
    static void addStep(pugi::xml_node suite, const Plan& plan, const Step& step, const StepResult& result) {
        pugi::xml_node test = suite.append_child("testcase");
        test.append_attribute("classname") = xmlText(plan.name).c_str();
        test.append_attribute("name") = xmlText(step.name).c_str();
        test.append_attribute("line") = step.line;
        test.append_attribute("time") = secondsText(result.seconds).c_str();
        if (result.verdict == Verdict::marginal) {
            addProperty(test, "marginal", result.text);
        }
        if (result.attempts > 1) {
            addProperty(test, "attempts", std::to_string(result.attempts));
        }
        if (result.verdict == Verdict::notRun) {
            test.append_child("skipped");
        } else if (isBad(result.verdict)) {
            pugi::xml_node failure = test.append_child(result.verdict == Verdict::failed ? "failure" : "error");
            failure.append_attribute("type") = verdictName(result.verdict);
            failure.append_attribute("message") = xmlText(result.text).c_str();
        }
    }

    static void addProperty(pugi::xml_node test, const char* name, const std::string& value) {
        pugi::xml_node properties = test.child("properties");
        pugi::xml_node property = (properties ? properties : test.append_child("properties")).append_child("property");
        property.append_attribute("name") = name;
        property.append_attribute("value") = xmlText(value).c_str();
    }
};

class JsonReport : public Report {
public:
    std::string write(const PlanResult& result, const std::string& stem) const override {
        Json json = {{"plan", result.plan->name}, {"file", result.plan->file}, {"start", isoTime(result.start)},
                     {"seconds", result.seconds}, {"set", result.setFolder},   {"good", result.isGood()},
                     {"steps", Json::array()}};
        for (std::size_t i = 0; i < result.steps.size(); ++i) {
            const Step& step = result.plan->steps[i];
            const StepResult& stepResult = result.steps[i];
            json["steps"].push_back({{"name", step.name},
                                     {"line", step.line},
                                     {"teardown", step.teardown},
                                     {"verdict", verdictName(stepResult.verdict)},
                                     {"text", stepResult.text},
                                     {"attempts", stepResult.attempts},
                                     {"seconds", stepResult.seconds},
                                     {"commands", stepResult.commands}});
        }
        const std::string file = stem + ".json";
        const vset::HostPaths hostPaths;
        std::ofstream stream(file);
        stream << json.dump(2, ' ', false, Json::error_handler_t::replace) << '\n';
        if (!stream.flush()) {
            throw std::runtime_error(file + ": cannot be written");
        }
        return file;
    }
};

}  // namespace

std::size_t PlanResult::count(Verdict verdict) const {
    std::size_t number = 0;
    for (const StepResult& step : steps) {
        number += step.verdict == verdict ? 1 : 0;
    }
    return number;
}

bool PlanResult::isGood() const {
    return count(Verdict::passed) + count(Verdict::marginal) == steps.size();
}

std::vector<std::unique_ptr<Report>> reports() {
    std::vector<std::unique_ptr<Report>> all;
    all.push_back(std::make_unique<JUnitReport>());
    all.push_back(std::make_unique<JsonReport>());
    return all;
}

}  // namespace tool
