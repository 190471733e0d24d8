# SPDX-License-Identifier: Apache-2.0
# Compiles and links what a fault of scripts/mutants changes.
import json
import os
import re
import shlex
import subprocess
import threading
from pathlib import Path

from mutation.processes import capture

LIBRARY = 'factory/vextvfapi/CMakeFiles/vextvfapi.dir/'
UNITS = 'tests/units/CMakeFiles/library_units.dir/__/__/factory/vextvfapi/core'
FOLDERS = 'core parts families journal'.split()


class Compiler:
    """Compiles changed sources as the dev preset does, and links libraries and programs from the objects."""

    def __init__(self, area, top, build, kept, processes):
        self.build, self.kept, self.processes = build, kept, processes
        self.place = Path('platform/vset' if area == 'vset' else 'factory/vextvfapi/core')
        self.root = top / self.place
        self.folders = FOLDERS if area == 'vset' else ['.']
        database = json.loads((build / 'compile_commands.json').read_text())
        self.commands = {entry['output'] if 'output' in entry else shlex.split(entry['command'])[-3]: entry['command']
                         for entry in database}
        self.unit_programs = re.findall(r'^fapi_test\((\w+)\.cpp.*LIBRARIES library_units',
                                        (top / 'tests/CMakeLists.txt').read_text(), re.M)
        self.links = {}
        for target in ('dval', 'vextvfapi', *self.unit_programs):
            for line in capture(['ninja', '-C', build, '-t', 'commands', target]).stdout.splitlines():
                match = re.match(r': && (.* -o .*) && :$', line)
                if match:
                    words = shlex.split(match.group(1))
                    self.links[words[words.index('-o') + 1]] = words
        self.dependents = self.read_dependents()
        self.reference = {}
        self.lock = threading.Lock()

    def read_dependents(self):
        """Returns the objects that are made of each file."""
        found, current = {}, None
        for line in capture(['ninja', '-C', self.build, '-t', 'deps']).stdout.splitlines():
            if line.startswith(' '):
                path = os.path.normpath(self.build / line.strip())
                found.setdefault(path, []).append(current)
            else:
                current = line.split(':')[0]
        return found

    def objects(self, source):
        """Returns the objects of libraries and of tests of its units that a source belongs to."""
        made = self.dependents.get(str(self.root / source), [])
        unit = ('tests/CMakeFiles/' + name for name in self.unit_programs)
        kinds = (LIBRARY, 'platform/vset/CMakeFiles/hw3.dir/', 'platform/vset/CMakeFiles/dval.dir/', *(name + '.dir/' for name in unit))
        return [name for name in made if name.startswith(kinds) and name in self.commands and 'cmake_pch' not in name]

    def compile(self, tree, name, result, optimization=None):
        """Compiles an object's source in a copy of the sources. Returns whether it could."""
        words = shlex.split(self.commands[name].replace(str(self.root), str(tree)))
        # A precompiled header serves only with its own debug information.
        dropped = ('-W',) if '-include' in words else ('-W', '-g')
        words = [word for word in words if not word.startswith(dropped)]
        words[words.index('-o') + 1] = str(result)
        words[1:1] = ['-w', f'-fmacro-prefix-map={tree}/={self.root if self.place.name == "vset" else self.place}/']
        if optimization:
            words.insert(words.index('-c'), optimization)
        process = self.processes.start(words, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL, cwd=self.build)
        process.wait()
        self.processes.end(process)
        return process.returncode == 0 and self.strip(result, result)

    @staticmethod
    def strip(source, result):
        return capture(['strip', '-g', '-o', result, source]).returncode == 0

    def unchanged(self, name):
        """Returns the dev preset's object without debug information."""
        result = self.kept / 'objects' / name.replace('/', '_')
        origin = self.build / name
        with self.lock:
            if not result.exists() or result.stat().st_mtime < origin.stat().st_mtime:
                result.parent.mkdir(parents=True, exist_ok=True)
                self.strip(origin, result)
        return result

    def same_optimized(self, tree, name, folder):
        """Returns whether the object is the unchanged one when it is optimized as what ships."""
        with self.lock:
            if name not in self.reference:
                self.reference[name] = None
                if self.compile(self.root, name, folder / 'reference.o', '-O2'):
                    self.reference[name] = (folder / 'reference.o').read_bytes()
        return self.compile(tree, name, folder / 'optimized.o', '-O2') and \
            (folder / 'optimized.o').read_bytes() == self.reference[name]

    def link(self, folder, changed):
        """Links what the changed objects belong to. Returns whether it could."""
        units = [f'tests/{name}' for name in self.unit_programs]
        in_units = [name for name in changed
                    if f'{UNITS}/{name.removeprefix(LIBRARY + "core/")}' in self.commands]
        for output, words in self.links.items():
            own = [name for name in changed if name in words]
            if not own and not (output in units and in_units):
                continue
            result = folder / ('lib' if '.so' in output else 'bin') / Path(output).name
            result.parent.mkdir(exist_ok=True)
            words = [str(changed.get(word) or (self.unchanged(word) if word.endswith('.o') else word)) for word in words]
            place = words.index('-o') + 1
            words[place] = str(result)
            if output in units:  # ahead of the library that has the unchanged ones
                words[place + 1:place + 1] = ['-Wl,-S', *(str(changed[name]) for name in in_units)]
            linked = capture(words, cwd=self.build)
            if linked.returncode != 0:
                return False
        return True
