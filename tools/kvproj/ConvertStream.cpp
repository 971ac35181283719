// Lines are read into blocks; each block keeps the text of its lines in one
// string. A block is then read, converted and formatted on its own (into its
// own output and report text), so blocks can be worked on by several threads
// and still be written in input order: the output does not depend on the
// number of threads.
#include "ConvertStream.h"

#include "Command.h"
#include "Fields.h"
#include "GridStage.h"
#include "LineInput.h"
#include "Numbers.h"
#include "Text.h"

#include <algorithm>
#include <cmath>
#include <condition_variable>
#include <cstring>
#include <deque>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

namespace kvtool {
namespace {

constexpr size_t kBlockBytes = 1 << 20; // a block is cut at this much text as well

enum RowKind : unsigned char { TEXT, POINT, TOO_LONG_LINE };

struct Row {
    size_t begin, end; // the line in the block's text
    RowKind kind;
};

bool IsBlank(char c) {
    return c == ' ' || c == '\t';
}

// Blank lines and '#' comments pass through unread.
bool IsPassThrough(const char* text, size_t size) {
    size_t first = 0;
    while (first < size && IsBlank(text[first]))
        ++first;
    return first == size || text[first] == '#';
}

// Why a coordinate field could not be read, for the report.
const char* WhyNotANumber(const char* line, Span field, char delimiter) {
    if (field.begin == kNoField) return "cannot read two coordinates from";
    const std::string value(line + field.begin, field.end - field.begin);
    if (value.find(',') != std::string::npos)
        return "a decimal comma (not read: write a point) in";
    if (delimiter == ',' && value.find_first_of(" \t") != std::string::npos)
        return "a blank inside a comma-separated field (decimal commas?) in";
    return "cannot read two coordinates from";
}

// A second set of handles from the same records, for one more thread: a
// handle keeps the result of its last call, so threads must not share one.
// A grid stage is not copied: with one the run keeps to one thread.
bool ClonePipeline(const Pipeline& from, Pipeline* to) {
    if (from.grid) return false;
    KVProj::PROJDATA d;
    for (auto side : {std::make_pair(from.inverse, &to->inverse), std::make_pair(from.forward, &to->forward)})
        if (side.first && !(KVProj::ProjGetHandleInfo(side.first, &d) &&
                             (*side.second = KVProj::ProjCreateProjection(&d))))
            return false;
    KVProj::DATUMXFORM x;
    if (from.datum && !(KVProj::DatGetHandleInfo(from.datum, &x) && (to->datum = KVProj::DatCreateDatum(&x))))
        return false;
    to->grid = from.grid;
    return true;
}

// The library projects lambda - lambda0 as given, so a longitude on the far
// side of the antimeridian from the central meridian (179.5 for a zone at
// -177) lands far outside the projection. The tool brings such longitudes
// within 180 degrees of the destination's central meridian first; others are
// left exactly as read.
void WrapToCentralMeridian(void* forward, KVProj::PROJPOINT* pts, int n) {
    KVProj::PROJDATA d;
    if (!KVProj::ProjGetHandleInfo(forward, &d)) return;
    if (d.Type == KVProj::PT_STATE_PLANE_27 || d.Type == KVProj::PT_STATE_PLANE_83)
        KVProj::ProjGetStateZoneParams(&d);
    const double lon0 = d.Lon0;
    if (d.Type == KVProj::PT_UNPROJECTED || !std::isfinite(lon0)) return;
    for (int i = 0; i < n; ++i) {
        double& lon = pts[i].x;
        if (!std::isfinite(lon) || std::fabs(lon - lon0) <= 180.0) continue;
        lon = lon0 + std::remainder(lon - lon0, 360.0);
    }
}

// A source projection's inverse gives lambda0 plus the difference it found,
// which can pass 180 (-186.5 for 173.5 near a zone at -177): longitudes the
// tool writes lie within -180..180. remainder() is exact; the marker stays.
void FoldOutputLongitudes(KVProj::PROJPOINT* pts, int n) {
    for (int i = 0; i < n; ++i) {
        double& lon = pts[i].x;
        if (std::fabs(lon) > 180.0 && std::fabs(lon) < KVPROJ_UNPLOTTABLE)
            lon = std::remainder(lon, 360.0);
    }
}

class Block {
public:
    // `own` true: the block converts with handles of its own (see ClonePipeline).
    Block(const StreamOptions& o, const Pipeline& stages, bool own) : m_opt(o), m_stages(stages) {
        if (own && ClonePipeline(stages, &m_own)) m_use = &m_own;
    }
    bool OwnHandles() const { return m_use == &m_own; }

