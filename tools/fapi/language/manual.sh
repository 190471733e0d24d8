#!/bin/sh
# SPDX-License-Identifier: Apache-2.0
# usage: plan_manual.sh PLANS-README VERSION: prints fapi-plan(5), the manual page of the plan language, made of the
# page that describes it.
set -eu
{
    printf '# NAME\n\nfapi-plan - factory-line plans of the bench tool fapi\n\n# DESCRIPTION\n'
    # Its title is the manual's, and its chapters become the manual's.
    sed -e 1d -e 's/^## /# /' -e 's/^### /## /' "$1"
    printf '\n# SEE ALSO\n\nfapi(1)\n'
} | lowdown -s -Tman -M title=FAPI-PLAN -M section=5 -M "source=fapi $2" -M volume='File formats' |
    sed -e 's/\\fC/\\fB/g' -e '/^\.S[HS]$/{N;s/\n/ /;n;/^\.LP$/d}'
