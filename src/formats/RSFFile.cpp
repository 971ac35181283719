// RSF registration files: a header "2 <count>" and one line per control point
// with its name, the first array's x and y, and the second array's y and x.
#include "formats/SideFile.h"

#include "frame/CNumber.h"
#include "frame/Diag.h"
#include "frame/Firewall.h"
#include "frame/MessageIds.h"
#include "frame/TextFile.h"
#include "kvproj/files.h"

#include <algorithm>
#include <vector>

namespace KVProj {
namespace {

constexpr size_t kRsfLineLen = 255;
constexpr size_t kRsfPhysicalLine = 4096;

// Tokens separated by blanks or tabs; a token in double or single quotes runs
// to its closing quote (blanks included) and loses the quotes. CRs are dropped,
// and the line ends at its 255th character or at a NUL byte.
std::vector<std::string> Tokens(std::string line) {
    line.erase(std::remove(line.begin(), line.end(), '\r'), line.end());
    line = line.substr(0, std::min(line.find('\0'), kRsfLineLen));
    std::vector<std::string> tokens;
    size_t i = 0;
    while (i < line.size()) {
        if (line[i] == ' ' || line[i] == '\t') {
            ++i;
            continue;
        }
        size_t end;
        if (line[i] == '"' || line[i] == '\'') {
            end = line.find(line[i], i + 1);
            if (end == std::string::npos) end = line.size();
            tokens.push_back(line.substr(i + 1, end - i - 1));
            i = end + 1;
            continue;
        }
        end = line.find_first_of(" \t", i);
        if (end == std::string::npos) end = line.size();
        tokens.push_back(line.substr(i, end - i));
        i = end;
    }
    return tokens;
}

// The token at `index` read as a number; a missing token reads as 0.
double TokenNumber(const std::vector<std::string>& tokens, size_t index) {
    return index < tokens.size() ? AtofC(tokens[index].c_str()) : 0.0;
}

// Positions: 0 name, 1 first x, 2 first y, 3 skipped, 4 second y, 5 second x.
bool ReadPoints(LineReader& in, GEOREF& g) {
    std::string line;
    for (int i = 0; i < g.nControls; ++i) {
        if (!in.Next(line)) return false;
        const std::vector<std::string> t = Tokens(line);
        g.pSrc[i] = {TokenNumber(t, 1), TokenNumber(t, 2)};
        g.pDest[i] = {TokenNumber(t, 5), TokenNumber(t, 4)};
    }
    return true;
}

bool ReadRsf(const char* imageName, GEOREF* georef, unsigned int* flags) {
    if (flags) *flags = 0;
    if (!imageName || !*imageName) {
        KV_REPORT(IDS_BAD_PARAMETER);
        return false;
    }
    LineReader in(kRsfPhysicalLine);
    const std::string found = FindSideFile(RsfFileName(imageName));
    if (found.empty() || !in.Open(found.c_str())) return true;
    GEOREF g{};
    unsigned int what = GEOPARAM_FILE_FOUND;
    std::string line;
    const std::vector<std::string> header =
        in.Next(line) ? Tokens(line) : std::vector<std::string>();
    const int count = header.size() > 1 ? AtoiC(header[1].c_str()) : 0;
    if (count >= 1) {
        if (count > kMaxFileControlPoints || !RefAllocControls(&g, count)) {
            KV_REPORT(IDS_OUT_OF_MEMORY);
            return false;
        }
        if (ReadPoints(in, g)) {
            what |= GEOPARAM_CONTROLS;
            g.Method = TM_HELMERT;
        } else {
            RefFreeControls(&g);
        }
    }
    if (georef) *georef = g;
    else RefFreeControls(&g);
    if (flags) *flags = what;
    return true;
}

std::string RsfText(const GEOREF& g) {
    std::string text = FormatCString("2 %d\n", g.nControls);
    for (int i = 0; i < g.nControls; ++i)
        text += FormatCString("\"Point %d\"", i) + " " + FileNumber(g.pSrc[i].x) + " " +
                FileNumber(g.pSrc[i].y) + " 0.0" + " " + FileNumber(g.pDest[i].y) + " " +
                FileNumber(g.pDest[i].x) + " 0.0 1\n";
    return text;
}

bool WriteRsf(const char* imageName, const GEOREF* georef) {
    if (!imageName || !*imageName || !georef) return true;
    GEOREF g = *georef;
    const bool generate = g.Method == TM_NONE || g.Method == TM_PRECALCULATED ||
                          g.nControls < 1 || !g.pSrc || !g.pDest;
    if (generate) {
        g.pSrc = g.pDest = nullptr; // the caller's arrays stay the caller's
        g.nControls = 0;
        if (!RefCoeffToControls(&g, 0, 0)) return true;
    }
    const bool ok = WriteFileReplacing(RsfFileName(imageName).c_str(), RsfText(g));
    if (generate) RefFreeControls(&g);
    return ok;
}

} // namespace

bool KVProjReadBlueMarbleRSF(const char* imageName, GEOREF* georef, unsigned int* flags) {
    return KV_GUARDED(false, [&] { return ReadRsf(imageName, georef, flags); });
}

bool KVProjWriteBlueMarbleRSF(const char* imageName, GEOREF* georef) {
    return KV_GUARDED(false, [&] { return WriteRsf(imageName, georef); });
}

} // namespace KVProj
