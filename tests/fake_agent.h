// SPDX-License-Identifier: Apache-2.0
// An agent without a set, for tests of what is between an agent and its clients.
#ifndef TESTS_FAKE_AGENT_H
#define TESTS_FAKE_AGENT_H

#include <string>

namespace test {

// Speaks the protocol over standard input and output until the input ends. Writes a line to `folder`/history for each
// start, description, call, cancelation and orderly end. Of two for a folder the second waits for the first one's end.
int runFakeAgent(const std::string& folder);

}  // namespace test

#endif
