// SPDX-License-Identifier: Apache-2.0
// Names of runs that are unique everywhere, and times that mean the same everywhere.
#ifndef FAPI_BENCH_RECORD_IDENTITY_H
#define FAPI_BENCH_RECORD_IDENTITY_H

#include <chrono>
#include <optional>
#include <string>

namespace tool {

using WallTime = std::chrono::system_clock::time_point;

// A UUID of version 7: those made later are greater, by the millisecond.
std::string newRunId(WallTime time);
// The same with bits that follow from the seed, for what must get the same name when it is named again.
std::string runIdFrom(WallTime time, const std::string& seed);

// "2026-02-14T09:15:30.125Z"
std::string utcText(WallTime time);
// What utcText() has made; nothing for any other text.
std::optional<WallTime> parseUtc(const std::string& text);
// Reads a number of at most `width` characters, behind blanks, and moves `text` behind it; nothing when there is none.
std::optional<int> takeNumber(const char*& text, std::size_t width);
// Minutes by which local time is ahead of UTC then.
long long utcOffsetAt(WallTime time);
// "2026-02-14T10:15:30+01:00"
std::string localText(const std::string& utc, long long offsetMinutes);

// The time as utcText() gives it, from its beginning: "2026", "2026-02-14", "2026-02-14T10:15", local unless a zone
// ("Z", "+01:00") ends it. With `end` it is the first moment after what the text names. Nothing for any other text.
std::optional<std::string> parseTime(const std::string& text, bool end);

}  // namespace tool

#endif
