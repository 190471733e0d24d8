// SPDX-License-Identifier: Apache-2.0
// What can stand next on a line of the shell.
#include "shell/completion.h"

#include <algorithm>

#include "protocol/color.h"
#include "shell/help.h"
#include "target/session.h"
#include "target/target_description.h"

namespace tool {

namespace {

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
std::vector<std::string> setPaths(const std::string& start) {
    const std::string parent = start.substr(0, start.rfind('/') + 1);
    if (parent.empty() || parent == "/") {
        return {"/data/", "/mnt/usb/", "/vendor/"};
    }
    std::vector<std::string> paths;
    try {
        const Field answer = askAgent("file.list", {{"path", Field::ofSet(parent)}});
        for (const Field& entry : answer.at("entries").list()) {
            paths.push_back(parent + entry["name"].text() + (entry["kind"] == Field("folder") ? "/" : ""));
        }
    } catch (const SetError&) {
        // No such folder, or no set yet.
        return {};
    }
    return paths;
}

std::vector<std::string> functionNames() {
    std::vector<std::string> names;
    for (const Function& function : description().functions) {
        names.push_back(function.name);
    }
    return names;
}

std::vector<std::string> argumentValues(const Argument& argument, const LinePlace& place) {
    switch (argument.kind) {
        case Kind::path:
            return setPaths(place.start);
        case Kind::partition:
            return partitionNames();
        case Kind::function:
            return functionNames();
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
    for (const std::string_view name : agentDescription().operationNames()) {
        const bool isFull = start.size() > 1 && name.rfind(start, 0) == 0;
        names.push_back(isFull ? std::string(name) : shortNameOf(name));
    }
    return names;
}

std::vector<std::string> partitionNames() {
    std::vector<std::string> names;
    try {
        const Field answer = askAgent("partition.list", Field::Fields());
        for (const Field& partition : answer.at("partitions").list()) {
            names.push_back(partition["name"].text());
        }
    } catch (const SetError&) {
        // No set yet.
        return {};
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
