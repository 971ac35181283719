// Datum conversion: validation of a request, handles, and the conversion of
// longitude/latitude arrays from a source datum to WGS 84 and on to a
// destination datum.
#include "datum/kvDatum.h"

#include "datum/DatumTable.h"
#include "datum/GridShift.h"
#include "datum/dMRE.h"
#include "frame/Diag.h"
#include "frame/StringTable.h"
#include "frame/Util.h"

#include <cmath>
#include <cstring>
#include <initializer_list>
#include <new>

namespace KVProj {
namespace {

constexpr double kUnplottable = KVPROJ_UNPLOTTABLE;
constexpr double kPi = 3.14159265358979323846;
constexpr double kDegToRad = kPi / 180.0;
constexpr double kRadToDeg = 180.0 / kPi;
constexpr double kMaxShift = 1.7014117331926443e38; // half the largest float
constexpr double kMaxRotation = 3600.0;             // arcseconds
constexpr int kMessageLen = 256;
constexpr int kNullRecord = 998;
const char kNullRecordText[] = "NULL Pointer to datum parameters";

enum : uint16_t {
    IDS_ELLIPSOID_RADIUS = 20249,
    IDS_ELLIPSOID_FLATTENING = 20250,
    IDS_BAD_SRC_DATUM = 20260,
    IDS_BAD_DEST_DATUM = 20261,
    IDS_BAD_METHOD = 20262,
    IDS_BAD_ELLIPSOID = 20263,
    IDS_BAD_PMSHIFT = 20264,
    IDS_BAD_DX = 20265,
    IDS_BAD_DY = 20266,
    IDS_BAD_DZ = 20267,
    IDS_BAD_RX = 20268,
    IDS_BAD_RY = 20269,
    IDS_BAD_RZ = 20270,
    IDS_NTV2_OPEN = 20280,
    IDS_NTV2_CORRUPT = 20281,
};

// A validation failure: the result number and the string-table message.
struct Failure {
    int result;
    uint16_t message; // 0: the null-record text, never reported
};

constexpr Failure kValid{0, 0};

bool within(double value, double limit) {
    return value >= -limit && value <= limit;
}

Failure checkStep(const DATUM2WGS84* step) {
    if (!step) return {kNullRecord, 0};
    const int method = step->Method;
    if (method < DM_NOXFORM || method > DM_NTV2) return {3, IDS_BAD_METHOD};
    if (method == DM_NOXFORM || method == DM_NADCON || method == DM_MRE || method == DM_NTV2)
        return kValid;
    if (method == DM_HARN) return {3, IDS_BAD_METHOD};
    if (step->Ellipsoid < ELLIPSOID_USER_DEFINED || step->Ellipsoid >= ELLIPSOID_COUNT)
        return {4, IDS_BAD_ELLIPSOID};
    if (step->Ellipsoid == ELLIPSOID_USER_DEFINED) {
        if (!(step->MajorRadius > 0.0)) return {13, IDS_ELLIPSOID_RADIUS};
        if (!(step->Flattening >= 0.0 && step->Flattening < 1.0))
            return {14, IDS_ELLIPSOID_FLATTENING};
    }
    if (!within(step->PMShift, 180.0)) return {5, IDS_BAD_PMSHIFT};
    if (!within(step->dx, kMaxShift)) return {6, IDS_BAD_DX};
    if (!within(step->dy, kMaxShift)) return {7, IDS_BAD_DY};
    if (!within(step->dz, kMaxShift)) return {8, IDS_BAD_DZ};
    if (method == DM_BURSA) {
        if (!within(step->rx, kMaxRotation)) return {9, IDS_BAD_RX};
        if (!within(step->ry, kMaxRotation)) return {10, IDS_BAD_RY};
        if (!within(step->rz, kMaxRotation)) return {11, IDS_BAD_RZ};
    }
    // The scale is deliberately unchecked: a negative ppm value is a valid change.
    return kValid;
}

Failure checkXform(const DATUMXFORM* x) {
    if (!x) return {kNullRecord, 0};
    if (x->SrcDatum < 0 || x->SrcDatum >= DATUM_COUNT) return {1, IDS_BAD_SRC_DATUM};
    if (x->DestDatum < 0 || x->DestDatum >= DATUM_COUNT) return {2, IDS_BAD_DEST_DATUM};
    if (x->SrcDatum == DATUM_USER_DEFINED) {
        DATUM2WGS84 step1 = x->Step1;
        Failure f = checkStep(&step1);
        if (f.result) return f;
    }
    if (x->DestDatum == DATUM_USER_DEFINED) {
        DATUM2WGS84 step2 = x->Step2;
        Failure f = checkStep(&step2);
        // Destination-step failures are numbered after the source-step ones.
        if (f.result >= 3 && f.result <= 26) f.result += 12;
        if (f.result) return f;
    } else if (DatumFindDestRow(x->DestDatum) >= kDatumRowCount) {
        return {2, IDS_BAD_DEST_DATUM};
    }
    return kValid;
}

const char* methodName(int method) {
    static const char* const kNames[] = {"DM_NOXFORM", "DM_NADCON", "DM_BURSA", "DM_MOLODENSKY",
                                         "DM_HARN",    "DM_MRE",    "DM_NTV2"};
    return method >= 0 && method <= DM_NTV2 ? kNames[method] : "*UNKNOWN*";
}

void dumpStep(const DATUM2WGS84* s) {
    LogPrintf("  DATUM2WGS84 (Pointer=%p)\n", static_cast<const void*>(s));
    const int method = s->Method;
    LogPrintf("    Method:          %d (%s)\n", method, methodName(method));
    LogPrintf("    bInverse:        %s\n", s->bInverse ? "true" : "false");
    LogPrintf("    PMShift:         %f\n", double(s->PMShift));
    if (method == DM_MOLODENSKY || method == DM_BURSA) {
        LogPrintf("    dx:              %f\n", double(s->dx));
        LogPrintf("    dy:              %f\n", double(s->dy));
        LogPrintf("    dz:              %f\n", double(s->dz));
    }
    if (method == DM_BURSA) {
        LogPrintf("    rx:              %f\n", double(s->rx));
        LogPrintf("    ry:              %f\n", double(s->ry));
        LogPrintf("    rz:              %f\n", double(s->rz));
        LogPrintf("    k:               %f\n", double(s->k));
    }
    char name[KVPROJ_NAME_LEN];
    double radius = 0.0, flattening = 0.0;
    if (!EllipsoidInfo(s->Ellipsoid, name, &radius, &flattening))
        CopyName(name, "UNKNOWN", sizeof name);
    LogPrintf("    Ellipsoid:       %d (%s)\n", int(s->Ellipsoid), name);
    LogPrintf("    MajorRadius:     %f\n", double(s->MajorRadius));
    LogPrintf("    Flattening:      %f\n", double(s->Flattening));
}

bool isUnplottable(const DATUMPOINT& p) {
    return p.x == kUnplottable || p.y == kUnplottable;
}

// Reduces a point to longitude (-360, 360) and latitude [-90, 90].
void normalise(DATUMPOINT& p) {
    if (std::isinf(p.x))
        p.x = kUnplottable;
    else if (p.x != kUnplottable && !std::isnan(p.x))
        p.x = std::fmod(p.x, 360.0);
    if (p.y == kUnplottable || std::isnan(p.y)) return;
    if (std::isinf(p.y)) {
        p.y = kUnplottable;
        return;
    }
    double y = std::fmod(p.y, 180.0);
    if (y > 90.0)
        y = 180.0 - y;
    else if (y < -90.0)
        y = std::fabs(y) - 180.0;
    p.y = y;
}

// Marks non-finite points unplottable; true when any point is unplottable.
bool screen(DATUMPOINT* points, int count) {
    bool any = false;
    for (int n = 0; n < count; ++n) {
        DATUMPOINT& p = points[n];
        if (!std::isfinite(p.x) || !std::isfinite(p.y)) p.x = p.y = kUnplottable;
        if (isUnplottable(p)) any = true;
    }
    return any;
}

struct Ellipse {
    double a, f;
};

Ellipse wgs84() {
    return {EllipsoidRadius(ELLIPSOID_WGS84), EllipsoidFlattening(ELLIPSOID_WGS84)};
}

bool usableEllipse(const Ellipse& e) {
    return std::isfinite(e.a) && e.a > 0.0 && std::isfinite(e.f) && e.f >= 0.0 && e.f < 1.0;
}

// What both shift formulas take from a step: the ellipses to shift from and
// to, and the translation and prime meridian shift signed for the direction
// (towards WGS 84 unless the step is inverted).
struct StepFrame {
    Ellipse from, to;
    double sign, dx, dy, dz, pm;
};

bool makeStepFrame(const DATUM2WGS84& step, StepFrame* frame) {
    const Ellipse datum{step.MajorRadius, step.Flattening};
    if (!usableEllipse(datum)) return false;
    const bool inverse = step.bInverse;
    frame->from = inverse ? wgs84() : datum;
    frame->to = inverse ? datum : wgs84();
    frame->sign = inverse ? -1.0 : 1.0;
    frame->dx = frame->sign * step.dx;
    frame->dy = frame->sign * step.dy;
    frame->dz = frame->sign * step.dz;
    frame->pm = frame->sign * step.PMShift;
    return true;
}

bool runStep(const DATUM2WGS84& step, DATUMPOINT* points, int count) {
    switch (static_cast<int>(step.Method)) {
    case DM_MOLODENSKY:
        return MolodenskyStep(step, points, count);
    case DM_BURSA:
        return BursaWolfStep(step, points, count);
    default:
        return false;
    }
}

void reportNtv2(int status) {
    if (status == NTV2_OPEN_FAILED)
        KV_REPORT(IDS_NTV2_OPEN);
    else if (status == NTV2_SHORT_READ || status == NTV2_BAD_DATA)
        KV_REPORT(IDS_NTV2_CORRUPT);
}

// The grid shift of either step; a failure is logged and reported to the host.
bool ntv2Step(DATUMPOINT* points, int count, bool inverse) {
    const int status = NTV2Transform(count, points, inverse);
    if (status == NTV2_OK) return true;
    LogPrintf("NTV2 transform failure.\n");
    reportNtv2(status);
    return false;
}

// Everything of a conversion after the scratch exists; the caller frees it.
bool convert(DATUMXFORM* handle, DATUMXFORM& x, DATUMPOINT* points, int count, double* wrap) {
    if (x.SrcDatum == x.DestDatum && x.SrcDatum != DATUM_USER_DEFINED) return true;

    bool srcFound = true, destFound = true;
    if (x.SrcDatum != DATUM_USER_DEFINED) {
        int i = DatumFindRow(x.SrcDatum);
        srcFound = i < kDatumRowCount;
        if (srcFound) DatumFillStep(kDatumRows[i], &x.Step1);
    }
    if (x.DestDatum != DATUM_USER_DEFINED) {
        int i = DatumFindDestRow(x.DestDatum);
        destFound = i < kDatumRowCount;
        if (destFound) {
            DatumFillStep(kDatumRows[i], &x.Step2);
            x.Step2.bInverse = true;
        }
    }
    if (!srcFound || !destFound) return KV_ASSERT_FAIL();
    if (x.SrcDatum == DATUM_USER_DEFINED && !MethodReversible(x.Step1.Method))
        return KV_ASSERT_FAIL();
    if (x.DestDatum == DATUM_USER_DEFINED && !MethodReversible(x.Step2.Method))
        return KV_ASSERT_FAIL();
    for (DATUM2WGS84* s : {&x.Step1, &x.Step2}) {
        if (s->Ellipsoid != ELLIPSOID_USER_DEFINED) {
            s->MajorRadius = EllipsoidRadius(s->Ellipsoid);
            s->Flattening = EllipsoidFlattening(s->Ellipsoid);
        }
    }

    if (screen(points, count)) handle->bUnplottable = true;
    for (int n = 0; n < count; ++n) {
        DATUMPOINT& p = points[n];
        normalise(p);
        if (isUnplottable(p)) continue;
        // Shift in -180..180 so the regression origins and grids see one convention.
        if (p.x >= -360.0 && p.x < -180.0) {
            wrap[n] = -360.0;
            p.x += 360.0;
        } else if (p.x > 180.0 && p.x <= 360.0) {
            wrap[n] = 360.0;
            p.x -= 360.0;
        }
    }
    if (LogIsEnabled()) {
        LogPrintf("Initiating transform.\n");
        DatDumpXform(&x);
    }

    switch (static_cast<int>(x.Step1.Method)) {
    case DM_MOLODENSKY:
    case DM_BURSA:
        if (!runStep(x.Step1, points, count)) return KV_ASSERT_FAIL();
        break;
    case DM_MRE:
        if (!MreShift(x.SrcDatum, points, count)) return KV_ASSERT_FAIL();
        break;
    case DM_NADCON: {
        const char* area = x.SrcDatum == DATUM_NADCON_CONUS  ? "conus"
                           : x.SrcDatum == DATUM_NADCON_PRVI ? "prvi"
                                                             : nullptr;
        if (area && !NadconShift(area, points, count)) return false;
        break;
    }
    case DM_NTV2:
        if (!ntv2Step(points, count, false)) return false;
        break;
    case DM_NOXFORM:
        break;
    default:
        return KV_ASSERT_FAIL();
    }

    switch (static_cast<int>(x.Step2.Method)) {
    case DM_MOLODENSKY:
    case DM_BURSA:
        if (!runStep(x.Step2, points, count)) return KV_ASSERT_FAIL();
        break;
    case DM_NTV2:
        // Unlike the source step, the destination step also reports an
        // internal inconsistency; hosts have come to expect both messages.
        if (!ntv2Step(points, count, true)) return KV_ASSERT_FAIL();
        break;
    case DM_NOXFORM:
        break;
    default:
        return KV_ASSERT_FAIL();
    }

    if (screen(points, count)) handle->bUnplottable = true;
    for (int n = 0; n < count; ++n) {
        DATUMPOINT& p = points[n];
        if (p.x != kUnplottable) p.x += wrap[n];
        normalise(p);
    }
    return true;
}

} // namespace

// ---------------------------------------------------------------- steps

bool MolodenskyStep(const DATUM2WGS84& step, DATUMPOINT* points, int count) {
    StepFrame fr;
    if (!makeStepFrame(step, &fr)) return false;
    const double dx = fr.dx, dy = fr.dy, dz = fr.dz, pm = fr.pm;

    const double a = fr.from.a, f = fr.from.f;
    const double da = fr.to.a - fr.from.a, df = fr.to.f - fr.from.f;
    const double e2 = 2.0 * f - f * f;
    const double b = (1.0 - f) * a;
    const double sin1 = std::sin(4.84813681109536e-6); // sine of one arcsecond
    const double daTerm = da * e2 / a;                 // Δa e²/a
    const double dfM = df * a / b, dfN = df * b / a;   // Δf a/b, Δf b/a
    const double toDegrees = 1.0 / (sin1 * 3600.0);

    for (int n = 0; n < count; ++n) {
        DATUMPOINT& p = points[n];
        if (isUnplottable(p)) continue;
        const double lonDeg = p.x + pm;
        const double lam = lonDeg * kDegToRad, phi = p.y * kDegToRad;
        const double sp = std::sin(phi), cp = std::cos(phi);
        const double sl = std::sin(lam), cl = std::cos(lam);
        const double w = 1.0 - e2 * sp * sp;
        const double sw = std::sqrt(w);
        const double N = a / sw;                    // prime vertical radius of curvature
        const double M = a * (1.0 - e2) / (w * sw); // meridian radius of curvature
        // DMA TR 8350.2, standard Molodensky formulas with h = 0.
        const double dphi = (-dx * sp * cl - dy * sp * sl + dz * cp + daTerm * N * sp * cp +
                             (dfM * M + dfN * N) * sp * cp) /
                            M;
        const double dlam = (-dx * sl + dy * cl) / (N * cp);
        p.x = lonDeg + dlam * toDegrees;
        p.y = p.y + dphi * toDegrees;
    }
    return true;
}

void GeocentricToGeodetic(double X, double Y, double Z, double a, double f, double* lon,
                          double* lat) {
    const double p = std::sqrt(X * X + Y * Y);
    const double r = std::sqrt(p * p + Z * Z);
    const double e2 = (2.0 - f) * f;
    *lon = std::atan2(Y, X);
    // Bowring's parametric latitude u does not depend on the latitude being
    // sought, so the refinement reaches its fixed point in a single round; the
    // closed form below is that fixed point, bit for bit.
    const double t = ((1.0 - f) + e2 * a / r) * Z;
    const double h = std::sqrt(t * t + p * p);
    const double su = t / h, cu = p / h;
    *lat =
        std::atan2((1.0 - f) * Z + e2 * a * su * su * su, (1.0 - f) * (p - e2 * a * cu * cu * cu));
}

bool BursaWolfStep(const DATUM2WGS84& step, DATUMPOINT* points, int count) {
    StepFrame fr;
    if (!makeStepFrame(step, &fr)) return false;
    const bool inverse = step.bInverse;
    const double sign = fr.sign, dx = fr.dx, dy = fr.dy, dz = fr.dz, pm = fr.pm;
    const Ellipse from = fr.from, to = fr.to;
    const double secToRad = kPi / 180.0 / 3600.0;
    const double rx = sign * step.rx * secToRad;
    const double ry = sign * step.ry * secToRad;
    const double rz = sign * step.rz * secToRad;
    const double S = inverse ? 1.0 / (1.0 + step.k * 1e-6) : 1.0 + step.k * 1e-6;

    const double a = from.a, e2 = (2.0 - from.f) * from.f;
    for (int n = 0; n < count; ++n) {
        DATUMPOINT& pt = points[n];
        if (isUnplottable(pt)) continue;
        const double lam = (pt.x + pm) * kDegToRad, phi = pt.y * kDegToRad;
        const double sp = std::sin(phi), cp = std::cos(phi);
        const double N = a / std::sqrt(1.0 - e2 * sp * sp);
        const double X = N * cp * std::cos(lam);
        const double Y = N * cp * std::sin(lam);
        const double Z = (1.0 - e2) * N * sp;
        // Position-vector convention (EPSG method 9606).
        const double X2 = dx + S * (X - rz * Y + ry * Z);
        const double Y2 = dy + S * (rz * X + Y - rx * Z);
        const double Z2 = dz + S * (-ry * X + rx * Y + Z);
        double lon = 0.0, lat = 0.0;
        GeocentricToGeodetic(X2, Y2, Z2, to.a, to.f, &lon, &lat);
        pt.x = lon * kRadToDeg;
        pt.y = lat * kRadToDeg;
    }
    return true;
}

void DatDumpXform(const DATUMXFORM* x) {
    if (!LogIsEnabled() || !x) return;
    LogPrintf("DATUMXFORM (Pointer=%p)\n", static_cast<const void*>(x));
    LogPrintf("  SrcDatum:     %d\n", int(x->SrcDatum));
    LogPrintf("  DestDatum:    %d\n", int(x->DestDatum));
    LogPrintf("Step1:\n");
    dumpStep(&x->Step1);
    LogPrintf("Step2:\n");
    dumpStep(&x->Step2);
    LogPrintf("  bUnplottable: %s\n", x->bUnplottable ? "true" : "false");
}

// ---------------------------------------------------------------- exported

int DatCheckParams(const DATUMXFORM* xform, char* message, bool report) {
    if (message) message[0] = '\0';
    const Failure f = checkXform(xform);
    if (!f.result) return 0;
    if (f.message == 0) {
        if (message) CopyName(message, kNullRecordText, kMessageLen);
        return f.result;
    }
    if (message) LoadMessageString(f.message, message, kMessageLen);
    if (report) KV_REPORT(f.message);
    return f.result;
}

void* DatCreateDatum(const DATUMXFORM* xform) {
    LogPrintf("DatCreateDatum(pDatumData=%p)\n", static_cast<const void*>(xform));
    DatDumpXform(xform);
    if (!xform) return nullptr;
    if (DatCheckParams(xform, nullptr, true) != 0) return nullptr;
    DATUMXFORM* copy = new (std::nothrow) DATUMXFORM;
    if (!copy) return nullptr;
    std::memcpy(copy, xform, sizeof *copy);
    return copy;
}

void DatDeleteDatum(void* handle) {
    LogPrintf("DatDeleteDatum(hDatum=%p)\n", handle);
    delete static_cast<DATUMXFORM*>(handle);
}

bool DatConvertDatum(void* handle, DATUMPOINT* points, int count) {
    LogPrintf("DatConvertDatum(hDatum=%p, pPts=%p, nPts=%d)\n", handle, static_cast<void*>(points),
              count);
    if (!handle) return false;
    if (!points || count < 1) return KV_ASSERT_FAIL();
    DATUMXFORM* h = static_cast<DATUMXFORM*>(handle);
    DATUMXFORM x;
    std::memcpy(&x, h, sizeof x);
    if (x.SrcDatum < 0 || x.SrcDatum > DATUM_NONE || x.DestDatum < 0 || x.DestDatum > DATUM_NONE)
        return KV_ASSERT_FAIL();
    // One wrap offset per point (-360, 0 or +360), undone after the shift.
    double* wrap = new (std::nothrow) double[static_cast<size_t>(count)]();
    if (!wrap) return KV_ASSERT_FAIL();
    h->bUnplottable = false;
    const bool ok = convert(h, x, points, count, wrap);
    delete[] wrap;
    return ok;
}

bool DatHadUnplottables(void* handle) {
    return handle && static_cast<const DATUMXFORM*>(handle)->bUnplottable;
}

bool DatGetHandleInfo(void* handle, DATUMXFORM* out) {
    if (!handle || !out) return false;
    std::memcpy(out, handle, sizeof *out);
    return true;
}

// ---------------------------------------------------------------- CDatumTransform

CDatumTransform::CDatumTransform() : m_hDatum(nullptr) {}

CDatumTransform::CDatumTransform(const DATUMXFORM* xform) : m_hDatum(DatCreateDatum(xform)) {}

CDatumTransform::CDatumTransform(const CDatumTransform& other) : m_hDatum(nullptr) {
    DATUMXFORM x;
    if (other.GetInfo(&x)) m_hDatum = DatCreateDatum(&x);
}

CDatumTransform::~CDatumTransform() {
    Delete();
}

// Shares the handle: after an assignment both objects hold the same one.
CDatumTransform& CDatumTransform::operator=(const CDatumTransform& other) {
    m_hDatum = other.m_hDatum;
    return *this;
}

bool CDatumTransform::Create(const DATUMXFORM* xform) {
    Delete();
    m_hDatum = DatCreateDatum(xform);
    return m_hDatum != nullptr;
}

void CDatumTransform::Delete() {
    if (m_hDatum) {
        DatDeleteDatum(m_hDatum);
        m_hDatum = nullptr;
    }
}

bool CDatumTransform::IsCreated() const {
    return m_hDatum != nullptr;
}

bool CDatumTransform::Convert(DATUMPOINT* points, int count) {
    return DatConvertDatum(m_hDatum, points, count);
}

bool CDatumTransform::HadUnplottables() const {
    return DatHadUnplottables(m_hDatum);
}

bool CDatumTransform::GetInfo(DATUMXFORM* out) const {
    return DatGetHandleInfo(m_hDatum, out);
}

} // namespace KVProj
