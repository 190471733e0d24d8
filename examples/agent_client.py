#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""usage: agent_client.py AGENT: shows how a program drives a set through its agent, on a temporary virtual set.

docs/agent-protocol.md describes the protocol.
"""
import base64
import json
import subprocess
import sys
import tempfile


class Agent:
    """An agent that this program has started, on pipes: each line is a message."""

    def __init__(self, command):
        self.process = subprocess.Popen(command, stdin=subprocess.PIPE, stdout=subprocess.PIPE)
        self.last = 0
        self.notifications = []
        self.hello = self.request("hello", protocol=[1, 1], framings=["plain"])

    def read(self):
        line = self.process.stdout.readline()
        if not line:
            raise EOFError("the agent has ended")
        return json.loads(line)

    def request(self, method, **params):
        """Sends a request and returns its result; what comes before the answer is kept."""
        self.last += 1
        line = json.dumps({"jsonrpc": "2.0", "id": self.last, "method": method, "params": params})
        self.process.stdin.write(line.encode() + b"\n")
        self.process.stdin.flush()
        while "id" not in (message := self.read()):
            self.notifications.append(message)
        if "error" in message:
            raise RuntimeError(f"{method}: {message['error']['message']}")
        return message["result"]

    def call(self, operation, *arguments):
        """Calls an operation, and returns its outputs by name."""
        answer = self.request("call", operation=operation, arguments=list(arguments), confirm=True)
        if not answer["good"]:
            raise RuntimeError(f"{operation} answered {answer['status']} ({answer['word']}): {answer.get('failed')}")
        return {output["name"]: plain(output["value"]) for output in answer["outputs"]}

    def wait_for(self, method):
        """Returns the parameters of the next notification of a kind."""
        while True:
            while self.notifications:
                message = self.notifications.pop(0)
                if message["method"] == method:
                    return message["params"]
            self.notifications.append(self.read())

    def close(self):
        self.process.stdin.close()
        return self.process.wait(timeout=10)


def plain(value):
    """A text of the set, which need not be UTF-8, comes as {"bytes": BASE64, "text": true}."""
    if isinstance(value, dict):
        content = base64.b64decode(value["bytes"])
        return content.decode("utf-8", "replace") if value.get("text") else content
    return value


def main():
    with tempfile.TemporaryDirectory() as folder:
        agent = Agent([sys.argv[1], "--set", folder + "/set"])
        print(f"agent {agent.hello['agent']}, library {agent.hello['library']}, a {agent.hello['kind']} set")

        operations = agent.request("describe")["operations"]
        print(f"{len(operations)} operations, the first of them {operations[0]['name']}")

        agent.call("sys_set_emmc_env_var", "serial", "LM55-000815")
        print("serial:", agent.call("sys_get_emmc_env_var", "serial"))

        agent.request("events", on=True)
        agent.call("prphrl_start_keypad")
        agent.request("act", action="key", arguments=[0])
        event = agent.wait_for("event")
        print(f"event {event['module']} {event['number']:#x}, key code {event['objects'][0]['value']:#x}")
        return agent.close()


sys.exit(main())
