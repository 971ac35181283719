// Lines are read into blocks; each block keeps the text of its lines in one
// string and, per line, where the coordinates end, so converting and writing a
// block allocates nothing per line.
#include "ConvertStream.h"

#include "Command.h"
#include "GridStage.h"
#include "LineInput.h"
#include "Numbers.h"
#include "Text.h"

#include <cmath>
#include <cstdio>
#include <cstring>
#include <vector>

namespace kvtool {
namespace {

constexpr size_t kBlock = 4096;

struct Row {
    size_t begin, end; // the line in the block's text
    size_t rest;       // where the text after the two coordinates starts
    bool point;
    char separator; // between the coordinates: ' ' or ','
};

bool IsBlank(char c) {
    return c == ' ' || c == '\t';
}

// One number ending at a blank, tab, comma or the end of the line.
bool ReadNumber(const char* s, size_t size, size_t* pos, double* value) {
    const size_t start = *pos;
    size_t end = start;
    while (end < size && !IsBlank(s[end]) && s[end] != ',')
        ++end;
    if (end == start || !ParseNumber(s + start, end - start, value)) return false;
    *pos = end;
    return true;
}

// Splits "x y rest" / "x,y,rest"; false when the line has no two numbers.
bool ParsePoint(const char* s, size_t size, KVProj::PROJPOINT* p, Row* row) {
    size_t pos = 0;
    while (pos < size && IsBlank(s[pos]))
        ++pos;
    if (!ReadNumber(s, size, &pos, &p->x)) return false;
    while (pos < size && IsBlank(s[pos]))
        ++pos;
    row->separator = ' ';
    if (pos < size && s[pos] == ',') {
        row->separator = ',';
        ++pos;
        while (pos < size && IsBlank(s[pos]))
            ++pos;
    }
    if (!ReadNumber(s, size, &pos, &p->y)) return false;
    row->rest = pos;
    return true;
}

class Block {
public:
    explicit Block(const StreamOptions& o) : m_opt(o) {
        m_rows.reserve(kBlock);
        m_points.reserve(kBlock);
    }
    size_t Size() const { return m_rows.size(); }

    void AddText(const char* text, size_t size) {
        const size_t begin = m_text.size();
        m_text.append(text, size);
        m_rows.push_back({begin, m_text.size(), 0, false, ' '});
    }
    // Null when the line was added as a point, else why it cannot be one
    // (nothing is added then).
    const char* AddPoint(const char* text, size_t size, long long line) {
        Row row{0, 0, 0, true, ' '};
        KVProj::PROJPOINT p{0.0, 0.0};
        if (!ParsePoint(text, size, &p, &row)) return "cannot read two coordinates from";
        // "12,5 45,3" is two numbers with decimal commas, not 12 and 5.
        if (row.separator == ',' && row.rest < size && IsBlank(text[row.rest]))
            return "a comma and then a blank (decimal commas?) in";
        if (!std::isfinite(p.x) || !std::isfinite(p.y)) return "a coordinate is not finite in";
        if (m_opt.lonLatInput && !(std::fabs(p.y) <= 90.0))
            return "the latitude is outside -90..90 in";
        row.begin = m_text.size();
        row.rest += row.begin;
        m_text.append(text, size);
        row.end = m_text.size();
        m_rows.push_back(row);
        m_points.push_back(p);
        m_lines.push_back(line);
        return nullptr;
    }

    bool Convert(const Pipeline& stages) {
        const int n = static_cast<int>(m_points.size());
        if (n == 0) return true;
        KVProj::PROJPOINT* pts = m_points.data();
        if (stages.inverse && !KVProj::ProjInverse(stages.inverse, pts, n)) return false;
        m_outside.clear();
        if (stages.grid && !stages.grid->Apply(pts, n, &m_outside)) return false;
        if (stages.datum) {
            static_assert(sizeof(KVProj::DATUMPOINT) == sizeof(KVProj::PROJPOINT),
                          "both point records are two doubles");
            m_datumPoints.resize(m_points.size());
            std::memcpy(m_datumPoints.data(), pts, m_points.size() * sizeof(*pts));
            if (!KVProj::DatConvertDatum(stages.datum, m_datumPoints.data(), n)) return false;
            std::memcpy(pts, m_datumPoints.data(), m_points.size() * sizeof(*pts));
        }
        return !stages.forward || KVProj::ProjForward(stages.forward, pts, n);
    }

    void Format(std::string& out) const {
        size_t k = 0;
        for (const Row& r : m_rows) {
            if (!r.point) {
                out.append(m_text, r.begin, r.end - r.begin);
            } else {
                const KVProj::PROJPOINT& p = m_points[k++];
                if (p.x == KVPROJ_UNPLOTTABLE || p.y == KVPROJ_UNPLOTTABLE) {
                    out += m_opt.marker;
                    out += r.separator;
                    out += m_opt.marker;
                } else {
                    AppendFixed(out, p.x, m_opt.precision);
                    out += r.separator;
                    AppendFixed(out, p.y, m_opt.precision);
                }
                out.append(m_text, r.rest, r.end - r.rest);
            }
            out += '\n';
        }
    }

