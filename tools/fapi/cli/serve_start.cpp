// SPDX-License-Identifier: Apache-2.0
// `fapi serve` is a program of its own, fapi-serve: the libraries of a web server take longer to load than most
// commands take.
#include <cerrno>
#include <climits>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include <unistd.h>

#include "protocol/message.h"
#include "serve/serve.h"

namespace tool {

// Goes on as that program, with the words of this one.
int serve(const ServeOptions&) {
    const std::filesystem::path own = std::filesystem::read_symlink("/proc/self/exe");
    const std::string program = own.parent_path() / "fapi-serve";
    std::ifstream file("/proc/self/cmdline", std::ios::binary);
    std::string words{std::istreambuf_iterator<char>(file), {}};
    std::vector<char*> arguments;
    for (std::size_t i = 0; i < words.size(); i = words.find('\0', i) + 1) {
        arguments.push_back(&words[i]);
    }
    arguments.push_back(nullptr);
    execv(program.c_str(), arguments.data());
    throw SetError(program + ": " + std::strerror(errno));
}

}  // namespace tool
