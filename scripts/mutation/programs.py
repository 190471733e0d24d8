# SPDX-License-Identifier: Apache-2.0
# The test programs and plans that scripts/mutants runs.
import os
import re
import resource
import shutil
import subprocess
import tempfile
import threading
import time
from pathlib import Path

from mutation.processes import Stopped, capture, digest

class Program:
    """A test program with a filter, or a plan, as the table of programs names it."""

    def __init__(self, word, options, top, build):
        self.word = word
        name, _, self.filter = word.partition('=')
        self.name = name
        self.plan = name.endswith('.plan')
        self.binary = build / ('tools/fapi/fapi' if self.plan else f'tests/{name}')
        self.target = 'fapi' if self.plan else name
        self.inputs = [self.binary]
        if self.plan:
            self.inputs.append(top / 'plans' / name)
        if name == 'kept_run_test':
            self.inputs += sorted(top.glob('tests/kept/*.txt'))
        self.timing = self.plan or 'THREADS' in options
        lock = re.search(r'LOCK (\w+)', options)
        self.lock = lock[1] if lock else None
        if self.plan and 'daemon' in self.inputs[1].read_text():
            self.lock = 'factory_daemon'
        # Most of what is slow waits, so its tests run in processes side by side.
        self.shards = 1 if self.plan or self.lock else 8
        self.seconds = 1.0
        self.kills = {}

    def exists(self):
        return all(path.exists() for path in self.inputs)

    def state(self):
        return digest(self.word, *(path.read_bytes() for path in self.inputs))

    def command(self, folder, throughout, begun):
        if self.plan:
            return [self.binary, '--set', folder / 'set', 'run', '--no-report', self.inputs[1]]
        # A failed expectation ends the process at once.
        words = [] if throughout else ['--gtest_throw_on_failure', '--gtest_fail_fast']
        return [self.binary, *words, f'--gtest_filter={self.filter or "*"}-{":".join(begun)}']

    def may_be_late(self):
        """Returns whether a busy machine may make it fail, so that a failure counts only when it comes again."""
        return self.timing or self.seconds > 1

    def score(self, module):
        return (self.kills.get(module, 0) + 1) / (self.seconds + 0.05)


def set_limits():
    """Keeps a program that a fault has made insatiable from taking the machine's memory and disk."""
    resource.setrlimit(resource.RLIMIT_CORE, (0, 0))
    resource.setrlimit(resource.RLIMIT_DATA, (6 << 30, 6 << 30))  # a test asks for 4 GiB


class Runner:
    """Runs programs with a library."""

    def __init__(self, processes):
        self.processes = processes
        # Programs with a lock share a socket's name, unless each can have a network of its own.
        self.apart = ['unshare', '--map-current-user', '--net']
        self.locks = {}
        if capture([*self.apart, 'true']).returncode != 0:
            self.apart = []

    def locked(self, program):
        return threading.Lock() if self.apart or not program.lock else self.locks.setdefault(program.lock, threading.Lock())

    def run(self, program, folder, limit, throughout=False, patience=1):
        """Returns None when the program passes, else how it fails and a list of what has noticed it."""
        verdict, noticed, begun = None, [], []
        while True:
            with self.locked(program):
                found, failed, now_begun = self.run_once(program, folder, limit * patience, throughout, begun, patience)
            verdict = verdict or found
            noticed += [name for name in failed or ([program.word] if found else []) if name not in noticed]
            # The tests that follow the one in which a process has died run in another one.
            if not throughout or not found or program.plan or not set(now_begun) - set(begun):
                return (verdict, noticed) if verdict else None
            begun += now_begun

    def run_once(self, program, folder, limit, throughout, begun, patience):
        started = []
        try:
            for shard in range(program.shards):
                started.append(self.start(program, folder, shard, throughout, begun, patience))
            found = self.wait(started, limit, throughout)
            statuses = [process.poll() for process, _ in started]
        finally:
            for process, _ in started:
                self.processes.end(process)
        if self.processes.stopped:
            raise Stopped
        failed, now_begun = [], []
        for (_, home), status in zip(started, statuses):
            output = (home / 'output').read_bytes().decode(errors='replace')
            run = re.findall(r'\[ RUN      \] ([\w/]+\.[\w/]+)', output)
            now_begun += run
            failed += re.findall(r'\[  FAILED  \] ([\w/]+\.[\w/]+)', output)
            # The test in which a process has died, or which it does not end.
            died = found == 'timed out' if status is None else status not in (0, 1)
            if died and run and f'] {run[-1]} (' not in output:
                failed.append(run[-1])
            shutil.rmtree(home, ignore_errors=True)
        return found, sorted(set(failed)) if found else [], now_begun

    def start(self, program, folder, shard, throughout, begun, patience):
        home = Path(tempfile.mkdtemp(prefix='t', dir=folder))
        environment = {**os.environ, 'LD_LIBRARY_PATH': str(folder / 'lib')}
        environment['FAPI_TEST_PATIENCE'] = str(patience * int(os.environ.get('FAPI_TEST_PATIENCE', 1)))
        environment.update(dict.fromkeys(('HOME', 'XDG_STATE_HOME', 'TMPDIR', 'TEST_TMPDIR'), str(home)))
        environment.pop('VSET_DIR', None)
        if program.shards > 1:
            environment.update(GTEST_TOTAL_SHARDS=str(program.shards), GTEST_SHARD_INDEX=str(shard))
        command = program.command(home, throughout, begun)
        own = folder / 'bin' / program.binary.name
        if own.exists():
            command[0] = own
        if program.lock:
            command = self.apart + command
        with open(home / 'output', 'wb') as output:
            return self.processes.start(command, stdout=output, stderr=subprocess.STDOUT, env=environment, cwd=home,
                                        preexec_fn=set_limits), home

    @staticmethod
    def wait(started, limit, throughout):
        """Waits for the ends, or for the first failure. Returns how it has failed."""
        end = time.monotonic() + limit * max(1, os.getloadavg()[0] / os.cpu_count())
        waiting, found = [process for process, _ in started], None
        while waiting:
            time.sleep(0.01)
            for process in list(waiting):
                if process.poll() is not None:
                    waiting.remove(process)
                    found = found or ('killed' if process.returncode != 0 else None)
            if waiting and time.monotonic() > end:
                return 'timed out'
            if found and not throughout:
                break
        return found