    size_t Lines() const { return m_rows.size(); }
    size_t Bytes() const { return m_text.size(); }
    long long FirstLine() const { return m_firstLine; }
    long long LastLine() const { return m_firstLine + static_cast<long long>(m_rows.size()) - 1; }

    void Start(long long firstLine, const Dialect& d, const std::string& name) {
        m_firstLine = firstLine;
        m_dialect = d;
        m_name = &name;
        m_text.clear();
        m_rows.clear();
        m_out.clear();
        m_reports.clear();
        m_bad = 0;
        m_failed = m_stopped = false;
    }
    void SetDialect(const Dialect& d) { m_dialect = d; }
    void Add(const char* text, size_t size, RowKind kind) {
        const size_t begin = m_text.size();
        m_text.append(text, size);
        m_rows.push_back({begin, m_text.size(), kind});
    }

    // Reads, converts and formats every line: touches nothing but the block.
    void Work() {
        Read();
        if (!Convert()) {
            m_failed = true;
            return;
        }
        ReportOutside();
        Format();
    }

    bool Failed() const { return m_failed; }
    bool Stopped() const { return m_stopped; }
    long long BadLines() const { return m_bad; }
    const std::string& Output() const { return m_out; }
    const std::string& Reports() const { return m_reports; }

private:
    struct Parsed {
        Span first, second; // the coordinate fields; kNoField when missing
        long long point;    // index into m_points, -1 for a bad line
    };

    void Read() {
        m_parsed.assign(m_rows.size(), Parsed{});
        m_points.clear();
        m_pointRows.clear();
        for (size_t i = 0; i < m_rows.size(); ++i) {
            if (m_rows[i].kind == TEXT) continue;
            const char* why = ReadPoint(m_rows[i], &m_parsed[i]);
            if (!why) continue;
            ++m_bad;
            Report(i, why);
            if (m_opt.strict) { // nothing from this line on is written
                m_rows.resize(i);
                m_stopped = true;
                return;
            }
        }
    }

    // Null when the row became a point, else why it cannot be one.
    const char* ReadPoint(const Row& r, Parsed* p) {
        p->point = -1;
        p->first = p->second = Span{kNoField, kNoField};
        if (r.kind == TOO_LONG_LINE) return "line longer than the limit";
        const char* line = m_text.data() + r.begin;
        const size_t size = r.end - r.begin;
        double a = 0.0, b = 0.0;
        bool missing = false;
        if (!ReadCoordinates(line, size, m_dialect, m_scratch, &a, &b, &p->first, &p->second,
                             &missing)) {
            if (missing) return "cannot read two coordinates from";
            double v = 0.0;
            const Span fa = FieldValue(line, p->first);
            const bool firstOk = ParseNumber(line + fa.begin, fa.end - fa.begin, &v);
            return WhyNotANumber(line, firstOk ? FieldValue(line, p->second) : fa,
                                 m_dialect.delimiter);
        }
        KVProj::PROJPOINT pt{m_opt.latFirstIn ? b : a, m_opt.latFirstIn ? a : b};
        if (!std::isfinite(pt.x) || !std::isfinite(pt.y)) return "a coordinate is not finite in";
        if (m_opt.lonLatInput && !(std::fabs(pt.y) <= 90.0))
            return "the latitude is outside -90..90 in";
        p->point = static_cast<long long>(m_points.size());
        m_points.push_back(pt);
        m_pointRows.push_back(static_cast<size_t>(&r - m_rows.data()));
        return nullptr;
    }

    void Report(size_t i, const char* why) {
        const Row& r = m_rows[i];
        m_reports += "kvproj: convert: " + *m_name + ":" +
                     std::to_string(m_firstLine + static_cast<long long>(i)) + ": ";
        if (r.kind == TOO_LONG_LINE) {
            m_reports += "line longer than " + std::to_string(LineInput::kMaxLine) + " bytes\n";
        } else {
            m_reports += why;
            m_reports += " '" + Shown(m_text.substr(r.begin, r.end - r.begin)) + "'\n";
        }
    }

