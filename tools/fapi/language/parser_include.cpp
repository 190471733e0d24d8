// SPDX-License-Identifier: Apache-2.0
// "include": lines of another file in place of a line.
#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>

#include "language/parser.h"
#include "protocol/sha256.h"

namespace tool {

namespace {

namespace fs = std::filesystem;

constexpr std::size_t kMostIncludes = 1000;
constexpr std::uintmax_t kLargestInclude = 1 << 20;

std::string canonicalPath(const std::string& file) {
    std::error_code error;
    const fs::path path = fs::weakly_canonical(fs::absolute(file, error), error);
    return error ? file : path.string();
}

// Throws UsageError.
std::string textOf(const std::string& file) {
    std::error_code error;
    std::ifstream stream;
    if (fs::is_regular_file(file, error) && fs::file_size(file, error) <= kLargestInclude) {
        stream.open(file, std::ios::binary);
    }
    if (!stream.is_open()) {
        throw UsageError(file + ": cannot be read", 1);
    }
    return {std::istreambuf_iterator<char>(stream), {}};
}

// Replaces ${NAME} of the values; other names stay.
std::string replaced(const std::string& word, const std::map<std::string, std::string>& values,
                     std::set<std::string>& used) {
    std::string text;
    std::size_t end = 0;
    for (std::size_t begin = word.find("${"); begin != std::string::npos; begin = word.find("${", end)) {
        const std::size_t close = word.find('}', begin);
        if (close == std::string::npos) {
            break;
        }
        const std::string name = word.substr(begin + 2, close - begin - 2);
        const auto found = values.find(name);
        text += word.substr(end, begin - end) +
                (found != values.end() ? found->second : word.substr(begin, close + 1 - begin));
        end = close + 1;
        used.insert(name);
    }
    return text + word.substr(end);
}

}  // namespace

// The words of a line, with the values that the include has given in place of their names.
Words PlanParser::wordsOf(std::string_view text) {
    Words words = splitWords(text);
    if (!_source.values.empty()) {
        for (std::string& word : words) {
            word = replaced(word, _source.values, _source.used);
        }
    }
    return words;
}

// "NAME=VALUE" from words[i] on.
void PlanParser::readIncludeValues(const Words& words, std::size_t i, Source& source) const {
    if (i < words.size() && (words[i] != "with" || i + 1 == words.size())) {
        throw UsageError("expected: include FILE [with NAME=VALUE...]", words[i] != "with" ? i : i + 1);
    }
    for (++i; i < words.size(); ++i) {
        const std::size_t equals = words[i].find('=');
        const std::string name = words[i].substr(0, equals);
        if (equals == std::string::npos || !isName(name)) {
            throw UsageError(display(words[i], 40) + ": expected NAME=VALUE", i);
        }
        if (!source.values.insert({name, words[i].substr(equals + 1)}).second) {
            throw UsageError("there is a " + name + " already", i);
        }
        source.given.push_back({name, columnOf(_text, i)});
    }
}

void PlanParser::addInclude(const Words& words) {
    leaveStep();
    if (words.size() < 2 || words[1].empty()) {
        throw UsageError("expected: include FILE [with NAME=VALUE...]", 1);
    }
    if (!variablesOf(words[1]).empty()) {
        throw UsageError("the name of the file holds no ${NAME}, which only a run knows", 1);
    }
    useVariables(words);
    Source source;
    source.name = (fs::path(_source.name.empty() ? _plan.file : _source.name).parent_path() / words[1]).string();
    readIncludeValues(words, 2, source);
    const std::string path = canonicalPath(source.name);
    if (std::find(_chain.begin(), _chain.end(), path) != _chain.end()) {
        std::string chain;
        for (const std::string& file : _chain) {
            chain += fs::path(file).filename().string() + " includes ";
        }
        throw UsageError("a file does not include itself: " + chain + fs::path(path).filename().string(), 1);
    }
    if (_plan.includes.size() >= kMostIncludes) {
        throw UsageError("a plan includes at most " + std::to_string(kMostIncludes) + " files", 0);
    }
    const std::string text = textOf(source.name);
    Sha256 sum;
    sum.add(text.data(), text.size());
    _plan.includes.push_back({source.name, sum.sum()});
    if (const std::string folder = fs::path(source.name).parent_path().string();
        folder != fs::path(_plan.file).parent_path().string()) {
        source.values.insert({kPlanFolder, folder});
    }
    readSource(std::move(source), text, path);
}

void PlanParser::readSource(Source source, const std::string& text, const std::string& path) {
    const std::string_view outerText = std::exchange(_text, {});
    const unsigned int outerLine = std::exchange(_line, 0);
    _chain.push_back(path);
    std::swap(_source, source);
    for (const std::string_view line : splitLines(text)) {
        ++_line;
        parseLine(line);
    }
    leaveStep();
    closeParts(_chain.size());
    std::swap(_source, source);
    _chain.pop_back();
    _text = outerText;
    _line = outerLine;
    for (const auto& [name, column] : source.given) {
        if (source.used.count(name) == 0) {
            const std::string near = nearest(name, {source.used.begin(), source.used.end()});
            addProblem(_line, column,
                       source.name + " has no ${" + name + "}" + (near.empty() ? "" : ", did you mean " + near + "?"));
        }
    }
}

}  // namespace tool
