// The tool's JSON writer.
#include "Json.h"

#include "Numbers.h"
#include "Text.h"

#include <cmath>
#include <cstdio>

namespace kvtool {
namespace {

// Containers whose one-line text fits this many columns stay on one line.
constexpr size_t kInlineWidth = 100;

void AppendEscaped(std::string& out, unsigned char c) {
    switch (c) {
    case '"':
        out += "\\\"";
        return;
    case '\\':
        out += "\\\\";
        return;
    case '\n':
        out += "\\n";
        return;
    case '\r':
        out += "\\r";
        return;
    case '\t':
        out += "\\t";
        return;
    case '\b':
        out += "\\b";
        return;
    case '\f':
        out += "\\f";
        return;
    default:
        break;
    }
    char escape[8];
    std::snprintf(escape, sizeof escape, "\\u%04x", c);
    out += escape;
}

} // namespace

std::string JsonQuoted(const std::string& text) {
    std::string out = "\"";
    for (size_t i = 0; i < text.size();) {
        const unsigned char c = static_cast<unsigned char>(text[i]);
        if (c < 0x20 || c == '"' || c == '\\') {
            AppendEscaped(out, c);
            ++i;
            continue;
        }
        const size_t n = Utf8CharLength(text, i);
        if (n == 0) { // not well-formed UTF-8: the replacement character
            out += "\xEF\xBF\xBD";
            ++i;
            continue;
        }
        out.append(text, i, n);
        i += n;
    }
    return out + "\"";
}

std::string JsonNumber(double v) {
    return std::isfinite(v) ? FormatShortest(v) : "null";
}

Json Json::Array() {
    Json j;
    j.kind_ = Kind::Array;
    return j;
}

Json Json::Object() {
    Json j;
    j.kind_ = Kind::Object;
    return j;
}

Json Json::Pair(double x, double y) {
    Json j = Array();
    j.Add(x).Add(y);
    return j;
}

Json& Json::Add(Json value) {
    if (kind_ == Kind::Null) kind_ = Kind::Array;
    if (kind_ == Kind::Array) members_.emplace_back(std::string(), std::move(value));
    return *this;
}

Json& Json::Set(const std::string& key, Json value) {
    if (kind_ == Kind::Null) kind_ = Kind::Object;
    if (kind_ != Kind::Object) return *this;
    for (auto& member : members_)
        if (member.first == key) return (member.second = std::move(value)), *this;
    members_.emplace_back(key, std::move(value));
    return *this;
}

void Json::Write(std::string& out, int indent, bool expand) const {
    switch (kind_) {
    case Kind::Null:
        out += "null";
        return;
    case Kind::Bool:
        out += number_ != 0 ? "true" : "false";
        return;
    case Kind::Number:
        out += integer_ ? text_ : JsonNumber(number_);
        return;
    case Kind::String:
        out += JsonQuoted(text_);
        return;
    default:
        break;
    }
    const bool object = kind_ == Kind::Object;
    const char* open = object ? "{" : "[";
    const char* close = object ? "}" : "]";
    if (members_.empty()) {
        out += std::string(open) + close;
        return;
    }
    if (!expand) {
        out += open;
        for (size_t i = 0; i < members_.size(); ++i) {
            if (i) out += ", ";
            if (object) out += JsonQuoted(members_[i].first) + ": ";
            members_[i].second.Write(out, 0, false);
        }
        out += close;
        return;
    }
    const std::string pad(static_cast<size_t>(indent + 2), ' ');
    out += std::string(open) + "\n";
    for (size_t i = 0; i < members_.size(); ++i) {
        std::string line = pad;
        if (object) line += JsonQuoted(members_[i].first) + ": ";
        const Json& value = members_[i].second;
        std::string flat;
        value.Write(flat, 0, false);
        const bool container = value.kind_ == Kind::Array || value.kind_ == Kind::Object;
        if (container && line.size() + flat.size() + 1 > kInlineWidth)
            value.Write(line, indent + 2, true);
        else
            line += flat;
        out += line + (i + 1 < members_.size() ? ",\n" : "\n");
    }
    out += std::string(static_cast<size_t>(indent), ' ') + close;
}

std::string Json::Dump() const {
    std::string out;
    Write(out, 0, true);
    return out + "\n";
}

std::string Json::Compact() const {
    std::string out;
    Write(out, 0, false);
    return out;
}

} // namespace kvtool