    bool Convert() {
        const int n = static_cast<int>(m_points.size());
        if (n == 0) return true;
        KVProj::PROJPOINT* pts = m_points.data();
        if (m_use->inverse && !KVProj::ProjInverse(m_use->inverse, pts, n)) return false;
        m_outside.clear();
        if (m_use->grid && !m_use->grid->Apply(pts, n, &m_outside)) return false;
        if (m_use->datum) {
            static_assert(sizeof(KVProj::DATUMPOINT) == sizeof(KVProj::PROJPOINT),
                          "both point records are two doubles");
            m_datumPoints.resize(m_points.size());
            std::memcpy(m_datumPoints.data(), pts, m_points.size() * sizeof(*pts));
            if (!KVProj::DatConvertDatum(m_use->datum, m_datumPoints.data(), n)) return false;
            std::memcpy(pts, m_datumPoints.data(), m_points.size() * sizeof(*pts));
        }
        if (!m_use->forward) return FoldOutputLongitudes(pts, n), true;
        WrapToCentralMeridian(m_use->forward, pts, n);
        return KVProj::ProjForward(m_use->forward, pts, n);
    }

    // Points the grid does not cover are bad lines (their marker is set).
    void ReportOutside() {
        for (int k : m_outside) {
            const size_t row = m_pointRows[static_cast<size_t>(k)];
            ++m_bad;
            m_reports += "kvproj: convert: " + *m_name + ":" +
                         std::to_string(m_firstLine + static_cast<long long>(row)) +
                         ": the point is outside the grid '" + m_use->grid->Path() + "'\n";
        }
    }

    // The value of the first (`first`) or second coordinate field of a row.
    void AppendValue(const Parsed& p, bool first) {
        if (p.point < 0) {
            m_out += m_opt.marker;
            return;
        }
        const KVProj::PROJPOINT& pt = m_points[static_cast<size_t>(p.point)];
        if (pt.x == KVPROJ_UNPLOTTABLE || pt.y == KVPROJ_UNPLOTTABLE) {
            m_out += m_opt.marker;
            return;
        }
        AppendFixed(m_out, first != m_opt.latFirstOut ? pt.x : pt.y, m_opt.precision);
    }

    // The line with its coordinate fields replaced; fields a bad line lacks
    // are added at its end.
    void FormatPoint(const char* line, size_t size, const Parsed& p) {
        const bool firstIsLeft = p.first.begin <= p.second.begin;
        const Span& left = firstIsLeft ? p.first : p.second;
        const Span& right = firstIsLeft ? p.second : p.first;
        if (left.begin == kNoField) { // both missing (right is missing too)
            m_out.append(line, size);
        } else {
            m_out.append(line, left.begin);
            AppendValue(p, firstIsLeft);
            if (right.begin == kNoField) {
                m_out.append(line + left.end, size - left.end);
            } else {
                m_out.append(line + left.end, right.begin - left.end);
                AppendValue(p, !firstIsLeft);
                m_out.append(line + right.end, size - right.end);
            }
        }
        const size_t added = (left.begin == kNoField) + (right.begin == kNoField);
        for (size_t k = 0; k < added; ++k) {
            if (size > 0 || k > 0) m_out += m_dialect.delimiter;
            m_out += m_opt.marker;
        }
    }

    void Format() {
        m_out.reserve(m_text.size() + m_rows.size() * 8);
        for (size_t i = 0; i < m_rows.size(); ++i) {
            const Row& r = m_rows[i];
            if (r.kind == TEXT)
                m_out.append(m_text, r.begin, r.end - r.begin);
            else
                FormatPoint(m_text.data() + r.begin, r.end - r.begin, m_parsed[i]);
            m_out += '\n';
        }
    }

    const StreamOptions& m_opt;
    const Pipeline& m_stages;
    Pipeline m_own;
    const Pipeline* m_use = &m_stages;
    Dialect m_dialect;
    const std::string* m_name = nullptr;
    long long m_firstLine = 1;
    std::string m_text;
    std::vector<Row> m_rows;
    std::vector<Parsed> m_parsed;
    std::vector<Span> m_scratch;
    std::vector<KVProj::PROJPOINT> m_points;
    std::vector<size_t> m_pointRows; // the row of each point
    std::vector<int> m_outside;      // points outside the grid
    std::vector<KVProj::DATUMPOINT> m_datumPoints;
    std::string m_out, m_reports;
    long long m_bad = 0;
    bool m_failed = false, m_stopped = false;
};

// Worker threads taking blocks in the order given; the caller waits for each
// block in the same order.
class Workers {
public:
    explicit Workers(int count) {
        for (int i = 0; i < count; ++i)
            m_threads.emplace_back([this] { Loop(); });
    }
    ~Workers() {
        {
            std::lock_guard<std::mutex> lock(m_mutex);
            m_quit = true;
        }
        m_wake.notify_all();
        for (std::thread& t : m_threads)
            t.join();
    }
    Workers(const Workers&) = delete;
    Workers& operator=(const Workers&) = delete;

