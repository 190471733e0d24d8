// SPDX-License-Identifier: Apache-2.0
#include "plan/files.h"

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <set>

#include "base/words.h"
#include "protocol/value.h"

namespace tool {

namespace {

namespace fs = std::filesystem;

constexpr char kPlansVariable[] = "FAPI_PLANS";
constexpr char kExtension[] = ".plan";

std::vector<fs::path> planFolders() {
    const std::vector<std::string> folders = sharedFolders(kPlansVariable, "plans");
    return {folders.begin(), folders.end()};
}

}  // namespace

// The user's come first. The tool's own are found from where it lies, so that an installed tree may be moved.
std::vector<std::string> sharedFolders(const char* variable, const char* name) {
    std::vector<std::string> folders;
    const char* users = std::getenv(variable);
    if (users != nullptr && *users != '\0') {
        folders.emplace_back(users);
    }
    std::error_code error;
    const fs::path program = fs::read_symlink("/proc/self/exe", error);
    if (!error) {
        folders.push_back((program.parent_path().parent_path() / "share/fapi" / name).string());
    }
    return folders;
}

std::vector<std::string> filesIn(const std::string& folder, const std::string& extension) {
    std::vector<std::string> files;
    std::error_code error;
    for (const fs::directory_entry& entry : fs::directory_iterator(folder, error)) {
        if (entry.path().extension() == extension) {
            files.push_back(entry.path().string());
        }
    }
    std::sort(files.begin(), files.end());
    return files;
}

std::optional<std::string> planFile(const std::string& word) {
    std::error_code error;
    if (fs::is_regular_file(word, error) || word.find('/') != std::string::npos) {
        return word;
    }
    for (const fs::path& folder : planFolders()) {
        const fs::path file = (folder / word).replace_extension(kExtension);
        if (fs::is_regular_file(file, error)) {
            return file.string();
        }
    }
    return std::nullopt;
}

std::string unknownPlan(const std::string& word) {
    std::string text = "is no file, and no plan of that name is in ";
    const char* separator = "";
    for (const fs::path& folder : planFolders()) {
        text += separator + display(folder.string(), 200);
        separator = " or ";
    }
    const std::vector<std::string> names = planNames();
    const std::string near = nearest(fs::path(word).stem().string(), names);
    if (!near.empty()) {
        return text + "; did you mean " + near + "?";
    }
    separator = "; there are ";
    for (const std::string& name : names) {
        text += separator + name;
        separator = ", ";
    }
    return text;
}

std::vector<std::string> planNames() {
    std::set<std::string> names;
    for (const fs::path& folder : planFolders()) {
        for (const std::string& file : filesIn(folder.string(), kExtension)) {
            names.insert(fs::path(file).stem().string());
        }
    }
    return {names.begin(), names.end()};
}

}  // namespace tool
