// Validation of a conversion request, and its field-by-field trace dump.
#include "datum/DatumTable.h"
#include "datum/kvDatum.h"
#include "frame/Diag.h"
#include "frame/Firewall.h"
#include "frame/MessageIds.h"
#include "frame/StringTable.h"
#include "frame/Util.h"

namespace KVProj {
namespace {

constexpr double kMaxShift = 1.7014117331926443e38; // half the largest float
constexpr double kMaxRotation = 3600.0;             // arcseconds
constexpr int kMessageLen = 256;
constexpr int kNullRecord = 998;
const char kNullRecordText[] = "NULL Pointer to datum parameters";
// A step's own results run from 3 (method) to 14 (flattening); the same
// failure in the destination step is numbered 12 higher.
constexpr int kFirstStepResult = 3;
constexpr int kLastStepResult = 26;
constexpr int kDestStepOffset = 12;

// A validation failure: the result number and the string-table message.
struct Failure {
    int result;
    uint16_t message; // 0: the null-record text, never reported
};

constexpr Failure kValid{0, 0};

bool Within(double value, double limit) {
    return value >= -limit && value <= limit;
}

Failure CheckStep(const DATUM2WGS84* step) {
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
    if (!Within(step->PMShift, 180.0)) return {5, IDS_BAD_PMSHIFT};
    if (!Within(step->dx, kMaxShift)) return {6, IDS_BAD_DX};
    if (!Within(step->dy, kMaxShift)) return {7, IDS_BAD_DY};
    if (!Within(step->dz, kMaxShift)) return {8, IDS_BAD_DZ};
    if (method == DM_BURSA) {
        if (!Within(step->rx, kMaxRotation)) return {9, IDS_BAD_RX};
        if (!Within(step->ry, kMaxRotation)) return {10, IDS_BAD_RY};
        if (!Within(step->rz, kMaxRotation)) return {11, IDS_BAD_RZ};
    }
    // The scale is deliberately unchecked: a negative ppm value is a valid change.
    return kValid;
}

Failure CheckXform(const DATUMXFORM* x) {
    if (!x) return {kNullRecord, 0};
    if (x->SrcDatum < 0 || x->SrcDatum >= DATUM_COUNT) return {1, IDS_BAD_SRC_DATUM};
    if (x->DestDatum < 0 || x->DestDatum >= DATUM_COUNT) return {2, IDS_BAD_DEST_DATUM};
    if (x->SrcDatum == DATUM_USER_DEFINED) {
        DATUM2WGS84 step1 = x->Step1;
        Failure f = CheckStep(&step1);
        if (f.result) return f;
    }
    if (x->DestDatum == DATUM_USER_DEFINED) {
        DATUM2WGS84 step2 = x->Step2;
        Failure f = CheckStep(&step2);
        // Destination-step failures are numbered after the source-step ones.
        if (f.result >= kFirstStepResult && f.result <= kLastStepResult)
            f.result += kDestStepOffset;
        if (f.result) return f;
    } else if (DatumFindDestRow(x->DestDatum) >= kDatumRowCount) {
        return {2, IDS_BAD_DEST_DATUM};
    }
    return kValid;
}

const char* MethodName(int method) {
    static const char* const kNames[] = {"DM_NOXFORM", "DM_NADCON", "DM_BURSA", "DM_MOLODENSKY",
                                         "DM_HARN",    "DM_MRE",    "DM_NTV2"};
    return method >= 0 && method <= DM_NTV2 ? kNames[method] : "*UNKNOWN*";
}

void DumpStep(const DATUM2WGS84* s) {
    LogPrintf("  DATUM2WGS84 (Pointer=%p)\n", static_cast<const void*>(s));
    const int method = s->Method;
    LogPrintf("    Method:          %d (%s)\n", method, MethodName(method));
    LogPrintf("    bInverse:        %s\n", HostFlag(s->bInverse) ? "true" : "false");
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

} // namespace

void DatDumpXform(const DATUMXFORM* x) {
    if (!LogIsEnabled() || !x) return;
    LogPrintf("DATUMXFORM (Pointer=%p)\n", static_cast<const void*>(x));
    LogPrintf("  SrcDatum:     %d\n", int(x->SrcDatum));
    LogPrintf("  DestDatum:    %d\n", int(x->DestDatum));
    LogPrintf("Step1:\n");
    DumpStep(&x->Step1);
    LogPrintf("Step2:\n");
    DumpStep(&x->Step2);
    LogPrintf("  bUnplottable: %s\n", HostFlag(x->bUnplottable) ? "true" : "false");
}

// ---------------------------------------------------------------- exported

int DatCheckParams(const DATUMXFORM* xform, char* message, bool report) {
    return KV_GUARDED(kNullRecord, [&] {
        if (message) message[0] = '\0';
        const Failure f = CheckXform(xform);
        if (!f.result) return 0;
        if (f.message == 0) {
            if (message) CopyName(message, kNullRecordText, kMessageLen);
            return f.result;
        }
        if (message) LoadMessageString(f.message, message, kMessageLen);
        if (report) KV_REPORT(f.message);
        return f.result;
    });
}

} // namespace KVProj