    void Submit(Block* b) {
        {
            std::lock_guard<std::mutex> lock(m_mutex);
            m_queue.push_back(b);
        }
        m_wake.notify_one();
    }
    void Wait(Block* b) {
        std::unique_lock<std::mutex> lock(m_mutex);
        m_doneWake.wait(lock, [&] { return std::find(m_done.begin(), m_done.end(), b) != m_done.end(); });
        m_done.erase(std::find(m_done.begin(), m_done.end(), b));
    }

private:
    void Loop() {
        for (;;) {
            Block* b = nullptr;
            {
                std::unique_lock<std::mutex> lock(m_mutex);
                m_wake.wait(lock, [&] { return m_quit || !m_queue.empty(); });
                if (m_queue.empty()) return;
                b = m_queue.front();
                m_queue.pop_front();
            }
            b->Work();
            {
                std::lock_guard<std::mutex> lock(m_mutex);
                m_done.push_back(b);
            }
            m_doneWake.notify_all();
        }
    }

    std::mutex m_mutex;
    std::condition_variable m_wake, m_doneWake;
    std::deque<Block*> m_queue;
    std::vector<Block*> m_done;
    bool m_quit = false;
    std::vector<std::thread> m_threads;
};

class Stream {
public:
    Stream(LineInput& in, const Pipeline& stages, const StreamOptions& o, BlockOutput& out,
           BlockOutput& reports)
        : m_in(in), m_opt(o), m_out(out), m_reports(reports) {
        const size_t blocks = o.threads > 1 ? static_cast<size_t>(o.threads) * 2 : 1;
        bool own = o.threads > 1;
        for (size_t i = 0; i < blocks; ++i) {
            m_blocks.push_back(std::make_unique<Block>(o, stages, own));
            own = own && m_blocks.back()->OwnHandles();
            m_free.push_back(m_blocks.back().get());
        }
        if (!own) { // handles that cannot be copied: one block, converted here
            m_blocks.resize(1);
            m_free.assign(1, m_blocks.front().get());
        }
        if (own) m_workers = std::make_unique<Workers>(o.threads);
        m_current = NextFree();
    }

    int Run();

private:
    Block* NextFree() {
        Block* b = m_free.back();
        m_free.pop_back();
        b->Start(m_in.Number() + 1, m_dialect, m_in.Name());
        return b;
    }
    // Hands the current block on (converted at once without workers); false
    // once the run has to end.
    bool Dispatch() {
        if (m_current->Lines() == 0) return true;
        m_flight.push_back(m_current);
        if (m_workers)
            m_workers->Submit(m_current);
        else
            m_current->Work();
        while (m_free.empty())
            if (!Emit()) return false;
        m_current = NextFree();
        return true;
    }
    // Waits for the oldest block in flight and writes it.
    bool Emit() {
        Block* b = m_flight.front();
        m_flight.pop_front();
        if (m_workers) m_workers->Wait(b);
        m_free.push_back(b);
        m_bad += b->BadLines();
        if (!b->Reports().empty()) {
            m_reports.Text() += b->Reports();
            m_reports.Write(true);
        }
        if (b->Failed()) {
            Drain();
            return Fail("convert: " + m_in.Name() + ": the conversion failed near line " +
                        std::to_string(b->LastLine()));
        }
        m_out.Text() += b->Output();
        if (!m_out.Write(m_in.Interactive())) {
            Drain();
            return Fail("convert: cannot write the output: " + m_out.Error());
        }
        if (b->Stopped()) {
            Drain();
            if (!m_out.Write(true)) Fail("convert: cannot write the output: " + m_out.Error());
            if (m_status == EXIT_OK) m_status = EXIT_USAGE;
            return false;
        }
        return true;
    }
    // Everything in flight, waited for and dropped (after a failure).
    void Drain() {
        for (Block* b : m_flight) {
            if (m_workers) m_workers->Wait(b);
            m_free.push_back(b);
        }
        m_flight.clear();
    }
    // Writes out everything read so far.
    bool Flush() {
        if (!Dispatch()) return false;
        while (!m_flight.empty())
            if (!Emit()) return false;
        if (!m_out.Write(true)) return Fail("convert: cannot write the output: " + m_out.Error());
        return true;
    }
    bool Fail(const std::string& message) {
        if (m_status == EXIT_OK) m_status = Failure(message);
        return false;
    }
    // The first line that is not blank or a comment: delimiter, header, columns.
    bool FirstLine(const char* text, size_t size);

