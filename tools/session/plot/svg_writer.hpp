#pragma once
// A small writer of SVG (XML) text: elements are opened and closed through it, so the document stays
// well formed, and every attribute value and text is escaped.

#include <initializer_list>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace korvath::session_tool {

// Replaces & < > " ' by their entities, so the text is safe in content and in quoted attributes.
auto xml_escape(std::string_view text) -> std::string;

// A number for a coordinate or length: at most two decimals, no trailing zeros, "-0" as "0".
auto svg_number(double value) -> std::string;

using SvgAttribute = std::pair<std::string_view, std::string>;

class SvgWriter {
public:
    // Starts the document with the root <svg> element of this size (pixels; also its viewBox).
    SvgWriter(double width, double height);

    auto open(std::string_view tag, std::initializer_list<SvgAttribute> attributes = {}) -> void;
    auto close() -> void;
    // An element without children: `<tag .../>`, or `<tag ...>text</tag>` when `text` is not empty.
    auto leaf(std::string_view tag, std::initializer_list<SvgAttribute> attributes,
              std::string_view text = {}) -> void;
    // Closes every open element, the root included, and returns the document.
    auto finish() -> std::string;

private:
    auto start_tag(std::string_view tag, std::initializer_list<SvgAttribute> attributes) -> void;

    std::string m_text;
    std::vector<std::string> m_open;
};

} // namespace korvath::session_tool
