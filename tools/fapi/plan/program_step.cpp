// SPDX-License-Identifier: Apache-2.0
// "run PROGRAM ARGUMENT..." in plans.
#include "plan/program_step.h"

#include <cstdlib>
#include <filesystem>
#include <sstream>

#include <unistd.h>

#include "judge/variables.h"

namespace tool {

namespace {

namespace fs = std::filesystem;

bool isProgram(const std::string& file) {
    std::error_code error;
    return fs::is_regular_file(file, error) && access(file.c_str(), X_OK) == 0;
}

}  // namespace

ProgramLine parseProgramLine(const Words& words) {
    ProgramLine line;
    std::size_t end = words.size();
    if (end > 3 && words[end - 2] == "within") {
        std::chrono::milliseconds time{0};
        if (variablesOf(words[end - 1]).empty() && (!parseTime(words[end - 1], time) || time.count() < 1)) {
            throw UsageError("within is " + display(words[end - 1], 40) + ", expected a time like 500ms or 30s",
                             end - 1);
        }
        line.within = time;
        end -= 2;
    }
    if (end < 2 || words[1].empty()) {
        throw UsageError("expected: run PROGRAM [ARGUMENT...] [within TIME]", 1);
    }
    line.command.assign(words.begin() + 1, words.begin() + static_cast<std::ptrdiff_t>(end));
    return line;
}

std::string programFile(const std::string& program, const std::string& planFolder) {
    if (program.find('/') != std::string::npos) {
        const fs::path file = fs::path(planFolder) / program;
        return isProgram(file) ? file.string() : "";
    }
    const char* path = std::getenv("PATH");
    std::istringstream folders(path != nullptr ? path : "");
    for (std::string file; std::getline(folders, file, ':');) {
        file += "/";
        file += program;
        if (isProgram(file)) {
            return file;
        }
    }
    return "";
}

void requireProgram(const std::string& program, const std::string& planFolder) {
    if (programFile(program, planFolder).empty()) {
        const bool isPath = program.find('/') != std::string::npos;
        throw UsageError(display(program, 60) + ": no such program, or not executable (" +
                             (isPath ? "looked for below the plan's folder)" : "looked for in $PATH)"),
                         1);
    }
}

}  // namespace tool
