#!/bin/sh
# SPDX-License-Identifier: Apache-2.0
# usage: check_middleware.sh NM LIBHW3 LIBDVAL INCLUDE: the virtual set has every function of the middleware's headers,
# and no middleware function that they do not declare.
set -eu
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
{ "$1" -D --defined-only "$2"; "$1" -D --defined-only "$3"; } | sed 's/^[0-9a-f]* [A-Za-z] //' |
    grep -E '^(HW_|hw_sys_|DVAL_|DVVDO_)' | LC_ALL=C sort -u > "$work"/middleware.built
cat "$4"/hw3/*.h "$4"/dval/*.h | grep -E '^(HW|DVAL)_API ' |
    sed -E 's/.*[ *]((HW|hw|DVAL|DVVDO)_[A-Za-z0-9_]+)\(.*/\1/' | LC_ALL=C sort -u > "$work"/middleware.declared
[ "$(wc -l < "$work"/middleware.declared)" -gt 100 ] || { echo "found hardly any declaration in $4" >&2; exit 1; }
if ! diff -u "$work"/middleware.declared "$work"/middleware.built; then
    echo "the virtual set's functions differ from the headers (- declared, + built)" >&2
    exit 1
fi
