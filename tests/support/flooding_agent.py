#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
# An agent with one operation, which takes a second; meanwhile 10,000 events come.
import json
import sys
import time

EVENTS = 10000
OPERATION = {"name": "a_vextvfapi_prphrl_flood", "module": "prphrl", "help": "floods", "danger": "changes"}
RESULTS = {"hello": {"protocol": 1, "framing": "plain", "kind": "virtual", "session": "s"},
           "describe": {"operations": [OPERATION], "eventModules": ["prphrl"]},
           "call": {"status": 0, "good": True, "outputs": [], "begun": {"mono": 0}, "ended": {"mono": 0}}}
LACKS = {"picture", "refusals"}
NO_SUCH_METHOD = {"error": {"code": -32601, "message": "no such method"}}


def send(**message):
    print(json.dumps(dict(jsonrpc="2.0", **message), separators=(",", ":")))


def flood():
    begin = time.monotonic()
    for value in range(EVENTS):
        send(method="event", params={"seq": value + 1, "mono": time.monotonic_ns(), "wall": time.time_ns(),
                                     "module": "prphrl", "number": 7, "objects": [{"value": value}]})
        time.sleep(max(0, begin + value / EVENTS - time.monotonic()) if value % 100 == 0 else 0)


for line in sys.stdin:
    request = json.loads(line)
    if request["method"] == "call":
        RESULTS["call"]["begun"]["mono"] = time.monotonic_ns()
        flood()
        RESULTS["call"]["ended"]["mono"] = time.monotonic_ns()
    answer = NO_SUCH_METHOD if request["method"] in LACKS else {"result": RESULTS.get(request["method"], {})}
    send(id=request["id"], **answer)
    sys.stdout.flush()
