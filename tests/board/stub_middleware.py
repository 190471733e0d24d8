#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""usage: stub_middleware.py HW|DVAL INCLUDE: prints a source of a board's middleware that does nothing.

It has every function that the headers below INCLUDE declare with HW_API or DVAL_API. Each notes its name in the file
$BOARD_CALLS, if there is one, and answers success without an output; file calls fail, and pointers are null.
"""
import pathlib
import re
import sys

ANSWERS = {"HW_S32": "-1", "void": ""}

macro, include = sys.argv[1] + "_API", pathlib.Path(sys.argv[2])
headers = sorted(header for header in include.glob("*/*.h") if f"{macro} " in header.read_text())
print("#include <cstdio>\n#include <cstdlib>\n")
for header in headers:
    print(f'#include "{header.relative_to(include)}"')
print("""
static void note(const char* name) {
    const char* file = std::getenv("BOARD_CALLS");
    if (std::FILE* calls = file != nullptr ? std::fopen(file, "a") : nullptr) {
        std::fprintf(calls, "%s\\n", name);
        std::fclose(calls);
    }
}
""")
for header in headers:
    text = re.sub(r"//[^\n]*", "", header.read_text())
    for kind, name, arguments in re.findall(rf"^{macro}\s+([^;(]*[\s*])(\w+)\(([^;]*)\);", text, re.MULTILINE):
        answer = ANSWERS.get(kind.strip(), "nullptr" if "*" in kind else "0")
        print(f'extern "C" {macro} {kind}{name}({" ".join(arguments.split())}) {{\n    note("{name}");\n    return {answer};\n}}')
