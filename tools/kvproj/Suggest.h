// Typo suggestions for names the user typed: zones, datums, ellipsoids, options.
#ifndef KVPROJ_TOOL_SUGGEST_H
#define KVPROJ_TOOL_SUGGEST_H

#include <string>
#include <vector>

namespace kvtool {

// Lower-case letters and digits only: "Alabama-East", "alabama east" and
// "False_Easting" / "FalseEasting" read the same.
std::string Folded(const std::string& s);

// " (did you mean A, B?)" with the candidates closest to `word` (edit
// distance ignoring case, blanks and punctuation, at most a third of the
// word's length; up to three, closest first), or "" when none is close.
std::string DidYouMean(const std::string& word, const std::vector<std::string>& candidates);

} // namespace kvtool

#endif
