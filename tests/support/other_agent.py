#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
# An agent of another age than the bench. $AGE: "old" lacks what the bench knows but the first agents did not have,
# "new" has what the bench does not know, "next" speaks no version of the protocol that the bench does.
import json
import os
import sys

AGE = os.environ["AGE"]
LOOK = {"name": "a_vextvfapi_sys_look", "module": "sys", "help": "looks", "danger": "reads",
        "outputs": [{"name": "depth"}]}
OPERATIONS = {
    "old": [LOOK],
    "new": [dict(LOOK, aroma="mint", outputs=[{"name": "depth", "role": "foretold", "taste": 7}]),
            {"name": "a_vextvfapi_sys_beam", "module": "sys", "danger": "vaporizes", "result": "dreamt",
             "arguments": [{"name": "where", "kind": "hologram"}]}],
}
HELLO = {"old": {}, "new": {"kind": "virtual", "session": "s", "library": "v9", "weather": {"mood": [1]}}}
METHODS = {"old": ["log", "log-switch", "events", "power", "end-worker", "cancel"],
           "new": ["log", "log-switch", "events", "journal", "power", "end-worker", "cancel", "prepare", "check"]}


def send(**message):
    print(json.dumps(dict(jsonrpc="2.0", **message), separators=(",", ":")), flush=True)


def fail(code, text, **data):
    return {"error": {"code": code, "message": text, "data": data}}


def answer(method, params):
    if AGE == "next":
        return fail(8, "no common version of the protocol", protocol=[7, 9])
    if method == "hello":
        return {"result": dict(HELLO[AGE], protocol=1, framing="plain")}
    if method == "describe":
        return {"result": {"operations": OPERATIONS[AGE], "auras": ["blue"]}}
    if method == "call":
        result = {"status": 0, "good": True, "outputs": [{"name": "depth", "value": 42, "shadow": 1}]}
        return {"result": dict(result, **({} if AGE == "old" else {"word": "ok", "echo": {"of": "it"}}))}
    if method in METHODS[AGE]:
        return {"result": {}}
    return fail(-32601, "no such method: " + method)


for line in sys.stdin:
    request = json.loads(line)
    if AGE == "new":
        send(method="rumor", params={"seq": 1})
    send(id=request["id"], **answer(request["method"], request.get("params", {})))
