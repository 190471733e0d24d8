// SPDX-License-Identifier: Apache-2.0
// What can stand next on a line of the shell.
#include <algorithm>
#include <filesystem>
#include <fstream>

#include "cli/help.h"
#include "protocol/color.h"
#include "shell/shell.h"
#include "target/command.h"
#include "target/output.h"
#include "vset/vset.h"

namespace tool {

namespace {

namespace fs = std::filesystem;

std::vector<std::string> firstWords(const std::string& start) {
    std::vector<std::string> names = operationNames(start);
    names.insert(names.end(), {"help", "list", "quit", "screen", "set", "watch"});
    return names;
}

std::vector<std::string> actionNames() {
    std::vector<std::string> names = {"power-cycle"};
    for (const Action& action : actions()) {
        names.emplace_back(action.name);
    }
    return names;
}

// The set's paths that begin as `start` does; folders end in a slash.
std::vector<std::string> setPaths(const std::string& folder, const std::string& start) {
    if (start.find('/') == std::string::npos || folder.empty()) {
        return {"/data/", "/mnt/usb/", "/vendor/"};
    }
    const std::string parent = start.substr(0, start.rfind('/') + 1);
    const vset::HostPaths hostPaths;
    std::vector<std::string> paths;
    std::error_code error;
    const std::string place = folder + "/tree" + parent;
    for (const fs::directory_entry& entry : fs::directory_iterator(place, error)) {
        std::string& path = paths.emplace_back(parent);
        path += entry.path().filename().string();
        path += entry.is_directory(error) ? "/" : "";
    }
    return paths;
}

std::vector<std::string> argumentValues(const Argument& argument, const LinePlace& place) {
    switch (argument.kind) {
        case Kind::path:
            return setPaths(place.folder, place.start);
        case Kind::partition:
            return partitionNames(place.folder);
        case Kind::function:
            return vset::faultNames();
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

// What `help` describes.
std::vector<std::string> helpWords(const LinePlace& place) {
    if (place.words.size() > 1) {
        return place.words[1] == "set" ? actionNames() : std::vector<std::string>();
    }
    std::vector<std::string> names = operationNames(place.start);
    names.emplace_back("set");
    for (const std::string& topic : helpTopics()) {
        names.push_back(topic);
    }
    return names;
}

}  // namespace

std::vector<std::string> operationNames(const std::string& start) {
    std::vector<std::string> names;
    for (const Operation& operation : operations()) {
        const bool isFull = start.size() > 1 && std::string_view(operation.name).rfind(start, 0) == 0;
        names.push_back(isFull ? operation.name : operation.shortName());
    }
    return names;
}

// From the set's own file: it need not be switched on, and another process may have it.
std::vector<std::string> partitionNames(const std::string& folder) {
    const vset::HostPaths hostPaths;
    std::ifstream file(folder + "/set.json");
    Json set;
    try {
        set = parseJson({std::istreambuf_iterator<char>(file), {}});
    } catch (const Json::exception&) {
        return {};
    }
    std::vector<std::string> names;
    if (set.is_object() && set.contains("partitions") && set["partitions"].is_object()) {
        for (const auto& [name, size] : set["partitions"].items()) {
            names.push_back(name);
        }
    }
    return names;
}

std::vector<std::string> candidates(const LinePlace& place) {
    const Words& words = place.words;
    if (words.empty()) {
        return firstWords(place.start);
    }
    const std::vector<Argument>* arguments = nullptr;
    std::size_t index = words.size() - 1;
    if (words[0] == "help") {
        return helpWords(place);
    }
    if (words[0] == "watch") {
        return {"off", "on"};
    }
    if (words[0] == "set") {
        if (words.size() == 1) {
            return actionNames();
        }
        const Action* action = findAction(words[1]);
        arguments = action != nullptr ? &action->arguments : nullptr;
        --index;
    } else {
        const Operation* operation = findOperation(words[0]);
        arguments = operation != nullptr ? &operation->arguments : nullptr;
    }
    return arguments != nullptr && index < arguments->size() ? argumentValues((*arguments)[index], place)
                                                             : std::vector<std::string>();
}

LinePlace placeOf(const std::string& line) {
    LinePlace place;
    place.words = splitWords(line);
    place.start = lastWord(line, place.words);
    place.folder = vset::folder();
    return place;
}

std::vector<std::string> startingWith(std::vector<std::string> texts, const std::string& start) {
    const auto isOther = [&](const std::string& text) { return text.compare(0, start.size(), start) != 0; };
    texts.erase(std::remove_if(texts.begin(), texts.end(), isOther), texts.end());
    std::sort(texts.begin(), texts.end());
    return texts;
}

std::vector<std::string> completions(const std::string& line) {
    try {
        const LinePlace place = placeOf(line);
        return startingWith(candidates(place), place.start);
    } catch (const UsageError&) {
        // Inside a quote that is still open nothing can be added.
        return {};
    }
}

std::string completion(const std::string& line) {
    const std::vector<std::string> found = completions(line);
    if (found.empty()) {
        return {};
    }
    std::string rest = commonStart(found).substr(placeOf(line).start.size());
    if (!rest.empty()) {
        rest = quoteWord(rest);
    }
    return found.size() == 1 && found.front().back() != '/' ? rest + ' ' : rest;
}

}  // namespace tool
