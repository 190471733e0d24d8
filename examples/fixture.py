#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""usage: fixture.py SOCKET

A fixture: it acts on a set for the bench, by the agent's protocol on its standard streams. This one acts on a virtual
set in the role of a board (fapi-agent --as-board SOCKET); a real one would move relays.
"""
import json
import socket
import sys


class Rig:
    def __init__(self, path):
        self.path = path
        self.stream = None
        self.last = 0

    def send(self, request):
        if self.stream is None:
            connection = socket.socket(socket.AF_UNIX)
            connection.connect(self.path)
            self.stream = connection.makefile("rw")
        self.stream.write(json.dumps(request) + "\n")
        self.stream.flush()

    def ask(self, method, params):
        self.last += 1
        request = {"jsonrpc": "2.0", "id": self.last, "method": method, "params": params}
        try:
            self.send(request)
        except OSError:
            # The set's agent is a new one.
            self.stream = None
            self.send(request)
        line = self.stream.readline()
        if not line:
            raise OSError("the set is gone")
        return json.loads(line)


def answer(rig, method, params):
    if method == "hello":
        return {"result": {"protocol": 1, "framing": "plain", "agent": "fixture.py"}}
    if method in ("describe", "act"):
        return rig.ask(method, params)
    return {"error": {"code": -32601, "message": "a fixture does not have " + method}}


rig = Rig(sys.argv[1])
for text in sys.stdin:
    message = json.loads(text)
    try:
        reply = answer(rig, message["method"], message.get("params", {}))
    except OSError as error:
        rig.stream = None
        reply = {"error": {"code": 2, "message": str(error)}}
    reply.update({"jsonrpc": "2.0", "id": message["id"]})
    print(json.dumps(reply), flush=True)
