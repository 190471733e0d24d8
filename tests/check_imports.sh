#!/bin/sh
# SPDX-License-Identifier: Apache-2.0
# usage: check_imports.sh NM LIBRARY LIBHW3 [CALL...]: every libc call of the library that takes a path is one that the virtual
# set stands in front of, or one of the CALLs, which a tool has put there. A path call that is missing here would reach
# the PC's own files.
set -eu
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
path_calls='access|faccessat|euidaccess|open|open64|openat|openat64|__open_2|__open64_2|creat|creat64|fopen|fopen64
|freopen|freopen64|unlink|unlinkat|remove|rename|renameat|renameat2|mkdir|mkdirat|rmdir|mkfifo|mkfifoat|mknod|mknodat
|chmod|fchmodat|chown|lchown|fchownat|stat|stat64|lstat|lstat64|fstatat|fstatat64|__xstat|__lxstat|__fxstatat|statx
|opendir|scandir|truncate|truncate64|link|linkat|symlink|symlinkat|readlink|readlinkat|realpath|__realpath_chk|utime
|utimes|utimensat|chdir|statfs|statvfs|nftw|ftw|mount|umount|execve|execv|execvp|execl|execlp|posix_spawn|system|popen
|tmpnam|mkstemp|mkdtemp|dlopen|shm_open|mq_open|sem_open|inotify_add_watch|setxattr|getxattr'
path_calls=$(printf %s "$path_calls" | tr -d '\n')
"$1" -D --undefined-only "$2" | sed -E 's/^ *[Uw] //; s/@.*//' | grep -xE "$path_calls" | LC_ALL=C sort -u > "$work"/imports.library
{
    "$1" -D --defined-only "$3" | sed -E 's/^[0-9a-f]* [A-Za-z] //; s/@.*//' | grep -xE "$path_calls"
    shift 3
    printf '%s\n' "$@"
} | LC_ALL=C sort -u > "$work"/imports.covered
[ -s "$work"/imports.library ] || { echo "the library imports no path call at all: the list is out of date" >&2; exit 1; }
uncovered=$(LC_ALL=C comm -23 "$work"/imports.library "$work"/imports.covered)
if [ -n "$uncovered" ]; then
    echo "the virtual set does not stand in front of: $uncovered" >&2
    exit 1
fi
