#include "unitops/io/json_text.hpp"

#include <cstdio>
#include <unordered_map>
#include <vector>

namespace unitops {

using json = nlohmann::ordered_json;

namespace {

// "origin:line:column" of a byte offset of the text.
std::string Located(std::string_view text, std::size_t offset, const std::string& origin) {
    std::size_t line = 1, column = 1;
    for (std::size_t i = 0; i < offset && i < text.size(); ++i) {
        if (text[i] == '\n') {
            ++line;
            column = 1;
        } else {
            ++column;
        }
    }
    return origin + ":" + std::to_string(line) + ":" + std::to_string(column);
}

// Builds the tree of a document while following the parser through it, so that an error names
// the path of the value where it happened ("streams.S-101", "procedures[0].operations[1]"), and
// refuses repeated keys. Keys are appended to their object directly: inserting through the ordered
// map searches it from the start, which would grow as the square of the number of keys.
class StrictBuilder : public nlohmann::json_sax<json> {
public:
    StrictBuilder(std::string_view text, const std::string& origin) : text_(text), origin_(origin) {}

    json root;

    bool null() override { return Put(nullptr) != nullptr; }
    bool boolean(bool v) override { return Put(v) != nullptr; }
    bool number_integer(number_integer_t v) override { return Put(v) != nullptr; }
    bool number_unsigned(number_unsigned_t v) override { return Put(v) != nullptr; }
    bool number_float(number_float_t v, const string_t&) override { return Put(v) != nullptr; }
    bool string(string_t& v) override {
        RefuseControlCharacters(v, "text");
        return Put(std::move(v)) != nullptr;
    }
    bool binary(binary_t& v) override { return Put(json::binary(std::move(v))) != nullptr; }
    bool start_object(std::size_t) override { return Open(json::object(), false); }
    bool start_array(std::size_t) override { return Open(json::array(), true); }
    bool end_object() override {
        frames_.pop_back();
        return true;
    }
    bool end_array() override { return end_object(); }
    bool key(string_t& k) override {
        RefuseControlCharacters(k, "key");
        Frame& f = frames_.back();
        const std::size_t position = f.keys.size() + 1;
        const auto [it, inserted] = f.keys.emplace(k, position);
        const std::string parent = PathThrough(frames_.size() - 1);
        f.key = k;
        if (!inserted) {
            Fail("'" + k + "' is given twice in " + (parent.empty() ? "the top-level object" : parent) + " (keys " +
                 std::to_string(it->second) + " and " + std::to_string(position) + " of that object)");
        }
        return true;
    }
    bool parse_error(std::size_t byte, const std::string&, const nlohmann::detail::exception& e) override {
        if (e.id == 406) Fail("the number is too large for a double-precision value");
        std::string what = e.what();
        if (const auto p = what.find("syntax error"); p != std::string::npos) what = what.substr(p);
        if (what.find("expected end of input") != std::string::npos) what = "more text after the end of the JSON value";
        throw InputError(Located(text_, byte == 0 ? 0 : byte - 1, origin_), what);
    }

    [[noreturn]] void Fail(const std::string& what) const {
        const std::string path = PathThrough(frames_.size());
        throw InputError(path.empty() ? origin_ : origin_ + ": " + path, what);
    }

private:
    // A control character (an escaped NUL, an escape sequence for a terminal) in a name would cut
    // it short or reach the terminal from a report; tab and line breaks are allowed.
    void RefuseControlCharacters(const std::string& text, const char* what) const {
        for (const char c : text) {
            const auto byte = static_cast<unsigned char>(c);
            if ((byte < 0x20 && c != '\t' && c != '\n' && c != '\r') || byte == 0x7F) {
                char code[8];
                std::snprintf(code, sizeof code, "U+%04X", byte);
                Fail(std::string("a ") + what + " holds the control character " + code);
            }
        }
    }

    struct Frame {
        json* value;
        bool array;
        std::unordered_map<std::string, std::size_t> keys;  // position (from 1) of each key, in an object
        std::string key;                                    // key being read, in an object
    };

    bool Open(json v, bool array) {
        if (frames_.size() >= kMaxJsonNesting) {
            Fail("objects and arrays nest more than " + std::to_string(kMaxJsonNesting) + " deep");
        }
        json* made = Put(std::move(v));
        frames_.push_back(Frame{made, array, {}, {}});
        return true;
    }

    // Places a value in the innermost open object or array (or as the root).
    json* Put(json v) {
        if (frames_.empty()) {
            root = std::move(v);
            return &root;
        }
        Frame& f = frames_.back();
        if (f.array) {
            f.value->push_back(std::move(v));
            return &f.value->back();
        }
        // The ordered map is a vector of pairs underneath: appending skips its search. The key is
        // new: a repeated one was refused when it was read.
        auto& members = static_cast<std::vector<json::object_t::value_type>&>(f.value->get_ref<json::object_t&>());
        members.emplace_back(f.key, std::move(v));
        return &members.back().second;
    }

    // The path of the value that the first `depth` open objects and arrays lead to.
    std::string PathThrough(std::size_t depth) const {
        std::string path;
        for (std::size_t i = 0; i < depth; ++i) {
            const Frame& f = frames_[i];
            if (f.array) {
                // An array whose element is open holds it last; otherwise the next is being read.
                const std::size_t element = f.value->size() - (i + 1 < frames_.size() ? 1 : 0);
                path += "[" + std::to_string(element) + "]";
            } else if (!f.keys.empty()) {
                path += (path.empty() ? "" : ".") + f.key;
            }
        }
        return path;
    }

    std::string_view text_;
    const std::string& origin_;
    std::vector<Frame> frames_;
};

}  // namespace

json ParseJsonDocument(std::string_view text, const std::string& origin) {
    // The parser stops at a NUL byte as at the end of the text: what follows would be lost.
    if (const std::size_t nul = text.find('\0'); nul != std::string_view::npos) {
        throw InputError(Located(text, nul, origin), "a NUL byte, which a JSON text never holds");
    }
    if (text.find_first_not_of(" \t\r\n") == std::string_view::npos) {
        throw InputError(origin, "the input is empty: a flowsheet is a JSON object");
    }
    StrictBuilder builder(text, origin);
    json::sax_parse(text, &builder);
    return std::move(builder.root);
}

}  // namespace unitops
