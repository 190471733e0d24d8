// SPDX-License-Identifier: Apache-2.0
// The keys of a station's file: one table, from which the file is read and its page is printed.
#ifndef FAPI_BENCH_STATION_KEYS_H
#define FAPI_BENCH_STATION_KEYS_H

#include <vector>

#include "base/ini.h"
#include "station/station.h"

namespace tool {

// What an entry is about: the last of the station's targets, fixtures or instruments, or the station itself.
struct KeyPlace {
    Station& station;
    const IniEntry& entry;
    StationTarget& target() const { return station.targets.back(); }
    StationFixture& fixture() const { return station.fixtures.back(); }
    StationInstrument& instrument() const { return station.instruments.back(); }
};

struct StationKey {
    const char* section;
    const char* name;
    const char* type;
    const char* byDefault;
    const char* limit;
    const char* help;
    void (*read)(const KeyPlace& place);  // throws UsageError; its word counts from the value's first one
};
const std::vector<StationKey>& stationKeys();

struct SectionKind {
    const char* kind;
    bool isNamed;
    const char* help;
};
const std::vector<SectionKind>& sectionKinds();

// "NAME = fixture FIXTURE", "NAME = run PROGRAM ARGUMENT...", "NAME = operator [TEXT]". Throws UsageError.
Binding parseBinding(const IniEntry& entry);

// "FILE = SHA256...". Throws UsageError.
ApprovedFile parseApprovedFile(const IniEntry& entry);

}  // namespace tool

#endif