    // Reports the points the grid does not cover, as bad lines; how many.
    long long ReportOutside(const std::string& name, const std::string& grid) const {
        for (int k : m_outside)
            std::fprintf(stderr, "kvproj: convert: %s:%lld: the point is outside the grid '%s'\n",
                         name.c_str(), m_lines[static_cast<size_t>(k)], grid.c_str());
        return static_cast<long long>(m_outside.size());
    }

    void Clear() {
        m_lines.clear();
        m_text.clear();
        m_rows.clear();
        m_points.clear();
    }

private:
    const StreamOptions& m_opt;
    std::string m_text;
    std::vector<Row> m_rows;
    std::vector<KVProj::PROJPOINT> m_points;
    std::vector<KVProj::DATUMPOINT> m_datumPoints;
    std::vector<long long> m_lines; // the input line of each point
    std::vector<int> m_outside;     // points outside the grid
};

class Stream {
public:
    Stream(const Pipeline& stages, const StreamOptions& o) : m_stages(stages), m_block(o) {}

    // Converts and writes the block; false after the message when that fails.
    bool Flush(const LineInput& in) {
        if (!m_block.Convert(m_stages)) {
            Failure("convert: " + in.Name() + ": the conversion failed near line " +
                    std::to_string(in.Number()));
            return false;
        }
        if (m_stages.grid) m_outside += m_block.ReportOutside(in.Name(), m_stages.grid->Path());
        m_block.Format(m_out.Text());
        m_block.Clear();
        if (!m_out.Write(in.Interactive())) {
            Failure("convert: cannot write the output: " + m_out.Error());
            return false;
        }
        return true;
    }
    bool Finish(const LineInput& in) {
        if (!Flush(in)) return false;
        if (!m_out.Write(true))
            return Failure("convert: cannot write the output: " + m_out.Error()), false;
        return true;
    }
    Block& Current() { return m_block; }
    long long Outside() const { return m_outside; }

private:
    const Pipeline& m_stages;
    Block m_block;
    BlockOutput m_out;
    long long m_outside = 0;
};

void ReportBadLine(const LineInput& in, const char* why, const char* text, size_t size) {
    std::fprintf(stderr, "kvproj: convert: %s:%lld: %s '%s'\n", in.Name().c_str(), in.Number(), why,
                 Shown(std::string(text, size)).c_str());
}

} // namespace

Pipeline::~Pipeline() {
    KVProj::ProjDeleteProjection(inverse);
    KVProj::DatDeleteDatum(datum);
    KVProj::ProjDeleteProjection(forward);
}

int ConvertStream(const std::string& input, const Pipeline& stages, const StreamOptions& o) {
    LineInput in;
    std::string error;
    if (!in.Open(input, &error)) return Failure("convert: " + error);
    Stream stream(stages, o);
    const size_t block = in.Interactive() ? 1 : kBlock;
    long long badLines = 0;
    const char* text = nullptr;
    size_t size = 0;
    for (LineInput::Status status; (status = in.Next(&text, &size)) != LineInput::END;) {
        if (status == LineInput::READ_FAILED) {
            stream.Finish(in);
            return Failure("convert: " + in.Name() + ": read failed: " + in.Error());
        }
        if (status == LineInput::TOO_LONG) size = 0; // nothing of the line is kept
        size_t first = 0;
        while (first < size && IsBlank(text[first]))
            ++first;
        const char* why = nullptr;
        if (status != LineInput::TOO_LONG && first < size && text[first] != '#')
            why = stream.Current().AddPoint(text, size, in.Number());
        const bool bad = status == LineInput::TOO_LONG || why != nullptr;
        if (status == LineInput::TOO_LONG) {
            std::fprintf(stderr, "kvproj: convert: %s:%lld: line longer than %zu bytes\n",
                         in.Name().c_str(), in.Number(), LineInput::kMaxLine);
        } else if (bad) {
            ReportBadLine(in, why, text, size);
        }
        if (bad) {
            ++badLines;
            if (o.strict) {
                stream.Finish(in);
                return EXIT_USAGE;
            }
        } else if (first == size || text[first] == '#') { // blank or comment: kept
            stream.Current().AddText(text, size);
        }
        if (stream.Current().Size() >= block && !stream.Flush(in)) return EXIT_FAILED;
    }
    if (!stream.Finish(in)) return EXIT_FAILED;
    return badLines || stream.Outside() ? EXIT_FAILED : EXIT_OK;
}

} // namespace kvtool
