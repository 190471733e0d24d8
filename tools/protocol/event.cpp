// SPDX-License-Identifier: Apache-2.0
// Events as the fields of a notification.
#include "protocol/event.h"

#include <algorithm>

namespace tool {

namespace {

template <class Clock>
long long nanoseconds(std::chrono::time_point<Clock> time) {
    return std::chrono::duration_cast<std::chrono::nanoseconds>(time.time_since_epoch()).count();
}

template <class Time>
Time timeOf(const Field& field) {
    return Time(std::chrono::duration_cast<typename Time::duration>(std::chrono::nanoseconds(field.numberOr(0))));
}

}  // namespace

void addTo(Field& params, const Event& event) {
    params.set("mono", nanoseconds(event.mono));
    params.set("wall", nanoseconds(event.time));
    params.set("module", event.module);
    params.set("number", event.number);
    auto last = event.objects.end();
    while (last != event.objects.begin() && std::prev(last)->isEmpty()) {
        --last;
    }
    Field::List objects;
    for (auto object = event.objects.begin(); object != last; ++object) {
        objects.push_back({{"value", object->value}, {"text", Field::ofSet(object->text)}, {"bytes", object->data}});
    }
    params.set("objects", std::move(objects));
}

Event parseEvent(const Field& params) {
    Event event;
    event.mono = timeOf<std::chrono::steady_clock::time_point>(params["mono"]);
    event.time = timeOf<std::chrono::system_clock::time_point>(params["wall"]);
    event.module = params.at("module").text();
    event.number = static_cast<unsigned int>(params.at("number").number());
    if (params.has("objects")) {
        const Field::List& objects = params["objects"].list();
        for (std::size_t i = 0; i < std::min(objects.size(), event.objects.size()); ++i) {
            EventObject& object = event.objects[i];
            object.value = static_cast<int>(objects[i]["value"].numberOr(0));
            object.text = objects[i]["text"].textOr("");
            object.data = objects[i]["bytes"].isNull() ? Bytes() : objects[i]["bytes"].bytes();
        }
    }
    return event;
}

}  // namespace tool
