// SPDX-License-Identifier: Apache-2.0
// The PC's side of a serial line of the set: a pseudo-terminal, raw and without echo.
#ifndef VSET_PSEUDO_TERMINAL_H
#define VSET_PSEUDO_TERMINAL_H

#include <cstddef>
#include <string>
#include <string_view>

namespace vset {

// A line whose near end belongs to the set, and whose far end programs open. Neither blocks.
class PseudoTerminal {
public:
    enum class FarEnd {
        kept,    // open for as long as the line exists: it never hangs up
        closed,  // the line hangs up whenever no program has it open
    };

    // Makes no line: the object takes and gives nothing.
    PseudoTerminal() = default;
    // Makes a line, or none when the PC has no more.
    explicit PseudoTerminal(FarEnd eFarEnd);
    PseudoTerminal(PseudoTerminal&& other) noexcept;
    PseudoTerminal& operator=(PseudoTerminal&& other) noexcept;
    ~PseudoTerminal();

    bool exists() const { return _s32Near >= 0; }
    int nearEnd() const { return _s32Near; }
    int farEnd() const { return _s32Far; }
    // Returns the path of the far end.
    const std::string& path() const { return _strPath; }
    bool isHungUp() const;

    // Read and write at the near end, and return the number of bytes; 0 when the call would block.
    std::size_t read(char* pcBuffer, std::size_t size) const;
    std::size_t write(std::string_view bytes) const;
    // Writes everything. A far end that does not read within the time loses its unread bytes.
    void writeAll(std::string_view bytes, int s32PatienceMs) const;

    // Discard the unread bytes at an end.
    void forgetUnreadNear() const;
    void forgetUnreadFar() const;

private:
    void close();

    int _s32Near = -1;
    int _s32Far = -1;
    std::string _strPath;
};

}  // namespace vset

#endif
