// SPDX-License-Identifier: Apache-2.0
// What a program of a plan says on descriptor 3: a line each for a value, a file, a note.
#ifndef FAPI_BENCH_PROGRAM_VALUES_H
#define FAPI_BENCH_PROGRAM_VALUES_H

#include <string>
#include <string_view>
#include <vector>

namespace tool {

struct ProgramValue {
    std::string name, value, unit;
};

// "measure NAME VALUE [UNIT]", "attach PATH", "note TEXT". All that is not one of them is a problem.
class ProgramValues {
public:
    void take(std::string_view piece);
    // The program has ended: what has no newline is a line, too.
    void finish();

    const std::vector<ProgramValue>& values() const { return _values; }
    const std::vector<std::string>& files() const { return _files; }
    const std::vector<std::string>& notes() const { return _notes; }
    // The first line that is none of them, and why; empty: all are.
    const std::string& problem() const { return _problem; }

private:
    void takeLine(std::string_view line);
    void require(bool good, std::string_view line, const char* why);

    std::string _open;  // a line that has not ended
    std::size_t _lines = 0;
    std::vector<ProgramValue> _values;
    std::vector<std::string> _files;
    std::vector<std::string> _notes;
    std::string _problem;
};

}  // namespace tool

#endif
