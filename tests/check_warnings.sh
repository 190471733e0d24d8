#!/bin/sh
# SPDX-License-Identifier: Apache-2.0
# usage: check_warnings.sh CMAKE_FILE SOONG_FILE: both builds of the library switch the same warnings on.
set -eu
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
for file in "$1" "$2"; do
    grep -oE '[-]W(all|error|[a-z]+[a-z=0-9-]*)' "$file" | grep -v '^-Wl' | LC_ALL=C sort -u > "$work/$(basename "$file")"
    [ -s "$work/$(basename "$file")" ] || { echo "$file: no warnings found" >&2; exit 1; }
done
diff -u "$work/$(basename "$1")" "$work/$(basename "$2")"
