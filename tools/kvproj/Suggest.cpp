// Typo suggestions by edit distance.
#include "Suggest.h"

#include <algorithm>
#include <utility>

namespace kvtool {

std::string Folded(const std::string& s) {
    std::string out;
    for (char c : s) {
        if (c >= 'A' && c <= 'Z')
            out += static_cast<char>(c - 'A' + 'a');
        else if ((c >= 'a' && c <= 'z') || (c >= '0' && c <= '9'))
            out += c;
    }
    return out;
}

namespace {

// Levenshtein distance with one row of the table kept.
size_t EditDistance(const std::string& a, const std::string& b) {
    std::vector<size_t> row(b.size() + 1);
    for (size_t j = 0; j <= b.size(); ++j)
        row[j] = j;
    for (size_t i = 1; i <= a.size(); ++i) {
        size_t diagonal = row[0];
        row[0] = i;
        for (size_t j = 1; j <= b.size(); ++j) {
            const size_t up = row[j];
            row[j] = std::min({row[j] + 1, row[j - 1] + 1, diagonal + (a[i - 1] != b[j - 1])});
            diagonal = up;
        }
    }
    return row[b.size()];
}

} // namespace

std::string DidYouMean(const std::string& word, const std::vector<std::string>& candidates) {
    const std::string w = Folded(word);
    if (w.empty()) return "";
    const size_t limit = std::max<size_t>(1, w.size() / 3);
    std::vector<std::pair<size_t, std::string>> close;
    for (const std::string& c : candidates) {
        const std::string f = Folded(c);
        if (f == w) continue; // the word itself, already refused for another reason
        // A word that starts a candidate ("Alabama" for "Alabama East") counts as close.
        const size_t d = f.compare(0, w.size(), w) == 0 && w.size() >= 4 ? 1 : EditDistance(w, f);
        if (d <= limit &&
            std::none_of(close.begin(), close.end(), [&](const auto& p) { return p.second == c; }))
            close.emplace_back(d, c);
    }
    std::stable_sort(close.begin(), close.end(),
                     [](const auto& a, const auto& b) { return a.first < b.first; });
    if (close.empty()) return "";
    std::string text = " (did you mean ";
    for (size_t i = 0; i < close.size() && i < 3; ++i)
        text += (i ? ", " : "") + close[i].second;
    return text + "?)";
}

} // namespace kvtool
