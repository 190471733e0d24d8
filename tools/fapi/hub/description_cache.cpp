// SPDX-License-Identifier: Apache-2.0
// Descriptions of agents that this PC has seen, so that they need not cross a wire again.
#include "hub/description_cache.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>

#include <sys/stat.h>
#include <unistd.h>

#include "protocol/sha256.h"

namespace tool {

namespace {

namespace fs = std::filesystem;

constexpr std::size_t kHashDigits = 64;
constexpr std::size_t kKeyDigits = 16;
constexpr const char* kWorkerEnding = "-worker";

std::string sumOf(const std::string& text) {
    Sha256 sum;
    sum.add(text.data(), text.size());
    return sum.sum();
}

// Empty when the user has no home.
std::string folderOfCache() {
    const char* cache = std::getenv("XDG_CACHE_HOME");
    const char* home = std::getenv("HOME");
    if (cache != nullptr && *cache == '/') {
        return std::string(cache) + "/fapi/descriptions/";
    }
    return home != nullptr && *home == '/' ? std::string(home) + "/.cache/fapi/descriptions/" : "";
}

// An agent names its hash, and the hash a file.
bool isHash(const std::string& text) {
    return text.size() == kHashDigits && text.find_first_not_of("0123456789abcdef") == std::string::npos;
}

std::string readText(const std::string& file) {
    std::ifstream stream(file, std::ios::binary);
    std::error_code error;
    const std::uintmax_t size = fs::file_size(file, error);
    std::string text(error ? 0 : size, '\0');
    stream.read(text.data(), static_cast<std::streamsize>(text.size()));
    text.resize(static_cast<std::size_t>(stream.gcount()));
    return text;
}

// The file holds the whole text or what it held before. A copy that a power cut has spoiled does not have its sum.
void replaceText(const std::string& file, const std::string& text) {
    std::error_code error;
    fs::create_directories(fs::path(file).parent_path(), error);
    std::string temporary = file + ".XXXXXX";
    const int descriptor = mkstemp(temporary.data());
    if (descriptor < 0) {
        return;
    }
    const bool isWhole = write(descriptor, text.data(), text.size()) == static_cast<ssize_t>(text.size());
    close(descriptor);
    if (!isWhole || rename(temporary.c_str(), file.c_str()) != 0) {
        unlink(temporary.c_str());
    }
}

std::string fileOf(const std::string& hash) {
    return folderOfCache() + hash + ".lines";
}

// Both programs of the agent count: the worker has the operations.
std::string fileOfAgent(const std::string& agent) {
    std::ostringstream key;
    for (const std::string& file : {agent, agent + kWorkerEnding}) {
        struct stat status = {};
        if (stat(file.c_str(), &status) == 0) {
            key << file << ' ' << status.st_size << ' ' << status.st_mtim.tv_sec << '.' << status.st_mtim.tv_nsec
                << '\n';
        }
    }
    return folderOfCache() + "agent-" + sumOf(key.str()).substr(0, kKeyDigits);
}

}  // namespace

std::optional<AgentDescription> keptDescription(const std::string& hash) {
    return isHash(hash) && !folderOfCache().empty() ? AgentDescription::read(readText(fileOf(hash))) : std::nullopt;
}

void keepDescription(const std::string& hash, const Field& described) {
    if (!isHash(hash) || folderOfCache().empty()) {
        return;
    }
    // The hash is of all the rest, in the words of the agent, which may have fields that this build does not know.
    Field rest = Field::Fields();
    for (const auto& [name, field] : described.fields()) {
        if (name != "hash") {
            rest.set(name, field);
        }
    }
    if (sumOf(toJsonText(rest)) == hash) {
        rest.set("hash", hash);
        replaceText(fileOf(hash), AgentDescription(rest).text());
    }
}

std::string keptHashOf(const std::string& agent) {
    return folderOfCache().empty() ? "" : readText(fileOfAgent(agent));
}

void keepHashOf(const std::string& agent, const std::string& hash) {
    if (isHash(hash) && !folderOfCache().empty()) {
        replaceText(fileOfAgent(agent), hash);
    }
}

static std::string fileOfTarget(const std::string& target) {
    return folderOfCache() + "target-" + sumOf(target).substr(0, kKeyDigits);
}

KeptFacts keptFacts(const std::string& target) {
    KeptFacts facts;
    if (!folderOfCache().empty()) {
        std::istringstream(readText(fileOfTarget(target))) >> facts.hash >> facts.kind;
    }
    return facts;
}

void keepFacts(const std::string& target, const KeptFacts& facts) {
    if (isHash(facts.hash) && !folderOfCache().empty()) {
        replaceText(fileOfTarget(target), facts.hash + " " + facts.kind + "\n");
    }
}

}  // namespace tool
