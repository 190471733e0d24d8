// SPDX-License-Identifier: Apache-2.0
// Any text as a description or a message: what is accepted means the same when it is written and read again.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <functional>
#include <string>
#include <string_view>

#include "protocol/description.h"
#include "protocol/message.h"

namespace {

void require(bool isTrue) {
    if (!isTrue) {
        std::abort();
    }
}

// Whether the bytes were accepted.
bool isGood(const std::function<void()>& read) {
    try {
        read();
        return true;
    } catch (const tool::MessageError&) {
        return false;
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    tool::Field field;
    if (!isGood([&] { field = tool::parseJsonText({reinterpret_cast<const char*>(data), size}); })) {
        return 0;
    }
    for (const bool asciiOnly : {false, true}) {
        require(tool::parseJsonText(toJsonText(field, asciiOnly)) == field);
    }
    tool::Message message;
    if (isGood([&] { message = tool::parseMessage(field); })) {
        require(message.request.has_value() + message.answer.has_value() + message.notification.has_value() == 1);
    }
    tool::Description description;
    if (isGood([&] { description = tool::parseDescription(field); })) {
        const tool::Field written = toField(description);
        const tool::Description again = tool::parseDescription(written);
        require(toField(again) == written && hashOf(again) == hashOf(description));
        for (const tool::Operation& operation : description.operations) {
            const tool::Operation* found = description.operation(operation.shortName());
            require(found != nullptr && found->shortName() == operation.shortName());
        }
    }
    return 0;
}
