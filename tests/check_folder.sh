#!/bin/sh
# SPDX-License-Identifier: Apache-2.0
# usage: check_folder.sh FAPI TEST...: plans and these test programs write nowhere but into their sets' folders. They run where
# all else is read-only, in a mount namespace of their own; exit code 77 where the system permits none.
set -u
if [ "${1-}" != --inside ]; then
    if ! unshare -rm true 2> /dev/null; then
        echo "skipped: no mount namespace may be made here"
        exit 77
    fi
    work=$(mktemp -d -p "$PWD")
    trap 'rm -rf "$work"' EXIT
    timeout 200 unshare -rm sh "$0" --inside "$work" "$@"
    exit $?
fi
work=$2
fapi=$3
shift 3

# Everything but the work folder and /tmp, which is in it; a mount keeps its other options, which may not be taken away here.
mkdir "$work/home" "$work/tmp" "$work/cwd"
mount --make-rprivate / && mount --bind "$work" "$work" && mount --bind "$work/tmp" /tmp || exit 77
awk '{ print $5, $6 }' /proc/self/mountinfo | while read -r point options; do
    [ "$point" = "$work" ] || [ "$point" = /tmp ] || mount -o "remount,bind,ro,${options#r[ow]}" "$(printf '%b' "$point")" 2> /dev/null
done
for outside in / /var/tmp /dev/shm "$HOME"; do
    if [ -d "$outside" ] && touch "$outside/writes-$$" 2> /dev/null; then
        rm -f "$outside/writes-$$"
        echo "skipped: $outside cannot be made read-only"
        exit 77
    fi
done

export HOME="$work/home"
unset TMPDIR TEST_TMPDIR XDG_STATE_HOME VSET_DIR
cd "$work/cwd" || exit 1
failed=0
run() {
    if ! "$@" > "$work/log" 2>&1 || grep -i 'read-only file system' "$work/log"; then
        echo "failed: $*" >&2
        tail -n 40 "$work/log" >&2
        failed=1
    fi
}
for plan in factory-line storage; do
    run "$fapi" --set "$work/set" run "$plan"
done
for program; do
    run "$program"
done
# The bench tool's reports are in the working folder.
# The bench keeps what agents describe, and a folder for the sockets of hubs.
left=$(find "$work/home" "$work/tmp" -mindepth 1 | grep -v -e "^$work/home/.cache\(/fapi\(/descriptions.*\)\?\)\?$" -e "^$work/tmp/fapi-[0-9]*\(/fapi\)\?$")
if [ -n "$left" ]; then
    printf 'left behind:\n%s\n' "$left" >&2
    failed=1
fi
exit $failed
