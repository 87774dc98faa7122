#include "tools/zelko-decode/JsonLine.h"

#include <cstdio>

JsonLine& JsonLine::Key(const char* key)
{
    if (!m_body.empty()) m_body += ',';
    m_body += JsonQuote(key);
    m_body += ':';
    return *this;
}

JsonLine& JsonLine::Int(const char* key, int64_t v)
{
    Key(key).m_body += std::to_string(v);
    return *this;
}

JsonLine& JsonLine::Fixed(const char* key, double v, int decimals)
{
    char text[64];
    std::snprintf(text, sizeof text, "%.*f", decimals, v);
    Key(key).m_body += text;
    return *this;
}

JsonLine& JsonLine::Text(const char* key, const std::string& v)
{
    Key(key).m_body += JsonQuote(v);
    return *this;
}

JsonLine& JsonLine::Bool(const char* key, bool v)
{
    Key(key).m_body += v ? "true" : "false";
    return *this;
}

JsonLine& JsonLine::Raw(const char* key, const std::string& json)
{
    Key(key).m_body += json;
    return *this;
}

std::string JsonQuote(const std::string& text)
{
    std::string out = "\"";
    for (unsigned char c : text) {
        if (c == '"' || c == '\\') {
            out += '\\';
            out += static_cast<char>(c);
        } else if (c < 0x20) {
            char esc[8];
            std::snprintf(esc, sizeof esc, "\\u%04x", c);
            out += esc;
        } else {
            out += static_cast<char>(c);
        }
    }
    return out + "\"";
}
