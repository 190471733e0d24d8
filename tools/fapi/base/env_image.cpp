// SPDX-License-Identifier: Apache-2.0
// The boot environment as an image.
#include "base/env_image.h"

#include <algorithm>
#include <set>

#include <zlib.h>

#include "base/env_text.h"
#include "protocol/value.h"

namespace tool {

namespace {

constexpr std::size_t kChecksumSize = 4;
// As much of a record that is no variable as a message shows.
constexpr std::size_t kShownRecord = 24;
// An image of rubbish has thousands.
constexpr std::size_t kRemarks = 8;

std::string checksumOf(std::string_view image) {
    const std::string_view records = image.substr(kChecksumSize);
    auto checksum = crc32_z(0, reinterpret_cast<const Bytef*>(records.data()), records.size());
    std::string bytes;
    for (std::size_t i = 0; i < kChecksumSize; ++i, checksum >>= 8) {
        bytes += static_cast<char>(checksum & 0xFF);
    }
    return bytes;
}

std::vector<std::string> damageOf(std::string_view image) {
    if (image.size() > kEnvImageSize) {
        return {"has more than " + std::to_string(kEnvImageSize) + " bytes"};
    }
    if (image.size() < kEnvImageSize) {
        return {"has " + std::to_string(image.size()) + " bytes instead of " + std::to_string(kEnvImageSize)};
    }
    if (image.substr(0, kChecksumSize) != checksumOf(image)) {
        return {"wrong checksum"};
    }
    return {};
}

// A record of a whole image is a variable when it has a name. In a damaged one that name must look like one, too.
bool isVariable(std::string_view record, bool damaged) {
    const std::size_t equals = record.find('=');
    const auto isOfName = [](unsigned char c) { return c > ' ' && c < 0x7F; };
    return equals != std::string_view::npos && equals != 0 &&
           (!damaged || std::all_of(record.begin(), record.begin() + static_cast<std::ptrdiff_t>(equals), isOfName));
}

// Puts an image's records into an environment.
class Reader {
public:
    explicit Reader(Environment& environment) : _environment(environment), _damaged(!environment.damage.empty()) {}

    void add(std::string_view record, std::size_t offset) {
        if (!isVariable(record, _damaged)) {
            remark("the record at byte " + std::to_string(offset) + " is no variable: " +
                   escapeText(record.substr(0, kShownRecord)) + (record.size() > kShownRecord ? "..." : ""));
            return;
        }
        const std::string_view name = record.substr(0, record.find('='));
        if (!_names.insert(name).second) {
            remark(escapeText(name) + " is there twice; the set takes the first, boot loaders the last");
            return;
        }
        _environment.variables.emplace_back(name, record.substr(name.size() + 1));
    }

    void end() {
        if (_untold != 0) {
            list().push_back("... and " + std::to_string(_untold) + " more like these");
        }
    }

private:
    std::vector<std::string>& list() { return _damaged ? _environment.damage : _environment.remarks; }

    void remark(std::string&& text) {
        if (list().size() < kRemarks) {
            list().push_back(std::move(text));
        } else {
            ++_untold;
        }
    }

    Environment& _environment;
    const bool _damaged;
    std::set<std::string_view> _names;
    std::size_t _untold = 0;
};

}  // namespace

Environment parseEnvImage(std::string_view image) {
    const auto isErased = [](char c) { return c == '\xFF'; };
    if (image.size() == kEnvImageSize && std::all_of(image.begin(), image.end(), isErased)) {
        return {};
    }
    Environment environment;
    environment.damage = damageOf(image);
    const bool damaged = !environment.damage.empty();
    Reader reader(environment);
    for (std::size_t offset = kChecksumSize; offset < image.size();) {
        const std::size_t end = std::min(image.find('\0', offset), image.size());
        // Behind a gap that damage has torn there may be more, behind a whole image's end there is only rubbish.
        if (end == offset && !damaged) {
            break;
        }
        if (end != offset) {
            reader.add(image.substr(offset, end - offset), offset);
        }
        offset = end + 1;
    }
    reader.end();
    return environment;
}

std::string makeEnvImage(const EnvVariables& variables) {
    std::string image(kChecksumSize, '\0');
    for (const auto& [name, value] : variables) {
        checkVariable(name, value);
        image.append(name).append("=").append(value).append(1, '\0');
        // The empty record at the end needs a byte, too.
        if (image.size() >= kEnvImageSize) {
            throw UsageError("no room for " + escapeText(name) + ": all variables together have at most " +
                             std::to_string(kEnvImageSize - kChecksumSize - 1) + " bytes");
        }
    }
    image.resize(kEnvImageSize);
    return image.replace(0, kChecksumSize, checksumOf(image));
}

void checkVariable(const std::string& name, const std::string& value) {
    if (name.empty()) {
        throw UsageError("the name of a variable is missing");
    }
    if (name.find('=') != std::string::npos || name.find('\0') != std::string::npos) {
        throw UsageError("\"" + escapeText(name) + "\" is no name of a variable: it has a = or a zero byte");
    }
    if (value.find('\0') != std::string::npos) {
        throw UsageError("the value of " + escapeText(name) + " has a zero byte");
    }
}

const std::string* findVariable(const EnvVariables& variables, std::string_view name) {
    const auto found =
        std::find_if(variables.begin(), variables.end(), [&](const auto& variable) { return variable.first == name; });
    return found != variables.end() ? &found->second : nullptr;
}

void setVariable(EnvVariables& variables, const std::string& name, const std::string& value) {
    const auto found =
        std::find_if(variables.begin(), variables.end(), [&](const auto& variable) { return variable.first == name; });
    if (found != variables.end()) {
        found->second = value;
    } else {
        variables.emplace_back(name, value);
    }
}

bool removeVariable(EnvVariables& variables, std::string_view name) {
    const auto found =
        std::find_if(variables.begin(), variables.end(), [&](const auto& variable) { return variable.first == name; });
    if (found == variables.end()) {
        return false;
    }
    variables.erase(found);
    return true;
}

std::vector<EnvChange> changesBetween(const EnvVariables& before, const EnvVariables& after) {
    std::vector<EnvChange> changes;
    for (const auto& [name, value] : after) {
        const std::string* old = findVariable(before, name);
        if (old == nullptr || *old != value) {
            changes.push_back({name, old != nullptr ? std::optional(*old) : std::nullopt, value});
        }
    }
    for (const auto& [name, value] : before) {
        if (findVariable(after, name) == nullptr) {
            changes.push_back({name, value, std::nullopt});
        }
    }
    return changes;
}

}  // namespace tool
