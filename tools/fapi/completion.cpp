// SPDX-License-Identifier: Apache-2.0
// What can stand next on a line of the shell.
#include <algorithm>
#include <filesystem>

#include "color.h"
#include "command.h"
#include "shell.h"
#include "vset/flash.h"
#include "vset/vset.h"

namespace tool {

namespace {

namespace fs = std::filesystem;

std::vector<std::string> operationNames() {
    std::vector<std::string> names;
    for (const Operation& operation : operations()) {
        names.push_back(operation.shortName());
    }
    return names;
}

std::vector<std::string> firstWords() {
    std::vector<std::string> names = operationNames();
    names.insert(names.end(), {"help", "list", "quit", "screen", "set", "watch"});
    return names;
}

std::vector<std::string> handNames() {
    std::vector<std::string> names = {"power-cycle"};
    for (const Hand& hand : hands()) {
        names.emplace_back(hand.name);
    }
    return names;
}

// The set's paths that begin as `start` does; folders end in a slash.
std::vector<std::string> setPaths(const std::string& start) {
    if (start.find('/') == std::string::npos || vset::folder().empty()) {
        return {"/data/", "/mnt/usb/", "/vendor/"};
    }
    const std::string parent = start.substr(0, start.rfind('/') + 1);
    const std::string host = parent == "/" ? vset::folder() + "/tree/" : vset::hostPath(parent);
    const vset::HostPaths hostPaths;
    std::vector<std::string> paths;
    std::error_code error;
    for (const fs::directory_entry& entry : fs::directory_iterator(host, error)) {
        paths.push_back(parent + entry.path().filename().string() + (entry.is_directory(error) ? "/" : ""));
    }
    return paths;
}

std::vector<std::string> partitionNames() {
    std::vector<std::string> names;
    if (!vset::folder().empty()) {
        for (const auto& [name, size] : vset::flash::partitions()) {
            names.push_back(name);
        }
    }
    return names;
}

std::vector<std::string> argumentValues(const Argument& argument, const std::string& start) {
    switch (argument.kind) {
        case Kind::path:
            return setPaths(start);
        case Kind::partition:
            return partitionNames();
        case Kind::flag:
            return {"off", "on"};
        case Kind::color:
            return colorNames();
        case Kind::choice: {
            std::vector<std::string> names;
            for (const Choice& choice : argument.choices) {
                names.emplace_back(choice.name);
            }
            return names;
        }
        case Kind::number:
        case Kind::text:
        case Kind::bytes:
            break;
    }
    return {};
}

// What may stand at the place behind `words`.
std::vector<std::string> candidates(const Words& words, const std::string& start) {
    if (words.empty()) {
        return firstWords();
    }
    const std::vector<Argument>* arguments = nullptr;
    std::size_t place = words.size() - 1;
    if (words[0] == "help") {
        return operationNames();
    }
    if (words[0] == "watch") {
        return {"off", "on"};
    }
    if (words[0] == "set") {
        if (words.size() == 1) {
            return handNames();
        }
        const Hand* hand = findHand(words[1]);
        arguments = hand != nullptr ? &hand->arguments : nullptr;
        --place;
    } else {
        const Operation* operation = findOperation(words[0]);
        arguments = operation != nullptr ? &operation->arguments : nullptr;
    }
    return arguments != nullptr && place < arguments->size() ? argumentValues((*arguments)[place], start)
                                                             : std::vector<std::string>();
}

// Takes the word that the cursor stands in off the words of the line; empty behind a blank.
std::string lastWord(const std::string& line, Words& words) {
    if (words.empty() || line.back() == ' ' || line.back() == '\t') {
        return {};
    }
    std::string last = std::move(words.back());
    words.pop_back();
    return last;
}

// The longest text that all of them begin with.
std::string commonStart(const std::vector<std::string>& found) {
    std::string start = found.front();
    for (const std::string& text : found) {
        while (text.compare(0, start.size(), start) != 0) {
            start.pop_back();
        }
    }
    return start;
}

}  // namespace

std::vector<std::string> completions(const std::string& line) {
    std::vector<std::string> found;
    try {
        Words words = splitWords(line);
        const std::string start = lastWord(line, words);
        for (std::string& candidate : candidates(words, start)) {
            if (candidate.compare(0, start.size(), start) == 0) {
                found.push_back(std::move(candidate));
            }
        }
    } catch (const UsageError&) {
        // Inside a quote that is still open nothing can be added.
        return {};
    }
    std::sort(found.begin(), found.end());
    return found;
}

std::string completion(const std::string& line) {
    const std::vector<std::string> found = completions(line);
    if (found.empty()) {
        return {};
    }
    Words words = splitWords(line);
    std::string rest = commonStart(found).substr(lastWord(line, words).size());
    if (!rest.empty()) {
        rest = quoteWord(rest);
    }
    return found.size() == 1 && found.front().back() != '/' ? rest + ' ' : rest;
}

}  // namespace tool
