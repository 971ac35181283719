// Well-known text tree, tokenizer, parser and writer.
#include "formats/Wkt.h"

#include "frame/CNumber.h"
#include "frame/SiblingFile.h"

#include <cstring>

namespace KVProj {

void WktNode::SetText(const std::string& text) {
    bIsText = true;
    Text = text;
}

void WktNode::SetNumber(double value) {
    bIsText = false;
    Value = value;
}

WktNode& WktNode::AddText(const std::string& text) {
    Children.emplace_back();
    Children.back().SetText(text);
    return Children.back();
}

WktNode& WktNode::AddNumber(double value) {
    Children.emplace_back();
    Children.back().SetNumber(value);
    return Children.back();
}

WktNode& WktNode::AddChild(const WktNode& node) {
    Children.push_back(node);
    return Children.back();
}

void WktNode::Clear() {
    bIsText = true;
    Text.clear();
    Value = 0.0;
    Children.clear();
}

bool WktNode::CompareText(const char* text) const {
    return bIsText && text && EqualIgnoringCase(Text.c_str(), text);
}

const std::string& WktNode::ChildText(size_t index) const {
    static const std::string empty;
    return index < Children.size() ? Children[index].Text : empty;
}

const WktNode* WktNode::Find(const char* keyword) const {
    // Pre-order walk with an explicit stack: parsed trees may be deep.
    std::vector<const WktNode*> pending{this};
    while (!pending.empty()) {
        const WktNode* node = pending.back();
        pending.pop_back();
        if (node->CompareText(keyword)) return node;
        for (auto it = node->Children.rbegin(); it != node->Children.rend(); ++it)
            pending.push_back(&*it);
    }
    return nullptr;
}

namespace {

bool IsWktBlank(char c) { return c == ' ' || c == '\t' || c == '\r' || c == '\n'; }
bool IsWktPunct(char c) { return c == '[' || c == ']' || c == ','; }

// A token becomes a number when atof reads it as non-zero or it begins with '0'.
bool IsNumberToken(const std::string& token) {
    return AtofC(token.c_str()) != 0.0 || token[0] == '0';
}

} // namespace

std::vector<std::string> TokenizeWkt(const char* text) {
    std::vector<std::string> tokens;
    const char* p = text ? text : "";
    while (*p) {
        if (IsWktBlank(*p)) {
            ++p;
        } else if (IsWktPunct(*p)) {
            tokens.emplace_back(1, *p++);
        } else if (*p == '"' || *p == '\'') {
            const char quote = *p++;
            const char* end = std::strchr(p, quote);
            if (!end) end = p + std::strlen(p);
            tokens.emplace_back(p, end);
            p = *end ? end + 1 : end;
        } else {
            const char* start = p;
            while (*p && !IsWktBlank(*p) && !IsWktPunct(*p))
                ++p;
            tokens.emplace_back(start, p);
        }
    }
    return tokens;
}

WktNode ParseWkt(const char* text) {
    WktNode root;
    root.SetText("Root");
    // The path from the root to the node that takes new children. Pointers stay
    // valid: only the innermost node's child list grows while it is innermost.
    std::vector<WktNode*> path{&root};
    for (const std::string& token : TokenizeWkt(text)) {
        WktNode* current = path.back();
        if (token.empty()) break;
        if (token == "[") {
            if (current->Children.empty() || path.size() > static_cast<size_t>(kWktMaxDepth)) break;
            path.push_back(&current->Children.back());
        } else if (token == "]") {
            if (path.size() > 1) path.pop_back();
        } else if (token != ",") {
            if (IsNumberToken(token))
                current->AddNumber(AtofC(token.c_str()));
            else
                current->AddText(token);
        }
    }
    return root;
}

namespace {

void AppendWkt(const WktNode& node, std::string& out) {
    if (!node.bIsText) {
        out += FormatCString("%.16G", node.Value);
    } else if (node.Children.empty()) {
        out += FormatCString("\"%s\"", node.Text.c_str());
    } else {
        out += node.Text;
        out += '[';
        for (size_t i = 0; i < node.Children.size(); ++i) {
            if (i) out += ',';
            AppendWkt(node.Children[i], out);
        }
        out += ']';
    }
}

} // namespace

std::string WriteWkt(const WktNode& node) {
    std::string out;
    AppendWkt(node, out);
    return out;
}

} // namespace KVProj
