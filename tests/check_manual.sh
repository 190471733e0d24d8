#!/bin/sh
# SPDX-License-Identifier: Apache-2.0
# usage: check_manual.sh FAPI MANUAL: the manual describes every command, every global option and every option of run, and is
# sound.
set -u
failed=0
for command in $("$1" complete "fapi "); do
    grep -q "^\.It Cm $command\>" "$2" || { echo "the manual says nothing about $command" >&2; failed=1; }
done
for option in $("$1" complete "fapi --"; "$1" complete "fapi run --"); do
    grep -q -- "Fl .*-${option#--}\>" "$2" || { echo "the manual says nothing about $option" >&2; failed=1; }
done
if command -v mandoc >/dev/null; then
    mandoc -T lint -W warning "$2" || failed=1
fi
exit $failed
