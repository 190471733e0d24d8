// SPDX-License-Identifier: Apache-2.0
// The part of the virtual set's control API that operations and methods use, as it is where no virtual set is attached.
#include "vset/aout.h"
#include "vset/disp.h"
#include "vset/dispout.h"
#include "vset/dval.h"
#include "vset/extin.h"
#include "vset/journal.h"
#include "vset/osd.h"
#include "vset/tuner.h"
#include "vset/vset.h"

namespace vset {

[[noreturn]] static void refuse() {
    throw SetError("this is no virtual set");
}

std::string folder() {
    return {};
}

std::string hostPath(const std::string& strPath) {
    return strPath;
}

HostPaths::HostPaths() = default;
// Not defaulted: the declaration is also that of the virtual set, whose destructor has something to do.
HostPaths::~HostPaths() {}

std::vector<std::string> takeHostTroubles() {
    return {};
}

void noteHostTrouble(const std::string&, int) {}

// --- A board keeps no journal ----------------------------------------------------------------------------------------

std::vector<JournalEntry> journal(std::uint64_t) {
    return {};
}

std::uint64_t lastCall() {
    return 0;
}

std::vector<Refusal> refusals(std::uint64_t) {
    return {};
}

std::uint64_t refusalCount() {
    return 0;
}

const std::vector<std::string>& faultNames() {
    static const std::vector<std::string> none;
    return none;
}

std::vector<std::string> callFields(const std::string&) {
    refuse();
}

std::string ownFailures(const std::string&) {
    return {};
}

// --- What a chip holds is not to be seen on a board ------------------------------------------------------------------

aout::Path aout::path(unsigned int) {
    refuse();
}

aout::Sound aout::sound() {
    refuse();
}

void aout::setVolumeTableLength(std::size_t) {
    refuse();
}

disp::Window disp::window(unsigned int) {
    refuse();
}

disp::Controller disp::controller() {
    refuse();
}

std::string dispout::attribute(std::uint32_t) {
    refuse();
}

dval::Drivers dval::drivers() {
    refuse();
}

extin::Calibration extin::calibration(std::uint32_t, std::uint32_t) {
    refuse();
}

std::uint32_t extin::decoderParameter(unsigned int, unsigned int) {
    refuse();
}

std::optional<osd::Layer> osd::layer(unsigned int) {
    refuse();
}

std::vector<osd::Surface> osd::surfaces() {
    refuse();
}

tuner::Slot tuner::slot(unsigned int) {
    refuse();
}

}  // namespace vset