    LineInput& m_in;
    const StreamOptions& m_opt;
    BlockOutput& m_out;
    BlockOutput& m_reports;
    std::vector<std::unique_ptr<Block>> m_blocks;
    std::vector<Block*> m_free;
    std::deque<Block*> m_flight;
    std::unique_ptr<Workers> m_workers;
    Block* m_current = nullptr;
    Dialect m_dialect;
    bool m_dialectKnown = false;
    long long m_bad = 0;
    int m_status = EXIT_OK;
};

bool Stream::FirstLine(const char* text, size_t size) {
    m_dialectKnown = true;
    ColumnSpec spec;
    std::string error;
    if (!m_opt.columns.empty() && !ParseColumnSpec(m_opt.columns, &spec, &error))
        return m_status = UsageError("convert: " + error), false;
    m_dialect.colX = spec.colX;
    m_dialect.colY = spec.colY;
    bool header = m_opt.header == StreamOptions::HEADER_YES || spec.byName;
    m_dialect.delimiter = DetectDelimiter(text, size, m_dialect, !header);
    if (m_opt.header == StreamOptions::HEADER_AUTO && !header)
        header = LooksLikeHeader(text, size, m_dialect);
    if (spec.byName && m_opt.header == StreamOptions::HEADER_NO)
        return m_status = UsageError("convert: --cols names columns, but --no-header says there is no header line"), false;
    if (spec.byName && !ResolveColumnNames(spec, text, size, &m_dialect, &error))
        return m_status = UsageError("convert: " + m_in.Name() + ": " + error), false;
    // The lines before hold no point: the dialect takes effect from here.
    m_current->SetDialect(m_dialect);
    m_current->Add(text, size, header ? TEXT : POINT);
    return true;
}

int Stream::Run() {
    const char* text = nullptr;
    size_t size = 0;
    const size_t blockLines = std::max<size_t>(m_opt.blockLines, 1);
    for (;;) {
        // Input that may pause: what has been converted is written before waiting.
        if (!m_in.Ready() && !Flush()) return m_status;
        const LineInput::Status status = m_in.Next(&text, &size);
        if (status == LineInput::END) break;
        if (status == LineInput::READ_FAILED) {
            if (Flush()) Fail("convert: " + m_in.Name() + ": read failed: " + m_in.Error());
            return m_status == EXIT_OK ? EXIT_FAILED : m_status;
        }
        if (status == LineInput::TOO_LONG) {
            m_current->Add(nullptr, 0, TOO_LONG_LINE);
        } else if (IsPassThrough(text, size)) {
            m_current->Add(text, size, TEXT);
        } else if (!m_dialectKnown) {
            if (!FirstLine(text, size)) {
                Flush();
                return m_status;
            }
        } else {
            m_current->Add(text, size, POINT);
        }
        if ((m_current->Lines() >= blockLines || m_current->Bytes() >= kBlockBytes) && !Dispatch())
            return m_status;
    }
    if (!Flush()) return m_status;
    return m_bad ? EXIT_FAILED : EXIT_OK;
}

} // namespace

Pipeline::~Pipeline() {
    KVProj::ProjDeleteProjection(inverse);
    KVProj::DatDeleteDatum(datum);
    KVProj::ProjDeleteProjection(forward);
}

int ConvertLines(LineInput& in, const Pipeline& stages, const StreamOptions& o, BlockOutput& out,
                 BlockOutput& reports) {
    Stream stream(in, stages, o, out, reports);
    return stream.Run();
}

int ConvertStream(const std::string& input, const Pipeline& stages, const StreamOptions& o) {
    LineInput in;
    std::string error;
    if (!in.Open(input, &error)) return Failure("convert: " + error);
    BlockOutput out(1), reports(2);
    return ConvertLines(in, stages, o, out, reports);
}

} // namespace kvtool
