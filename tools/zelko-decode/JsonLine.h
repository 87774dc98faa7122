// One JSON object on one line, built field by field in insertion order.
#ifndef GPSDR_TOOLS_ZELKO_DECODE_JSONLINE_H
#define GPSDR_TOOLS_ZELKO_DECODE_JSONLINE_H

#include <cstdint>
#include <string>

class JsonLine {
public:
    JsonLine& Int(const char* key, int64_t v);
    // printf-style precision: numbers are printed with a fixed number of decimals so that
    // output stays byte-identical across runs and platforms.
    JsonLine& Fixed(const char* key, double v, int decimals);
    JsonLine& Text(const char* key, const std::string& v);
    JsonLine& Bool(const char* key, bool v);
    // A pre-formatted JSON value (array, nested object).
    JsonLine& Raw(const char* key, const std::string& json);
    std::string Str() const { return "{" + m_body + "}"; }

private:
    JsonLine& Key(const char* key);
    std::string m_body;
};

std::string JsonQuote(const std::string& text);

#endif
