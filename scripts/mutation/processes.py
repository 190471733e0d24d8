# SPDX-License-Identifier: Apache-2.0
# Commands that scripts/mutants starts, and ends.
import hashlib
import os
import signal
import subprocess
import threading


class Stopped(Exception):
    pass


def digest(*parts):
    result = hashlib.sha1()
    for part in parts:
        result.update(part if isinstance(part, bytes) else str(part).encode())
        result.update(b'\0')
    return result.hexdigest()[:16]


def capture(command, **options):
    return subprocess.run(command, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True, check=False, **options)


class Processes:
    """The running processes, each the leader of a group, so that all of them can be ended."""

    def __init__(self):
        self.lock = threading.Lock()
        self.running = set()
        self.stopped = False

    def start(self, command, **options):
        with self.lock:
            if self.stopped:
                raise Stopped
            process = subprocess.Popen(command, stdin=subprocess.DEVNULL, process_group=0, **options)
            self.running.add(process)
            return process

    def end(self, process):
        try:
            os.killpg(process.pid, signal.SIGKILL)
        except ProcessLookupError:
            pass
        process.wait()
        with self.lock:
            self.running.discard(process)

    def stop(self):
        with self.lock:
            self.stopped = True
            processes = list(self.running)
        for process in processes:
            self.end(process)
