#include "unitops/io/json_text.hpp"

#include <map>
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

// Follows the parser through the document, so that an error names the path of the value where
// it happened ("streams.S-101", "procedures[0].operations[1]"), and refuses repeated keys.
class PathTracker {
public:
    explicit PathTracker(const std::string& origin) : origin_(origin) {}

    bool operator()(int, json::parse_event_t event, json& parsed) {
        switch (event) {
            case json::parse_event_t::object_start:
            case json::parse_event_t::array_start:
                if (frames_.size() >= kMaxJsonNesting) {
                    Fail("objects and arrays nest more than " + std::to_string(kMaxJsonNesting) + " deep");
                }
                frames_.push_back(Frame{event == json::parse_event_t::array_start, 0, {}, {}});
                break;
            case json::parse_event_t::key: Key(parsed.get<std::string>()); break;
            case json::parse_event_t::object_end:
            case json::parse_event_t::array_end:
                frames_.pop_back();
                NextElement();
                break;
            case json::parse_event_t::value: NextElement(); break;
        }
        return true;
    }

    //! The path of the value being read.
    std::string Path() const { return PathThrough(frames_.size()); }

    [[noreturn]] void Fail(const std::string& what) const {
        const std::string path = Path();
        throw InputError(path.empty() ? origin_ : origin_ + ": " + path, what);
    }

private:
    struct Frame {
        bool array;
        std::size_t index;                         // element being read, in an array
        std::map<std::string, std::size_t> keys;  // position (from 1) of each key, in an object
        std::string key;                           // key being read, in an object
    };

    // The path of the value that the first `depth` open objects and arrays lead to.
    std::string PathThrough(std::size_t depth) const {
        std::string path;
        for (std::size_t i = 0; i < depth; ++i) {
            const Frame& f = frames_[i];
            if (f.array) {
                path += "[" + std::to_string(f.index) + "]";
            } else if (!f.keys.empty()) {
                path += (path.empty() ? "" : ".") + f.key;
            }
        }
        return path;
    }

    void Key(const std::string& key) {
        Frame& f = frames_.back();
        const std::size_t position = f.keys.size() + 1;
        const auto [it, inserted] = f.keys.emplace(key, position);
        const std::string parent = PathThrough(frames_.size() - 1);
        f.key = key;
        if (!inserted) {
            Fail("'" + key + "' is given twice in " + (parent.empty() ? "the top-level object" : parent) + " (keys " +
                 std::to_string(it->second) + " and " + std::to_string(position) + " of that object)");
        }
    }

    void NextElement() {
        if (!frames_.empty() && frames_.back().array) ++frames_.back().index;
    }

    const std::string& origin_;
    std::vector<Frame> frames_;
};

}  // namespace

json ParseJsonDocument(std::string_view text, const std::string& origin) {
    // The parser stops at a NUL byte as at the end of the text: what follows would be lost.
    if (const std::size_t nul = text.find('\0'); nul != std::string_view::npos) {
        throw InputError(Located(text, nul, origin), "a NUL byte, which a JSON text never holds");
    }
    PathTracker tracker(origin);
    try {
        return json::parse(text, std::ref(tracker));
    } catch (const json::parse_error& e) {
        std::string what = e.what();
        if (const auto p = what.find("syntax error"); p != std::string::npos) what = what.substr(p);
        if (what.find("expected end of input") != std::string::npos) what = "more text after the end of the JSON value";
        throw InputError(Located(text, e.byte == 0 ? 0 : e.byte - 1, origin), what);
    } catch (const json::out_of_range&) {
        tracker.Fail("the number is too large for a double-precision value");
    }
}

}  // namespace unitops
