#!/bin/sh
# SPDX-License-Identifier: Apache-2.0
# usage: check_layers.sh SOURCES BUILD: every include keeps to the table of allowed pairs, a forbidden one is found, and
# the library's compile lines do not reach the virtual set's headers.
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
