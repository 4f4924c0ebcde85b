#include "unitops/contract/svg_text.hpp"

#include <cstdio>

namespace unitops {

std::string SvgEscaped(const std::string& text) {
    std::string out;
    for (char c : text) {
        switch (c) {
            case '&': out += "&amp;"; break;
            case '<': out += "&lt;"; break;
            case '>': out += "&gt;"; break;
            case '"': out += "&quot;"; break;
            case '\'': out += "&apos;"; break;
            default: out += c;
        }
    }
    return out;
}

std::string SvgNumber(double x) {
    char text[32];
    std::snprintf(text, sizeof text, "%.3f", x);
    return text;
}

}  // namespace unitops
