#include "unitops/contract/utf8.hpp"

namespace unitops {
namespace {

// Length of the well-formed sequence at `text[i]`, or 0 if there is none.
std::size_t SequenceLength(std::string_view text, std::size_t i) {
    const auto byte = [&](std::size_t k) { return static_cast<unsigned char>(text[k]); };
    const unsigned char lead = byte(i);
    if (lead < 0x80) return 1;
    std::size_t n = 0;
    unsigned char low = 0x80, high = 0xBF;  // range of the second byte
    if (lead >= 0xC2 && lead <= 0xDF) {
        n = 2;
    } else if (lead >= 0xE0 && lead <= 0xEF) {
        n = 3;
        if (lead == 0xE0) low = 0xA0;   // overlong
        if (lead == 0xED) high = 0x9F;  // surrogates
    } else if (lead >= 0xF0 && lead <= 0xF4) {
        n = 4;
        if (lead == 0xF0) low = 0x90;   // overlong
        if (lead == 0xF4) high = 0x8F;  // above U+10FFFF
    } else {
        return 0;
    }
    if (i + n > text.size() || byte(i + 1) < low || byte(i + 1) > high) return 0;
    for (std::size_t k = 2; k < n; ++k) {
        if (byte(i + k) < 0x80 || byte(i + k) > 0xBF) return 0;
    }
    return n;
}

}  // namespace

bool IsValidUtf8(std::string_view text) {
    for (std::size_t i = 0; i < text.size();) {
        const std::size_t n = SequenceLength(text, i);
        if (n == 0) return false;
        i += n;
    }
    return true;
}

std::string ValidUtf8(std::string_view text) {
    std::string out;
    out.reserve(text.size());
    for (std::size_t i = 0; i < text.size();) {
        const std::size_t n = SequenceLength(text, i);
        if (n == 0) {
            out += "\xEF\xBF\xBD";
            ++i;
        } else {
            out.append(text.substr(i, n));
            i += n;
        }
    }
    return out;
}

}  // namespace unitops
