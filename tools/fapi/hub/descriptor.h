// SPDX-License-Identifier: Apache-2.0
// A file descriptor that is closed with its owner.
#ifndef FAPI_BENCH_HUB_DESCRIPTOR_H
#define FAPI_BENCH_HUB_DESCRIPTOR_H

#include <utility>

#include <unistd.h>

namespace tool {

class Descriptor {
public:
    Descriptor() = default;
    explicit Descriptor(int number) : _number(number) {}
    Descriptor(Descriptor&& other) noexcept : _number(std::exchange(other._number, -1)) {}
    Descriptor& operator=(Descriptor&& other) noexcept {
        std::swap(_number, other._number);
        return *this;
    }
    ~Descriptor() { close(); }

    // The number, or -1.
    int get() const { return _number; }
    explicit operator bool() const { return _number >= 0; }
    void close() {
        if (_number >= 0) {
            ::close(std::exchange(_number, -1));
        }
    }

private:
    int _number = -1;
};

}  // namespace tool

#endif
