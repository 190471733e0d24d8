// SPDX-License-Identifier: Apache-2.0
// Names of runs that are unique everywhere, and times that mean the same everywhere.
#include "record/identity.h"

#include <array>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <random>

#include <sys/random.h>

#include "base/text_pattern.h"

namespace tool {

namespace {

using std::chrono::milliseconds;
using RandomBits = std::array<unsigned char, 10>;

long long millisecondsOf(WallTime time) {
    return std::chrono::floor<milliseconds>(time.time_since_epoch()).count();
}

std::string uuidText(WallTime time, const RandomBits& bits) {
    const auto stamp = static_cast<unsigned long long>(millisecondsOf(time)) & 0xFFFFFFFFFFFFull;
    char text[37];
    std::snprintf(text, sizeof(text), "%08llx-%04llx-7%01x%02x-%02x%02x-%02x%02x%02x%02x%02x%02x", stamp >> 16,
                  stamp & 0xFFFF, bits[0] & 0x0Fu, bits[1], (bits[2] & 0x3Fu) | 0x80u, bits[3], bits[4], bits[5],
                  bits[6], bits[7], bits[8], bits[9]);
    return text;
}

}  // namespace

std::string newRunId(WallTime time) {
    RandomBits bits = {};
    if (getrandom(bits.data(), bits.size(), 0) != static_cast<ssize_t>(bits.size())) {
        std::random_device device;
        for (unsigned char& byte : bits) {
            byte = static_cast<unsigned char>(device());
        }
    }
    return uuidText(time, bits);
}

std::string runIdFrom(WallTime time, const std::string& seed) {
    std::seed_seq sequence(seed.begin(), seed.end());
    std::array<std::uint32_t, std::tuple_size<RandomBits>::value> words = {};
    sequence.generate(words.begin(), words.end());
    RandomBits bits = {};
    for (std::size_t i = 0; i < bits.size(); ++i) {
        bits[i] = static_cast<unsigned char>(words[i]);
    }
    return uuidText(time, bits);
}

std::string utcText(WallTime time) {
    const long long all = millisecondsOf(time);
    const auto seconds = static_cast<std::time_t>(all / 1000);
    std::tm parts = {};
    gmtime_r(&seconds, &parts);
    char text[64];
    const std::size_t length = std::strftime(text, sizeof(text), "%Y-%m-%dT%H:%M:%S", &parts);
    std::snprintf(text + length, sizeof(text) - length, ".%03lldZ", all % 1000);
    return text;
}

std::optional<WallTime> parseUtc(const std::string& text) {
    std::tm parts = {};
    const char* rest = strptime(text.c_str(), "%Y-%m-%dT%H:%M:%S", &parts);
    if (rest == nullptr || *rest != '.') {
        return std::nullopt;
    }
    const std::optional<int> thousandths = takeNumber(++rest, 3);
    if (!thousandths) {
        return std::nullopt;
    }
    return WallTime(std::chrono::seconds(timegm(&parts)) + milliseconds(*thousandths));
}

std::optional<int> takeNumber(const char*& text, std::size_t width) {
    const char* const begin = text + std::strspn(text, " \t\n\v\f\r");
    const std::string word(begin, strnlen(begin, width));
    char* end = nullptr;
    const long number = std::strtol(word.c_str(), &end, 10);
    if (end == word.c_str()) {
        return std::nullopt;
    }
    text = begin + (end - word.c_str());
    return static_cast<int>(number);
}

long long utcOffsetAt(WallTime time) {
    const std::time_t seconds = std::chrono::system_clock::to_time_t(time);
    std::tm parts = {};
    localtime_r(&seconds, &parts);
    return parts.tm_gmtoff / 60;
}

std::string localText(const std::string& utc, long long offsetMinutes) {
    const std::optional<WallTime> time = parseUtc(utc);
    if (!time) {
        return utc;
    }
    const long long distance = std::llabs(offsetMinutes);
    char zone[16];
    std::snprintf(zone, sizeof(zone), "%c%02lld:%02lld", offsetMinutes < 0 ? '-' : '+', distance / 60 % 100,
                  distance % 60);
    return utcText(*time + std::chrono::minutes(offsetMinutes)).substr(0, 19) + zone;
}

std::optional<std::string> parseTime(const std::string& text, bool end) {
    static const TextPattern kForm(
        "([0-9]{4})(-([0-9]{2})(-([0-9]{2})(T([0-9]{2})(:([0-9]{2})(:([0-9]{2})([.][0-9]+)?)?)?)?)?)?"
        "(Z|([+-])([0-9]{2}):([0-9]{2}))?");
    const std::vector<std::string> parts = kForm.match(text);
    if (parts.empty()) {
        return std::nullopt;
    }
    const auto numberAt = [&](std::size_t index, int otherwise) {
        return parts[index].empty() ? otherwise : static_cast<int>(std::strtol(parts[index].c_str(), nullptr, 10));
    };
    std::tm time = {};
    time.tm_isdst = -1;
    // Year, month, day, hour, minute, second. What is missing is the first; the last one named is what `end` is after.
    int* const fields[] = {&time.tm_year, &time.tm_mon, &time.tm_mday, &time.tm_hour, &time.tm_min, &time.tm_sec};
    const int first[] = {0, 1, 1, 0, 0, 0};
    const int last[] = {9999, 12, 31, 23, 59, 59};
    int* named = fields[0];
    for (std::size_t i = 0; i < std::size(fields); ++i) {
        *fields[i] = numberAt(2 * i + 1, first[i]);
        if (*fields[i] < first[i] || *fields[i] > last[i]) {
            return std::nullopt;
        }
        named = parts[2 * i + 1].empty() ? named : fields[i];
    }
    time.tm_year -= 1900;
    time.tm_mon -= 1;
    *named += end ? 1 : 0;
    std::time_t seconds = parts[13].empty() ? mktime(&time) : timegm(&time);
    if (!parts[14].empty()) {
        const int offset = 60 * (60 * numberAt(15, 0) + numberAt(16, 0));
        seconds -= parts[14] == "-" ? -offset : offset;
    }
    // The system's clock ends before the last year that can be written.
    std::tm utc = {};
    gmtime_r(&seconds, &utc);
    char written[64];
    return std::string(written, std::strftime(written, sizeof(written), "%Y-%m-%dT%H:%M:%S.000Z", &utc));
}

}  // namespace tool
