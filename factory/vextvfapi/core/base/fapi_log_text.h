// SPDX-License-Identifier: Apache-2.0
// Prints data without a terminator through %s.
#ifndef FAPI_LOG_TEXT_H
#define FAPI_LOG_TEXT_H

#include <cstddef>
#include <cstring>
#include <memory>
#include <new>

namespace fapi {

// The data up to its first NUL, or all of it. To be made inside the log line, where it costs nothing with the switch
// off. Null prints as "(null)"; without memory for the copy the text is empty.
class BoundedText {
public:
    BoundedText(const unsigned char* pu8Data, std::size_t length) {
        if (pu8Data == nullptr) {
            _pszText = "(null)";
            return;
        }
        if (length != 0 && std::memchr(pu8Data, '\0', length) != nullptr) {
            _pszText = reinterpret_cast<const char*>(pu8Data);
            return;
        }
        _copy.reset(new (std::nothrow) char[length + 1]);
        if (_copy != nullptr) {
            if (length != 0) {
                std::memcpy(_copy.get(), pu8Data, length);
            }
            _copy[length] = '\0';
            _pszText = _copy.get();
        }
    }

    const char* get() const { return _pszText; }

private:
    std::unique_ptr<char[]> _copy;
    const char* _pszText = "";
};

}  // namespace fapi

#endif
