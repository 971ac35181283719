// Mercator, normal aspect: the module's entry points on the formulas of
// MercCore.h, and the constants a handle prepares for them.
#include "projections/MercCore.h"
#include "projections/Modules.h"

#include <new>
#include <type_traits>

namespace KVProj {

namespace merc {

static_assert(sizeof(Constants) <= sizeof(ModuleConstants::bytes) &&
                  alignof(Constants) <= alignof(ModuleConstants) &&
                  std::is_trivially_destructible<Constants>::value,
              "the Mercator constants fit a handle's block");

// A true-scale latitude at a pole is a caller's error the inverse reports as
// a whole (MercInverse), which the row keeps doing.
bool Prepare(const PROJDATA* work, ModuleConstants* out) {
    const Constants* m = new (out->bytes) Constants(work);
    return m->sphere || !m->ok || m->k != 0.0;
}

void PreparedForward(const ModuleConstants& k, PROJPOINT* points, int count) {
    Forward(*reinterpret_cast<const Constants*>(k.bytes), points, count);
}

void PreparedInverse(const ModuleConstants& k, PROJPOINT* points, int count) {
    Inverse(*reinterpret_cast<const Constants*>(k.bytes), points, count);
}

} // namespace merc

bool MercForward(const PROJDATA* data, PROJPOINT* points, int count) {
    KV_MODULE_CHECK_ARGS(data, points, count);
    merc::Forward(merc::Constants(data), points, count);
    return true;
}

bool MercInverse(const PROJDATA* data, PROJPOINT* points, int count) {
    KV_MODULE_CHECK_ARGS(data, points, count);
    const merc::Constants m(data);
    // A true-scale latitude at a pole is a caller's error, not a bad point:
    // reported at the first point to convert, the points before it markers.
    if (!m.sphere && m.ok && m.k == 0.0)
        for (int i = 0; i < count; ++i)
            if (!IsUnplottable(points[i])) return KV_ASSERT_FAIL();
    merc::Inverse(m, points, count);
    return true;
}

} // namespace KVProj
