#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""usage: spoilt_wire.py FAULT N COMMAND...: a wire that has a fault at every N-th byte, in both directions in turn.

FAULT is drop, flip, double (every line), kernel (a message in the middle), delay or cut.
"""
import os
import select
import signal
import subprocess
import sys
import time

fault, distance = sys.argv[1], int(sys.argv[2])
child = subprocess.Popen(sys.argv[3:], stdin=subprocess.PIPE, stdout=subprocess.PIPE)
passed = 0


def spoil(piece):
    """What arrives of the piece, whose last byte is the one with the fault."""
    if fault == "drop":
        return piece[:-1]
    if fault == "flip":
        return piece[:-1] + bytes([piece[-1] ^ 4])
    if fault == "kernel":
        return piece + b"[   12.345678] usb 1-1: new device\r\n"
    if fault == "delay":
        time.sleep(0.3)
    if fault == "cut":
        os.killpg(0, signal.SIGKILL)
    return piece


ends = {0: child.stdin.fileno(), child.stdout.fileno(): 1}
while True:
    for source in select.select(list(ends), [], [])[0]:
        data = os.read(source, 65536)
        if not data:
            child.stdin.close()
            code = child.wait()
            signal.signal(signal.SIGTERM, signal.SIG_IGN)
            os.killpg(0, signal.SIGTERM)
            sys.exit(code)
        if fault == "double":
            passed += len(data)
            lines = data.splitlines(keepends=True)
            data = b"".join(line * (2 if line.endswith(b"\n") else 1) for line in lines)
        while data and fault != "double":
            piece, data = data[:distance - passed % distance], data[distance - passed % distance:]
            passed += len(piece)
            # The greeting has no framing yet that notices anything but its end.
            is_due = passed % distance == 0 and (passed > 4000 or fault == "cut")
            os.write(ends[source], spoil(piece) if is_due else piece)
        os.write(ends[source], data)
