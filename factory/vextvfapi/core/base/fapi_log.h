// SPDX-License-Identifier: Apache-2.0
// Log lines. A source defines FAPI_LOG_TAG before its first include of this header.
#ifndef FAPI_LOG_H
#define FAPI_LOG_H

#include <atomic>
#include <cstdio>
#include <cstring>

// The debug switch. Every log line of every thread reads it; only the start-up of the system module writes it.
extern std::atomic<unsigned char> u8TvFactoryDebug;

// Tag, level and message are one literal, so that the compiler checks the format and the text can be found in the
// binary. With the switch off a line costs a load and a branch; no argument is evaluated. The value is that of printf,
// or 0 with the switch off.
//
// Line scripts filter by the name in the prefix, which is an operation's. A helper that logs takes that name as its
// last parameter, `const char* pszCaller = __builtin_FUNCTION()`, uses the _AS forms, and hands the name on.
#define FAPI_LOG_AS(caller, level, format, ...)                                                           \
    (u8TvFactoryDebug.load(std::memory_order_relaxed) != 0                                                \
         ? std::printf(FAPI_LOG_TAG "(imp) [" level "] <%s:%d> " format, caller, __LINE__, ##__VA_ARGS__) \
         : 0)
#define FAPI_LOG(level, format, ...) FAPI_LOG_AS(__func__, level, format, ##__VA_ARGS__)

#define FAPI_LOGE(format, ...) static_cast<void>(FAPI_LOG("E", format, ##__VA_ARGS__))
#define FAPI_LOGD(format, ...) static_cast<void>(FAPI_LOG("D", format, ##__VA_ARGS__))
#define FAPI_LOGI(format, ...) static_cast<void>(FAPI_LOG("I", format, ##__VA_ARGS__))

#define FAPI_LOGE_AS(caller, format, ...) static_cast<void>(FAPI_LOG_AS(caller, "E", format, ##__VA_ARGS__))
#define FAPI_LOGD_AS(caller, format, ...) static_cast<void>(FAPI_LOG_AS(caller, "D", format, ##__VA_ARGS__))
#define FAPI_LOGI_AS(caller, format, ...) static_cast<void>(FAPI_LOG_AS(caller, "I", format, ##__VA_ARGS__))

// Colors of the message texts, without the ending (a newline or two). Texts without FAPI_RED's blanks write the escape
// themselves; they are contract.
#define FAPI_RED(text) "\033[31m " text "\033[m"
#define FAPI_HIGHLIGHT(text) "\033[43;31m" text "\033[0m"

namespace fapi {

// Returns a text for %s: not every libc prints a null pointer.
inline const char* logText(const char* pszText) {
    return pszText != nullptr ? pszText : "(null)";
}

inline const char* logText(const unsigned char* pu8Text) {
    return logText(reinterpret_cast<const char*>(pu8Text));
}

// Returns the name of a source file without its folders.
inline const char* baseName(const char* pszFile) {
    const char* pszSlash = std::strrchr(pszFile, '/');
    return pszSlash != nullptr ? pszSlash + 1 : pszFile;
}

}  // namespace fapi

#endif
