// World files: the six affine coefficients of an image's georeference, one per
// line in the order A D B E C F.
#include "formats/SideFile.h"

#include "frame/CNumber.h"
#include "frame/Diag.h"
#include "frame/Firewall.h"
#include "frame/MessageIds.h"
#include "frame/TextFile.h"
#include "kvproj/files.h"

#include <cstddef>
#include <cstring>

namespace KVProj {
namespace {

constexpr size_t kWorldLineLen = 4096; // a longer line is cut; only its start is a number

// The GEOREF coefficient of each line of the file, in file order (offsets: the
// record is byte-packed, so its doubles are copied, never referenced).
constexpr size_t kWorldOrder[6] = {offsetof(GEOREF, A), offsetof(GEOREF, D), offsetof(GEOREF, B),
                                   offsetof(GEOREF, E), offsetof(GEOREF, C), offsetof(GEOREF, F)};

double Coefficient(const GEOREF& g, int line) {
    double v;
    std::memcpy(&v, reinterpret_cast<const char*>(&g) + kWorldOrder[line], sizeof v);
    return v;
}

// The names the reader tries: map.tfW, map.tifw, map.WLD.
std::string WorldCandidate(const char* image, int attempt) {
    switch (attempt) {
    case 0: return WorldFileName(image, false);
    case 1: return std::string(image) + "w";
    default: return DropExtension(image) + ".WLD";
    }
}

// Six lines read into `g` (method 5); false when the file ends early.
bool ReadCoefficients(LineReader& in, GEOREF& g) {
    double v[6];
    std::string line;
    for (double& x : v) {
        if (!in.Next(line)) return false;
        x = AtofC(line.c_str());
    }
    for (int i = 0; i < 6; ++i)
        std::memcpy(reinterpret_cast<char*>(&g) + kWorldOrder[i], &v[i], sizeof v[i]);
    g.Method = TM_PRECALCULATED;
    return true;
}

bool ReadWorld(const char* imageName, GEOREF* georef, unsigned int* flags) {
    if (flags) *flags = 0;
    if (!imageName || !*imageName) {
        KV_REPORT(IDS_BAD_PARAMETER);
        return false;
    }
    LineReader in(kWorldLineLen);
    for (int attempt = 0; attempt < 3 && !in.IsOpen(); ++attempt) {
        const std::string name = WorldCandidate(imageName, attempt);
        CTRACE("Attempting to open \"%s\"\n", name.c_str());
        const std::string found = FindSideFile(name);
        if (!found.empty()) in.Open(found.c_str());
    }
    if (!in.IsOpen()) return true;
    GEOREF g{};
    unsigned int found = GEOPARAM_FILE_FOUND;
    if (ReadCoefficients(in, g)) found |= GEOPARAM_COEFFICIENTS;
    if (georef) *georef = g;
    if (flags) *flags = found;
    return true;
}

bool WriteWorld(const char* imageName, const GEOREF* georef) {
    if (!imageName || !*imageName || !georef) return true;
    GEOREF g = *georef;
    if (g.Method != TM_PRECALCULATED && !RefControlsToCoeff(&g)) return true;
    const std::string name = WorldFileName(imageName, true);
    CTRACE("Attempting to create \"%s\"\n", name.c_str());
    std::string text;
    for (int line = 0; line < 6; ++line)
        text += FileNumber(Coefficient(g, line)) + "\n";
    return WriteFileReplacing(name.c_str(), text);
}

} // namespace

bool KVProjReadESRIWorld(const char* imageName, GEOREF* georef, unsigned int* flags) {
    return KV_GUARDED(false, [&] { return ReadWorld(imageName, georef, flags); });
}

bool KVProjWriteESRIWorld(const char* imageName, GEOREF* georef) {
    return KV_GUARDED(false, [&] { return WriteWorld(imageName, georef); });
}

} // namespace KVProj
