#!/bin/sh
# SPDX-License-Identifier: Apache-2.0
# usage: check_exports.sh NM LIBRARY LIST: the library exports exactly the operations of the list, signatures included.
set -eu
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
"$1" -D --defined-only -C "$2" | sed 's/^[0-9a-f]* [A-Za-z] //' | LC_ALL=C sort > "$work"/exports.built
grep -v '^#' "$3" | LC_ALL=C sort > "$work"/exports.kept
if ! diff -u "$work"/exports.kept "$work"/exports.built; then
    echo "the exports of $2 differ from $3 (- kept, + built)" >&2
    exit 1
fi
