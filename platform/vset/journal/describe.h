// SPDX-License-Identifier: Apache-2.0
// The words in which functions of the middleware are described. A row names each parameter in turn:
//
//     VSET_DESCRIBE(HW_IIC_Open, "params", handle())
//
// A name alone suffices for numbers, texts, records and outputs of these: the type gives the rest. A function
// `void fields(CallText&, const Record&)` writes each type of record.
#ifndef VSET_DESCRIBE_H
#define VSET_DESCRIBE_H

#include <cstdio>
#include <cstring>
#include <initializer_list>
#include <type_traits>
#include <utility>

#include "description.h"

namespace vset::describe {

struct Parameter {
    WriteArgument input;   // empty for an output
    WriteArgument output;  // empty for an input
};

template <class Type>
Type valueOf(std::uint64_t u64Value) {
    if constexpr (std::is_pointer_v<Type>) {
        return reinterpret_cast<Type>(static_cast<std::uintptr_t>(u64Value));
    } else {
        return static_cast<Type>(u64Value);
    }
}

template <class Target>
void writeTarget(CallText& text, const char* pszName, const Target* pTarget) {
    if constexpr (std::is_integral_v<Target>) {
        text.numbers(pszName, pTarget, 1);
    } else {
        static const Target kEmpty{};
        const Target* const pRecord = text.wantsAll() ? &kEmpty : pTarget;
        pRecord != nullptr ? fields(text, *pRecord) : text.null(pszName);
    }
}

// Describes a parameter by its type.
template <class Type>
Parameter parameter(std::size_t index, const char* pszName) {
    using Target = std::remove_pointer_t<Type>;
    const WriteArgument write = [index, pszName](CallText& text, const ArgumentValues& values) {
        [[maybe_unused]] const Type value = valueOf<Type>(values[index]);
        if constexpr (!std::is_pointer_v<Type>) {
            text.number(pszName, value);
        } else if constexpr (std::is_same_v<Type, const char*> || std::is_same_v<Type, const HW_U8*>) {
            text.text(pszName, value);
        } else if constexpr (std::is_same_v<Type, std::FILE*>) {
            text.handle(pszName, values[index]);
        } else {
            writeTarget(text, pszName, static_cast<const Target*>(value));
        }
    };
    const bool bInput = !std::is_pointer_v<Type> || std::is_const_v<Target> || std::is_same_v<Type, std::FILE*>;
    return bInput ? Parameter{write, {}} : Parameter{{}, write};
}

// A handle, or the address where one is stored.
struct Handle {
    const char* pszName;
};
inline Handle handle(const char* pszName = "handle") {
    return {pszName};
}
template <class Type>
Parameter parameter(std::size_t index, Handle stHandle) {
    const char* const pszName = stHandle.pszName;
    if constexpr (std::is_pointer_v<Type>) {
        return {{}, [index, pszName](CallText& text, const ArgumentValues& values) {
                    const auto phHandle = valueOf<const HW_Handle_t*>(values[index]);
                    phHandle != nullptr ? text.handle(pszName, *phHandle) : text.null(pszName);
                }};
    } else {
        return {[index, pszName](CallText& text, const ArgumentValues& values) { text.handle(pszName, values[index]); },
                {}};
    }
}

// Returns the given description, for a parameter that needs more than its own value.
template <class Type>
Parameter parameter(std::size_t, Parameter described) {
    return described;
}
inline Parameter input(WriteArgument write) {
    return {std::move(write), {}};
}
inline Parameter output(WriteArgument write) {
    return {{}, std::move(write)};
}
inline Parameter inputAndOutput(WriteArgument before, WriteArgument after) {
    return {std::move(before), std::move(after)};
}

// Describes a parameter that another parameter's words cover.
inline Parameter nothing() {
    return {};
}

// Describes the input of a query that takes none: the pointer must be null.
inline Parameter unusedInput(std::size_t index) {
    return input([index](CallText& text, const ArgumentValues& values) { text.presence("input", values[index] != 0); });
}

// Writes the value of an attribute, whose number gives its type, from a void pointer.
using WriteValue = void (*)(CallText& text, const void* pValue);
struct Attribute {
    std::uint64_t u64Number;
    WriteValue write;
};
// Matches every number that has no row above it.
constexpr std::uint64_t kAnyNumber = ~std::uint64_t{0};

// A caller's record behind a void pointer may lie at any address.
template <class Value>
void value(CallText& text, const void* pValue) {
    Value copy{};
    if (pValue != nullptr) {
        std::memcpy(&copy, pValue, sizeof(copy));
    }
    writeTarget(text, "value", pValue != nullptr ? &copy : nullptr);
}

// Describes the value of an attribute, whose number is the parameter at `number`. A value without a row is written as
// set or null.
inline WriteArgument attributeValue(const char* pszName, std::size_t index, std::size_t number,
                                    std::initializer_list<Attribute> attributes) {
    return [=, rows = std::vector<Attribute>(attributes)](CallText& text, const ArgumentValues& values) {
        for (const Attribute& stRow : rows) {
            if (text.wantsAll()) {
                stRow.write(text, nullptr);
            } else if (stRow.u64Number == values[number] || stRow.u64Number == kAnyNumber) {
                return stRow.write(text, valueOf<const void*>(values[index]));
            }
        }
        text.presence(pszName, values[index] != 0);
    };
}

template <class Result, class... Types, class... Words, std::size_t... indexes>
CallDescription describe(const char* pszCall, Result (*)(Types...), std::index_sequence<indexes...>,
                         const Words&... words) {
    static_assert(sizeof...(Types) == sizeof...(Words), "one word for each parameter");
    CallDescription stCall;
    stCall.pszCall = pszCall;
    for (const Parameter& stParameter : std::initializer_list<Parameter>{parameter<Types>(indexes, words)...}) {
        if (stParameter.input) {
            stCall.inputs.push_back(stParameter.input);
        }
        if (stParameter.output) {
            stCall.outputs.push_back(stParameter.output);
        }
    }
    return stCall;
}
template <class Result, class... Types, class... Words>
CallDescription describe(const char* pszCall, Result (*pfnCall)(Types...), const Words&... words) {
    return describe(pszCall, pfnCall, std::index_sequence_for<Types...>{}, words...);
}

inline CallDescription lookUp(CallDescription stCall) {
    stCall.bLookUp = true;
    return stCall;
}

// Return the functions by subject, each defined in the source of its name.
std::vector<CallDescription> storage();
std::vector<CallDescription> board();
std::vector<CallDescription> inputs();
std::vector<CallDescription> sound();
std::vector<CallDescription> display();

}  // namespace vset::describe

// A null pointer of the function's type, so that a library that is not linked can be described.
#define VSET_DESCRIBE(function, ...) describe(#function, static_cast<decltype(&function)>(nullptr), ##__VA_ARGS__)

#endif
