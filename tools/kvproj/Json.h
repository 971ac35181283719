// The one JSON writer of the tool: every "--json" output is built as a Json
// value and written by Dump(), so that all commands escape strings and format
// numbers the same way.
//
//   Json zone = Json::Object();
//   zone.Set("name", "Alabama East").Set("fips", 101);
//   Json list = Json::Array();
//   list.Add(std::move(zone));
//   std::fputs(list.Dump().c_str(), stdout);
//
// Strings are escaped as JSON requires (quote, backslash, control bytes as
// \uXXXX) and any byte that is not part of well-formed UTF-8 becomes U+FFFD,
// so the output is always valid JSON. Numbers are written in the shortest form
// that reads back as exactly the same double; non-finite numbers, which JSON
// cannot hold, are written null. Object keys keep the order they were set in.
#ifndef KVPROJ_TOOL_JSON_H
#define KVPROJ_TOOL_JSON_H

#include <string>
#include <type_traits>
#include <utility>
#include <vector>

namespace kvtool {

class Json {
public:
    enum class Kind { Null, Bool, Number, String, Array, Object };

    Json() = default; // null
    Json(std::nullptr_t) {}
    Json(bool b) : kind_(Kind::Bool), number_(b ? 1 : 0) {}
    Json(double v) : kind_(Kind::Number), number_(v) {}
    template <typename T, typename = std::enable_if_t<std::is_integral_v<T>>>
    Json(T v) : kind_(Kind::Number), number_(static_cast<double>(v)), integer_(true) {
        text_ = std::to_string(v);
    }
    Json(const char* s) : kind_(s ? Kind::String : Kind::Null), text_(s ? s : "") {}
    Json(std::string s) : kind_(Kind::String), text_(std::move(s)) {}

    static Json Array();
    static Json Object();
    // An array of numbers: [x, y].
    static Json Pair(double x, double y);

    Kind kind() const { return kind_; }
    // Appends to an array.
    Json& Add(Json value);
    // Sets a member of an object (a key set twice keeps its first place).
    Json& Set(const std::string& key, Json value);
    size_t Size() const { return members_.size(); }

    // The value as JSON text: containers indented by two blanks per level,
    // and written on one line where that line stays short; ends with a newline.
    std::string Dump() const;
    // The value on one line, without a newline.
    std::string Compact() const;

private:
    void Write(std::string& out, int indent, bool expand) const;

    Kind kind_ = Kind::Null;
    double number_ = 0;
    bool integer_ = false;
    std::string text_;
    std::vector<std::pair<std::string, Json>> members_; // keys empty in arrays
};

// `text` as a quoted JSON string.
std::string JsonQuoted(const std::string& text);

// `v` as a JSON number: the shortest text that reads back as `v`; "null" when
// `v` is not finite.
std::string JsonNumber(double v);

} // namespace kvtool

#endif
