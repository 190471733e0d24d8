#!/bin/sh
# SPDX-License-Identifier: Apache-2.0
# usage: check_mutants.sh SOURCE BUILD: scripts/mutants reports which planted faults a test notices, which people have judged,
# which survive, and a judgement of a line that is gone.
set -u
source=$1
build=$2
core=$source/factory/vextvfapi/core
file=a_vextvfapi_common.cpp
command -v python3 > /dev/null || { echo "skipped: there is no python3"; exit 77; }
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

# place TEXT: prints the file and the number of the line that has the text.
place() {
    echo "$file:$(grep -nF "$1" "$core/$file" | head -n 1 | cut -d: -f1)"
}
# mutants WORD...: plants all faults of the lines.
mutants() {
    "$source/scripts/mutants" --build "$build" --no-build --results "$work/results" --judged "$work/judged" \
        --count 99 "$@" > "$work/log"
}
fail() {
    echo "$1"
    cat "$work/log"
    exit 1
}

decided='if (code == HW_OK) {'
copied='std::strncpy(buf, kVersion, len);'
printf '%s\t%s\t%s\t%s\n' "factory/vextvfapi/core/$file:a_vextvfapi_common_get_fapi_version" "$copied" ';' 'for this test' \
    "factory/vextvfapi/core/$file:gone" 'int gone() {' ';' 'for this test' > "$work/judged"
mutants --test common_test "$(place "$decided")" "$(place "$copied")" || fail "not every fault was noticed"
grep -q '^killed by common_test (.*: condition always false$' "$work/log" || fail "no fault was noticed"
grep -q '^judged: .*: dropped call$' "$work/log" || fail "the judged fault was not found"
grep -q '^stale row of judged: .*:gone: int gone() {$' "$work/log" || fail "the stale row was not found"

mutants --test event_test "$(place "$decided")" && fail "a fault that no test notices was noticed"
grep -q '^survived: ' "$work/log" || fail "no fault has survived"
