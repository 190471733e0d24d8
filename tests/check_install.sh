#!/bin/sh
# SPDX-License-Identifier: Apache-2.0
# usage: check_install.sh CMAKE BUILD README: what is installed serves a project of its own: the README's example builds
# with the CMake package and with pkg-config, and runs on a virtual set. The bench tool runs from there, too, with its plans
# and documents, and nothing tells where it was built.
set -eu
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
"$1" --install "$2" --strip --prefix "$work/inst" > "$work/install.log"
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

pc=$(find "$work/inst" -name vextvfapi.pc)
# shellcheck disable=SC2046  # several flags
c++ -std=c++17 "$work/project/main.cpp" \
    $(PKG_CONFIG_PATH=$(dirname "$pc") pkg-config --cflags --libs vextvfapi) -o "$work/consumer"
VSET_DIR="$work/set" "$work/consumer"

top=$(dirname "$3")
if grep -rlF -e "$2" -e "$(cd "$top" && pwd)" "$work/inst"; then
    echo "these files tell where they were built" >&2
    exit 1
fi

[ -e "$work/inst/bin/fapi" ] || exit 0
mv "$work/inst" "$work/moved"
share="$work/moved/share"
for file in bash-completion/completions/fapi zsh/site-functions/_fapi doc/vextvfapi/bench.md doc/vextvfapi/operations.md \
    doc/vextvfapi/agent-protocol.md \
    doc/vextvfapi/integration.md doc/vextvfapi/pictures/panel.png; do
    [ -s "$share/$file" ] || { echo "$file is not installed" >&2; exit 1; }
done
for page in man1/fapi.1 man5/fapi-plan.5; do
    # What is made from Markdown has no date.
    mandoc -T lint -W warning "$share/man/$page" > "$work/lint" || ! grep -v 'missing date' "$work/lint"
done
cd "$work"
python3 "$share/doc/vextvfapi/examples/agent_client.py" "$work/moved/bin/fapi-agent" > "$work/agent.log" ||
    { cat "$work/agent.log"; exit 1; }
"$work/moved/bin/fapi" run --fresh --report "$work/reports" factory-line > "$work/run.log" || { cat "$work/run.log"; exit 1; }
"$work/moved/bin/fapi" check line panel.plan pannel 2> "$work/check.log" && { echo "there is no plan pannel" >&2; exit 1; }
grep -q '^pannel: is no file.*did you mean panel?' "$work/check.log"
