// The text forms of the custom datum store: escaped names and step values.
#ifndef KVPROJ_DATUM_CUSTOMDATUM_H
#define KVPROJ_DATUM_CUSTOMDATUM_H

#include "kvproj/datum.h"

#include <string>

namespace KVProj {

// "%" and a code of at least three decimal digits for ",", "=", "%", "\",
// control characters, "{" and above, and bytes from 128 up (whose code is
// that of the signed byte widened, so they take ten digits).
std::string EscapeDatumName(const char* name);
// Turns "%" and the next three digits back into one character.
std::string UnescapeDatumName(const char* text, size_t length);
// The stored value of a step; false when its method cannot be stored.
bool DatumParamsToText(const DATUM2WGS84& params, std::string* text);
// Parses a stored value; false for an unknown method or a bad field.
bool TextToDatumParams(const char* text, DATUM2WGS84* params);

} // namespace KVProj

#endif
