// "kvproj georef": fits a georeference to control pairs and prints its
// coefficients, each control's residual and the mean error, or converts
// further points through the fit (--apply).
#include "Command.h"
#include "Json.h"
#include "LineInput.h"
#include "Numbers.h"
#include "Text.h"

#include "kvproj/georef.h"
#include "kvproj/registration.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <memory>
#include <string>
#include <vector>

namespace kvtool {
namespace {

using namespace KVProj;

struct MethodWord {
    const char* word;
    TransformMethod method;
};
// The words --method takes besides the numbers 0 to 11.
constexpr MethodWord kMethodWords[] = {
    {"helmert", TM_HELMERT},
    {"affine", TM_AFFINE},
    {"bilinear", TM_FIRST_ORDER},
    {"poly1", TM_FIRST_ORDER},
    {"poly2", TM_SECOND_ORDER},
    {"poly3", TM_THIRD_ORDER},
    {"tps", TM_THIN_PLATE_SPLINE},
    {"cubic", TM_NATURAL_CUBIC_SPLINE},
    {"markov", TM_MARCOV_SPLINE},
    {"marcov", TM_MARCOV_SPLINE},
    {"exponential", TM_EXPONENTIAL_SPLINE},
    {"rational", TM_RATIONAL_QUADRATIC},
    {"idw", TM_INVERSE_DISTANCE},
};

// Fewest controls each method can be fitted to, by method number (5 takes none).
constexpr int kMinimumControls[TM_NONE] = {1, 3, 4, 6, 10, 0, 3, 3, 3, 3, 3, 3};

// Names of the polynomial terms, in the order of GEOREFFIT.
constexpr const char* kTermNames[10] = {"1",   "x",   "y",     "x^2",   "x*y",
                                        "y^2", "x^3", "x^2*y", "x*y^2", "y^3"};

struct Options {
    std::string input = "-";
    std::string method = "affine";
    std::string apply;
    bool json = false;
    int precision = 6;
};

int Usage(const std::string& message) {
    return UsageError("georef: " + message);
}

bool IsWarp(TransformMethod m) {
    return m >= TM_THIN_PLATE_SPLINE && m < TM_NONE;
}

bool ParseMethod(const std::string& text, TransformMethod* method) {
    int number = 0;
    if (ParseInteger(text, 0, TM_NONE - 1, &number)) {
        *method = static_cast<TransformMethod>(number);
        return true;
    }
    for (const MethodWord& w : kMethodWords)
        if (EqualsIgnoringCase(text, w.word)) {
            *method = w.method;
            return true;
        }
    return false;
}

// The numbers of one line, separated by commas or blanks; '#' starts a comment.
bool ReadNumbers(const char* text, size_t size, std::vector<double>* numbers) {
    numbers->clear();
    std::string line(text, size);
    line = line.substr(0, line.find('#'));
    std::replace(line.begin(), line.end(), ',', ' ');
    std::replace(line.begin(), line.end(), '\t', ' ');
    for (size_t at = 0; at < line.size();) {
        at = line.find_first_not_of(' ', at);
        if (at == std::string::npos) break;
        const size_t end = std::min(line.find(' ', at), line.size());
        double v = 0.0;
        if (!ParseFinite(line.substr(at, end - at), &v)) return false;
        numbers->push_back(v);
        at = end;
    }
    return true;
}

// Every data line of `path` as `width` numbers; an error text on failure.
bool ReadTable(const std::string& path, size_t width, const char* what,
               std::vector<std::vector<double>>* rows, std::string* error) {
    LineInput in;
    if (!in.Open(path, error)) return false;
    std::vector<double> numbers;
    for (;;) {
        const char* text = nullptr;
        size_t size = 0;
        const LineInput::Status status = in.Next(&text, &size);
        if (status == LineInput::END) return true;
        const std::string where = in.Name() + " line " + std::to_string(in.Number());
        if (status == LineInput::READ_FAILED) {
            *error = in.Name() + ": " + in.Error();
            return false;
        }
        if (status == LineInput::TOO_LONG || !ReadNumbers(text, size, &numbers) ||
            (!numbers.empty() && numbers.size() != width)) {
            *error = where + ": expected " + what;
            return false;
        }
        if (!numbers.empty()) rows->push_back(numbers);
    }
}

struct Fit {
    TransformMethod method;
    std::vector<GEOREFPOINT> pixel, map;
    void* handle = nullptr;
    ~Fit() { RefDeleteSystem(handle); }
};

struct Residual {
    double dx, dy, error;
    double looDx, looDy; // leave-one-out, warps only
};

// Destination minus the image of the source, for each control.
std::vector<Residual> Residuals(const Fit& fit, double* mean) {
    const size_t n = fit.pixel.size();
    std::vector<GEOREFPOINT> image = fit.pixel;
    std::vector<double> errors(n);
    RefForward(fit.handle, image.data(), static_cast<int>(n));
    RefComputeError(fit.handle, mean, errors.data());
    std::vector<Residual> r(n);
    for (size_t i = 0; i < n; ++i)
        r[i] = {fit.map[i].x - image[i].x, fit.map[i].y - image[i].y, errors[i], NAN, NAN};
    if (!IsWarp(fit.method)) return r;
    // The warps pass through every control: how far each control lies from the
    // warp of the others says more.
    CImageRegistration reg;
    RPoints src, dst, loo;
    for (size_t i = 0; i < n; ++i) {
        src.push_back({fit.pixel[i].x, fit.pixel[i].y});
        dst.push_back({fit.map[i].x, fit.map[i].y});
    }
    const WarpingMethod warp = static_cast<WarpingMethod>(fit.method - TM_THIN_PLATE_SPLINE);
    if (reg.Calibrate(src, dst, warp) == warp && reg.LeaveOneOutResiduals(loo))
        for (size_t i = 0; i < n && i < loo.size(); ++i)
            r[i].looDx = loo[i].x, r[i].looDy = loo[i].y;
    return r;
}

// ------------------------------------------------------------ text output

// Coefficients as the shortest text that reads back exactly; no "-0".
std::string Coefficient(double v) {
    return FormatShortest(v == 0.0 ? 0.0 : v);
}

class Table {
public:
    void Row(std::vector<std::string> cells) { m_rows.push_back(std::move(cells)); }
    std::string Text() const {
        std::vector<size_t> width;
        for (const auto& row : m_rows)
            for (size_t c = 0; c < row.size(); ++c) {
                if (width.size() <= c) width.push_back(0);
                width[c] = std::max(width[c], row[c].size());
            }
        std::string out;
        for (const auto& row : m_rows) {
            std::string line;
            for (size_t c = 0; c < row.size(); ++c)
                line += std::string(c ? 2 : 0, ' ') + std::string(width[c] - row[c].size(), ' ') +
                        row[c];
            out += "  " + line + "\n";
        }
        return out;
    }

private:
    std::vector<std::vector<std::string>> m_rows;
};

std::string Number(double v, int precision) {
    return std::isnan(v) ? "-" : FormatFixed(v, precision);
}

std::string TextReport(const Fit& fit, const std::vector<Residual>& res, double mean,
                       int precision) {
    std::string out = "method: " + std::string(RefMethodName(fit.method)) + " (" +
                      std::to_string(fit.method) +
                      ")\ncontrols: " + std::to_string(fit.pixel.size()) + "\n";
    GEOREFFIT coefficients{};
    if (RefGetFit(fit.handle, &coefficients)) {
        out += "coefficients (x' = sum of X times term, y' = sum of Y times term):\n";
        Table t;
        t.Row({"term", "X", "Y"});
        for (int j = 0; j < coefficients.nTerms; ++j) {
            const char* term = j == 3 && fit.method == TM_FIRST_ORDER ? "x*y" : kTermNames[j];
            t.Row({term, Coefficient(coefficients.X[j]), Coefficient(coefficients.Y[j])});
        }
        out += t.Text();
    }
    const bool warp = IsWarp(fit.method);
    out += warp ? "residuals (map minus fit; leave-one-out: minus the fit of the others):\n"
                : "residuals (map minus fit):\n";
    Table t;
    std::vector<std::string> head = {"#",     "pixel_x", "pixel_y", "map_x",
                                     "map_y", "dx",      "dy",      "error"};
    if (warp) head.insert(head.end(), {"loo_dx", "loo_dy"});
    t.Row(head);
    for (size_t i = 0; i < res.size(); ++i) {
        std::vector<std::string> row = {
            std::to_string(i + 1),          FormatShortest(fit.pixel[i].x),
            FormatShortest(fit.pixel[i].y), FormatShortest(fit.map[i].x),
            FormatShortest(fit.map[i].y),   Number(res[i].dx, precision),
            Number(res[i].dy, precision),   Number(res[i].error, precision)};
        if (warp)
            row.insert(row.end(),
                       {Number(res[i].looDx, precision), Number(res[i].looDy, precision)});
        t.Row(row);
    }
    out += t.Text();
    out += "mean error: " + Number(mean, precision) + "\n";
    return out;
}

// ------------------------------------------------------------ JSON output

std::string JsonReport(const Fit& fit, const std::vector<Residual>& res, double mean,
                       const std::vector<GEOREFPOINT>& applied) {
    Json report = Json::Object();
    report.Set("method", static_cast<int>(fit.method)).Set("name", RefMethodName(fit.method));
    GEOREFFIT c{};
    if (RefGetFit(fit.handle, &c)) {
        Json terms = Json::Array(), xs = Json::Array(), ys = Json::Array();
        for (int j = 0; j < c.nTerms; ++j) {
            terms.Add(j == 3 && fit.method == TM_FIRST_ORDER ? "x*y" : kTermNames[j]);
            xs.Add(c.X[j] == 0.0 ? 0.0 : c.X[j]); // no "-0"
            ys.Add(c.Y[j] == 0.0 ? 0.0 : c.Y[j]);
        }
        Json coefficients = Json::Object();
        coefficients.Set("terms", std::move(terms)).Set("x", std::move(xs)).Set("y", std::move(ys));
        report.Set("coefficients", std::move(coefficients));
    } else {
        report.Set("coefficients", nullptr);
    }
    Json controls = Json::Array();
    for (size_t i = 0; i < res.size(); ++i) {
        Json control = Json::Object();
        control.Set("pixel", Json::Pair(fit.pixel[i].x, fit.pixel[i].y))
            .Set("map", Json::Pair(fit.map[i].x, fit.map[i].y))
            .Set("residual", Json::Pair(res[i].dx, res[i].dy))
            .Set("error", res[i].error);
        if (IsWarp(fit.method))
            control.Set("leave_one_out", Json::Pair(res[i].looDx, res[i].looDy));
        controls.Add(std::move(control));
    }
    report.Set("controls", std::move(controls)).Set("mean_error", mean);
    if (!applied.empty()) {
        Json points = Json::Array();
        for (const GEOREFPOINT& p : applied)
            points.Add(Json::Pair(p.x, p.y));
        report.Set("applied", std::move(points));
    }
    return report.Dump();
}

// ------------------------------------------------------------ running

// Why the fit failed, for the message: the registration's own reason for a warp.
std::string Degenerate(const Fit& fit) {
    std::string why = "the controls are degenerate for " + std::string(RefMethodName(fit.method));
    if (IsWarp(fit.method)) {
        CImageRegistration reg;
        RPoints src, dst;
        for (size_t i = 0; i < fit.pixel.size(); ++i) {
            src.push_back({fit.pixel[i].x, fit.pixel[i].y});
            dst.push_back({fit.map[i].x, fit.map[i].y});
        }
        const WarpingMethod warp = static_cast<WarpingMethod>(fit.method - TM_THIN_PLATE_SPLINE);
        if (reg.Calibrate(src, dst, warp) != warp && *reg.Reason())
            return why + ": " + reg.Reason();
    }
    return why + " (it needs at least " + std::to_string(kMinimumControls[fit.method]) +
           " controls, not all on one line or at one place)";
}

int Run(const Options& o) {
    Fit fit;
    if (!ParseMethod(o.method, &fit.method))
        return Usage("unknown method '" + Shown(o.method) + "' (try --help)");
    if (fit.method == TM_PRECALCULATED)
        return Usage("method 5 (Precalculated Affine Coefficients) takes no controls");
    if (o.input == "-" && o.apply == "-")
        return Usage("the controls and --apply cannot both come from standard input");

    std::vector<std::vector<double>> rows, points;
    std::string error;
    if (!ReadTable(o.input, 4, "pixel_x pixel_y map_x map_y", &rows, &error)) return Usage(error);
    if (!o.apply.empty() && !ReadTable(o.apply, 2, "x y", &points, &error)) return Usage(error);
    for (const auto& r : rows) {
        fit.pixel.push_back({r[0], r[1]});
        fit.map.push_back({r[2], r[3]});
    }
    const int minimum = kMinimumControls[fit.method];
    if (static_cast<int>(rows.size()) < minimum)
        return Usage(std::string(RefMethodName(fit.method)) + " needs at least " +
                     std::to_string(minimum) + " controls, got " + std::to_string(rows.size()));

    GEOREF record{};
    record.Method = fit.method;
    record.pSrc = fit.pixel.data();
    record.pDest = fit.map.data();
    record.nControls = static_cast<int>(rows.size());
    fit.handle = RefCreateSystem(&record);
    if (!fit.handle) return Usage(Degenerate(fit));

    std::vector<GEOREFPOINT> applied;
    for (const auto& p : points)
        applied.push_back({p[0], p[1]});
    if (!applied.empty() &&
        !RefForward(fit.handle, applied.data(), static_cast<int>(applied.size())))
        return Failure("georef: the points could not be converted");

    if (!o.apply.empty() && !o.json) {
        std::string out;
        for (const GEOREFPOINT& p : applied)
            out += FormatFixed(p.x, o.precision) + " " + FormatFixed(p.y, o.precision) + "\n";
        std::fputs(out.c_str(), stdout);
        return EXIT_OK;
    }
    double mean = NAN;
    const std::vector<Residual> res = Residuals(fit, &mean);
    const std::string out =
        o.json ? JsonReport(fit, res, mean, applied) : TextReport(fit, res, mean, o.precision);
    std::fputs(out.c_str(), stdout);
    return EXIT_OK;
}

Runner SetUp(CLI::App& app) {
    auto o = std::make_shared<Options>();
    app.description("Reads control pairs, one \"pixel_x pixel_y map_x map_y\" a line (commas or\n"
                    "blanks between, '#' comments), fits the method and prints its coefficients\n"
                    "in source coordinates, each control's residual (map minus fit) and the\n"
                    "mean error. The warps (methods 6-11) pass through every control; their\n"
                    "table adds the leave-one-out residual: the control minus the warp of the\n"
                    "others. Methods: helmert, affine, bilinear (poly1), poly2, poly3, tps,\n"
                    "cubic, markov, exponential, rational, idw, or the number 0-11 but 5.");
    app.add_option("controls", o->input, "control file (default: standard input)");
    app.add_option("--method,-m", o->method, "the fit (default affine)");
    app.add_option("--apply", o->apply, "FILE of \"x y\" points: print them converted");
    app.add_flag("--json", o->json, "the report as JSON (with --apply: and the points)");
    app.add_option("--precision", o->precision, "decimals of residuals and points: 0-17")
        ->check(CLI::Range(0, kMaxDecimals));
    return [o] { return Run(*o); };
}

const KVCommand
    command({"georef", "georef [controls] [--method M] [--apply FILE] [--json]",
             "fit a georeference to control points: coefficients, residuals, mean error",
             "  kvproj georef gcps.txt --method poly2\n"
             "  kvproj georef gcps.txt --method tps --apply pixels.txt > map.txt\n"},
            SetUp);

} // namespace
} // namespace kvtool
