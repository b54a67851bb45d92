#include "tools/session/plot/svg_writer.hpp"

#include <cmath>
#include <cstdio>

namespace korvath::session_tool {

auto xml_escape(std::string_view text) -> std::string {
    std::string escaped;
    escaped.reserve(text.size());
    for (const char c : text) {
        switch (c) {
        case '&':
            escaped += "&amp;";
            break;
        case '<':
            escaped += "&lt;";
            break;
        case '>':
            escaped += "&gt;";
            break;
        case '"':
            escaped += "&quot;";
            break;
        case '\'':
            escaped += "&apos;";
            break;
        default:
            escaped += c;
        }
    }
    return escaped;
}

auto svg_number(double value) -> std::string {
    if (!std::isfinite(value))
        return "0";
    char text[32];
    std::snprintf(text, sizeof text, "%.2f", value);
    std::string number = text;
    while (number.back() == '0')
        number.pop_back();
    if (number.back() == '.')
        number.pop_back();
    return number == "-0" ? "0" : number;
}

SvgWriter::SvgWriter(double width, double height) {
    m_text = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n";
    const std::string w = svg_number(width), h = svg_number(height);
    open("svg", {{"xmlns", "http://www.w3.org/2000/svg"},
                 {"width", w},
                 {"height", h},
                 {"viewBox", "0 0 " + w + " " + h}});
}

auto SvgWriter::start_tag(std::string_view tag, std::initializer_list<SvgAttribute> attributes) -> void {
    m_text.append(m_open.size() * 2, ' ');
    m_text += '<';
    m_text += tag;
    for (const auto& [name, value] : attributes) {
        m_text += ' ';
        m_text += name;
        m_text += "=\"";
        m_text += xml_escape(value);
        m_text += '"';
    }
}

auto SvgWriter::open(std::string_view tag, std::initializer_list<SvgAttribute> attributes) -> void {
    start_tag(tag, attributes);
    m_text += ">\n";
    m_open.emplace_back(tag);
}

auto SvgWriter::close() -> void {
    if (m_open.empty())
        return;
    const std::string tag = std::move(m_open.back());
    m_open.pop_back();
    m_text.append(m_open.size() * 2, ' ');
    m_text += "</" + tag + ">\n";
}

auto SvgWriter::leaf(std::string_view tag, std::initializer_list<SvgAttribute> attributes,
                     std::string_view text) -> void {
    start_tag(tag, attributes);
    if (text.empty()) {
        m_text += "/>\n";
        return;
    }
    m_text += '>';
    m_text += xml_escape(text);
    m_text += "</";
    m_text += tag;
    m_text += ">\n";
}

auto SvgWriter::finish() -> std::string {
    while (!m_open.empty())
        close();
    return std::move(m_text);
}

} // namespace korvath::session_tool
