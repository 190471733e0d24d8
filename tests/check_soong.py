#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""usage: check_soong.py TOP COMPILE_COMMANDS: the agent of a board has the same sources in both builds."""
import json
import pathlib
import re
import sys

top = pathlib.Path(sys.argv[1])
TARGETS = {"fapi-agent": "fapi_protocol|fapi_supervisor|board-agent",
           "fapi-agent-worker": "fapi_protocol|fapi_operations|fapi_worker|board-agent-worker"}
commands = json.load(open(sys.argv[2], encoding="utf-8"))
bad = 0
for module, targets in TARGETS.items():
    block = re.search(rf'cc_binary {{\n    name: "{module}",.*?\n}}', (top / "Android.bp").read_text(), re.DOTALL).group(0)
    lists = dict(re.findall(r"^    (srcs|exclude_srcs): \[(.*?)\]", block, re.DOTALL | re.MULTILINE))
    soong, excluded = ({str(file.relative_to(top)) for pattern in re.findall(r'"(\S+)"', lists.get(key, ""))
                        for file in top.glob(pattern)} for key in ("srcs", "exclude_srcs"))
    cmake = {str(pathlib.Path(row["file"]).relative_to(top)) for row in commands
             if re.search(rf"CMakeFiles/({targets})\.dir/", row["command"]) and row["file"].endswith(".cpp")}
    for file in sorted((soong - excluded) ^ cmake):
        print(f"{module}: {file} is only in " + ("CMake's" if file in cmake else "Soong's") + " list")
        bad = 1
    bad = bad or not cmake
sys.exit(bad)
