#!/bin/sh
# SPDX-License-Identifier: Apache-2.0
# usage: check_install.sh CMAKE BUILD README: what is installed serves a project of its own: the README's example builds
# with the CMake package and with pkg-config, and runs on a virtual set.
set -eu
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
"$1" --install "$2" --prefix "$work/inst" > "$work/install.log"
mkdir "$work/project"
awk '/^```cpp$/ { on = 1; next } /^```$/ { on = 0 } on' "$3" > "$work/project/main.cpp"
cat > "$work/project/CMakeLists.txt" <<'END'
cmake_minimum_required(VERSION 3.25)
project(consumer LANGUAGES CXX)
find_package(vextvfapi 1.0 REQUIRED)
add_executable(consumer main.cpp)
target_link_libraries(consumer PRIVATE vextvfapi::vextvfapi)
END
"$1" -S "$work/project" -B "$work/project/build" -DCMAKE_PREFIX_PATH="$work/inst" > "$work/configure.log"
"$1" --build "$work/project/build" > "$work/build.log"
VSET_DIR="$work/set" "$work/project/build/consumer"
[ -f "$work/set/set.json" ] || { echo "the example made no set" >&2; exit 1; }

# With the bench tool come its manual and what makes shells complete its words.
if [ -e "$work/inst/bin/fapi" ]; then
    for file in man/man1/fapi.1 bash-completion/completions/fapi zsh/site-functions/_fapi; do
        [ -s "$work/inst/share/$file" ] || { echo "$file is not installed" >&2; exit 1; }
    done
fi

pc=$(find "$work/inst" -name vextvfapi.pc)
flags=$(PKG_CONFIG_PATH=$(dirname "$pc") pkg-config --cflags --libs vextvfapi)
lib=$(dirname "$(dirname "$pc")")
# shellcheck disable=SC2086  # several flags
c++ -std=c++17 "$work/project/main.cpp" $flags -Wl,-rpath,"$lib" -Wl,-rpath-link,"$lib" -o "$work/consumer"
VSET_DIR="$work/set" "$work/consumer"
