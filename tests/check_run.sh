#!/bin/sh
# SPDX-License-Identifier: Apache-2.0
# usage: check_run.sh CMAKE BUILD SOURCES: scripts/run works, and prints only what it should, for a second user of a checkout,
# in one that cannot be written, without a home, and twice at once. What copies BUILD stands in for the compiler.
set -u
work=$(mktemp -d)
trap 'chmod -R u+w "$work"; rm -rf "$work"' EXIT
failed=0
mkdir -p "$work/bin" "$work/tree/scripts" "$work/home"
"$1" --install "$2" --strip --prefix "$work/inst" > /dev/null || exit 1
cp "$3/scripts/run" "$work/tree/scripts"
printf '#!/bin/sh\n' > "$work/tree/scripts/install-packages"
cat > "$work/bin/cmake" <<END
#!/bin/sh
if [ "\$1" = --preset ]; then
    mkdir -p "\$4/tools/fapi" "\$4/tools/share/fapi"
    ln -s "$work/inst/share/fapi/plans" "\$4/tools/share/fapi/plans"
    : > "\$4/build.ninja"
else
    mkdir "\$2/at-work" || exit 1   # of two at once
    for wait in 1 2 3 4 5 6 7 8 9 10; do
        [ -z "\${TOGETHER-}" ] || grep -qs ^waiting "$work"/o*.out || sleep 1
    done
    cp -n "$work"/inst/bin/fapi* "$work"/inst/lib*/vextvfapi/*.so "\$2/tools/fapi"
    rmdir "\$2/at-work"
fi
END
chmod -R a+rX,u+w "$work"
chmod a+x "$work/bin/cmake" "$work/tree/scripts/install-packages"
as_user=
if [ "$(id -u)" -eq 0 ]; then
    as_user="setpriv --reuid=nobody --regid=nogroup --clear-groups"
    chown -R nobody:nogroup "$work/tree" "$work/home"
fi

# run NAME [VARIABLE=VALUE...]: the plan that takes no time, in the tree; its output goes to NAME.out and NAME.err.
run() {
    name=$1
    shift
    $as_user env -i PATH="$work/bin:$PATH" "$@" "$work/tree/scripts/run" factory-line > "$work/$name.out" 2> "$work/$name.err"
}

# judge NAME STATUS LINE...: the run was good, its standard error is empty, and these lines (patterns) and no others stand
# in front of what the plan prints.
judge() {
    name=$1 status=$2
    shift 2
    printf '%s\n' "$@" > "$work/wanted"
    sed '/^Factory line/,$d' "$work/$name.out" > "$work/printed"
    if [ "$status" -ne 0 ] || [ -s "$work/$name.err" ] || [ "$(wc -l < "$work/printed")" -ne $# ] ||
        grep -vxE -f "$work/wanted" "$work/printed"; then
        echo "$name: exit code $status; wanted: $*; was:" >&2
        cat "$work/$name.out" "$work/$name.err" >&2
        failed=1
    fi
}

tree="$work/tree"
home="$work/home"
building="building \(the log is $tree/build/run.log\)"
run one HOME="$home" TOGETHER=1 & first=$!
run other HOME="$home" TOGETHER=1; other=$?
wait $first; first=$?
if grep -q ^waiting "$work/one.out"; then set -- one $first other $other; else set -- other $other one $first; fi
judge "$1" "$2" "waiting for a build that is at work in $tree/build" "$building"
judge "$3" "$4" "$building"
run no-home; judge no-home $? "$building"
[ -n "$(ls "$tree"/reports/*.html)" ] || failed=1

ready="running what is built: $tree/build cannot be written"
elsewhere="the reports go to $home/.local/state/fapi/reports: $tree/reports cannot be written"
if [ -n "$as_user" ]; then
    chown -R root "$tree"
    run second-user HOME="$home"; judge second-user $? "$ready" "$elsewhere"
    chown -R nobody "$tree"
fi
chmod -R a-w "$tree"
run read-only HOME="$home"; judge read-only $? "$ready" "$elsewhere"
run read-only-no-home; judge read-only-no-home $? "$ready" "the reports go to /tmp/tmp[^ ]*: $tree/reports cannot be written"
chmod -R u+w "$tree"
rm -rf "$tree/build"
chmod -R a-w "$tree"
run read-only-bare XDG_STATE_HOME="$home/state"
judge read-only-bare $? "building \(the log is $home/state/fapi/build/run.log\)" \
    "the reports go to $home/state/fapi/reports: $tree/reports cannot be written"
exit $failed
