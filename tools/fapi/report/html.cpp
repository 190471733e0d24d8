// SPDX-License-Identifier: Apache-2.0
// Elements of a page.
#include "report/html.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

#include "base/report_text.h"

namespace tool {

Html Html::add(const char* tag, const char* cssClass) {
    Html child(_node.append_child(tag));
    if (*cssClass != '\0') {
        child.attribute("class", cssClass);
    }
    return child;
}

Html Html::add(const char* tag, const char* cssClass, const std::string& text) {
    Html child = add(tag, cssClass);
    return child.text(text);
}

Html& Html::text(const std::string& text) {
    // An element with an empty text has an end tag, which a page wants of all but a few.
    _node.append_child(pugi::node_pcdata).set_value(xmlText(text).c_str());
    return *this;
}

Html& Html::attribute(const char* name, const std::string& value) {
    _node.append_attribute(name) = xmlText(value).c_str();
    return *this;
}

Html& Html::attribute(const char* name, double value) {
    char text[64];
    std::snprintf(text, sizeof(text), "%.2f", value);
    return attribute(name, std::string(text));
}

std::string durationText(double seconds) {
    char text[64];
    if (seconds < 0.9995) {
        std::snprintf(text, sizeof(text), seconds < 0.0095 ? "%.2f ms" : "%.0f ms", seconds * 1000);
    } else if (seconds < 59.95) {
        std::snprintf(text, sizeof(text), "%.1f s", seconds);
    } else {
        const double whole = std::round(seconds);
        std::snprintf(text, sizeof(text), "%.0f min %.0f s", std::floor(whole / 60), std::fmod(whole, 60));
    }
    return text;
}

std::string pngAddress(const std::string& bytes) {
    constexpr char kDigits[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::string address = "data:image/png;base64,";
    address.reserve(address.size() + bytes.size() * 4 / 3 + 4);
    for (std::size_t i = 0; i < bytes.size(); i += 3) {
        const std::size_t count = std::min<std::size_t>(3, bytes.size() - i);
        std::uint32_t bits = 0;
        for (std::size_t k = 0; k < 3; ++k) {
            bits = bits << 8 | (k < count ? static_cast<unsigned char>(bytes[i + k]) : 0u);
        }
        for (std::size_t k = 0; k < 4; ++k) {
            address += k <= count ? kDigits[bits >> (18 - 6 * k) & 63] : '=';
        }
    }
    return address;
}

}  // namespace tool
