// SPDX-License-Identifier: Apache-2.0
// Elements of a page. What is put in is text and nothing else, whatever it holds; the page is well-formed XML, too.
#ifndef FAPI_BENCH_REPORT_HTML_H
#define FAPI_BENCH_REPORT_HTML_H

#include <string>

#include <pugixml.hpp>

#include "base/durable_file.h"
#include "protocol/characters.h"

namespace tool {

class Html {
public:
    explicit Html(pugi::xml_node node) : _node(node) {}

    // A new last child.
    Html add(const char* tag, const char* cssClass = "");
    // The same with a text and nothing else in it.
    Html add(const char* tag, const char* cssClass, const std::string& text);
    // Both return the element itself.
    Html& text(const std::string& text);
    Html& attribute(const char* name, const std::string& value);
    // Of coordinates: two decimals.
    Html& attribute(const char* name, double value);

private:
    pugi::xml_node _node;
};

// Hands a document over as it is written: its text is as large as many of its elements.
class SinkWriter : public pugi::xml_writer {
public:
    explicit SinkWriter(const TextSink& sink) : _sink(sink) {}
    void write(const void* data, std::size_t size) override { _sink({static_cast<const char*>(data), size}); }

private:
    const TextSink& _sink;
};

// "0.31 ms", "12 ms", "3.4 s", "2 min 5 s"
std::string durationText(double seconds);

// A PNG file as the address of a picture.
std::string pngAddress(const std::string& bytes);

}  // namespace tool

#endif
