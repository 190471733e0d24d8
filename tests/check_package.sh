#!/bin/sh
# SPDX-License-Identifier: Apache-2.0
# usage: check_package.sh DEB: in a bare system the Debian package installs with what it depends on and nothing else, runs
# the line plan for a user who has no home, and leaves no file behind when it is purged. Needs root and a Debian mirror.
set -eu
[ "$(id -u)" -eq 0 ] || { echo "only root can make a bare system" >&2; exit 1; }
work=$(mktemp -d)
root="$work/root"
trap 'rm -rf "$work"' EXIT

lintian --allow-root --tag-display-limit 0 --fail-on error "$1"
release=$(. /etc/os-release && echo "$VERSION_CODENAME")
depends=$(dpkg-deb -f "$1" Depends | sed -e 's/ ([^)]*)//g' -e 's/ *| *[^,]*//g' -e 's/, */,/g')
mmdebstrap --variant=essential --include="$depends" "$release" "$root" > "$work/log" 2>&1 ||
    { tail -n 20 "$work/log" >&2; exit 1; }

files() {
    (cd "$root" && find . -xdev ! -path './proc/*' ! -path './dev/*' ! -path './var/lib/dpkg/*' ! -path './var/log/*' \
        ! -path './var/cache/*' ! -path './etc/ld.so.cache' ! -path './tmp/*' | LC_ALL=C sort)
}

# The mounts are gone with the shell that makes them.
inside() {
    # shellcheck disable=SC2016  # $1 is the inner shell's
    unshare --mount --pid --fork --kill-child sh -c '
        root=$1; shift
        mount -t proc proc "$root/proc" && mount --rbind /dev "$root/dev" && exec chroot "$@"' sh "$root" "$@"
}

files > "$work/before"
cp "$1" "$root/tmp/package.deb"
inside "$root" dpkg -i /tmp/package.deb > "$work/log" || { cat "$work/log" >&2; exit 1; }
files > "$work/between"
inside --userspec=nobody:nogroup "$root" env -i PATH=/usr/bin:/bin sh -c \
    'cd /tmp && fapi check line && fapi run --fresh line' > "$work/log" 2>&1 || { tail -n 30 "$work/log" >&2; exit 1; }
ls "$root"/tmp/reports/line-*.html > /dev/null
inside "$root" dpkg --purge vextvfapi > "$work/log"
files > "$work/after"
diff -u "$work/before" "$work/after" >&2 || { echo "the package leaves something behind" >&2; exit 1; }
echo "$(comm -13 "$work/before" "$work/between" | wc -l) files came and went; $(grep -c . "$work/before") stayed"
