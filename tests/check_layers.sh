#!/bin/sh
# SPDX-License-Identifier: Apache-2.0
# usage: check_layers.sh SOURCES BUILD: every include keeps to the table of allowed pairs, a forbidden one is found, the
# library's compile lines do not reach the virtual set's headers, and of the bench and its agent only the worker has
# library and set.
set -eu
"$1/scripts/check-includes" "$1"

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
mkdir -p "$work/factory/vextvfapi/core" "$work/platform/vset/include/vset"
touch "$work/platform/vset/include/vset/vset.h"
echo '#include "vset/vset.h"' > "$work/factory/vextvfapi/core/sneaky.cpp"
if "$1/scripts/check-includes" "$work" > /dev/null; then
    echo "an include of the virtual set by the library is not found" >&2
    exit 1
fi
if grep 'factory/vextvfapi/core/.*\.cpp' "$2/compile_commands.json" | grep '"command"' | grep -v tests/units |
    grep 'CMakeFiles/vextvfapi.dir' | grep -q 'platform/vset'; then
    echo "the library is compiled with the virtual set's headers on its path" >&2
    exit 1
fi

# linked PROGRAM BUILD: prints the program's link line. loaded PROGRAM BUILD: prints which shared objects it needs.
linked() {
    awk -v line="build tools/fapi/$1: " 'index($0, line) == 1 { on = 1 } /^$/ { on = 0 } on' "$2/build.ninja" |
        sed 's/ || .*//'
}
loaded() {
    ldd "$2/tools/fapi/$1" 2> /dev/null || readelf -d "$2/tools/fapi/$1"
}
ours='factory/vextvfapi/|platform/vset/|vextvfactory|libhw3|libdval|libfapi_rows'
if grep -q '^build tools/fapi/fapi: ' "$2/build.ninja"; then
    for look in linked loaded; do
        # The worker, which has them, shows that they would be seen.
        $look fapi-agent-worker "$2" | grep -Eq "$ours" || { echo "what the worker is $look with is not seen" >&2; exit 1; }
        for program in fapi fapi-agent; do
            if $look "$program" "$2" | grep -E "$ours"; then
                echo "$program is $look with library or set" >&2
                exit 1
            fi
        done
    done
fi
