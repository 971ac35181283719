// The modules whose constants a handle prepares once (ProjModule.h), and
// their set-ups.
#include "projections/AlbersCore.h"
#include "projections/LambertCore.h"
#include "projections/MercCore.h"
#include "projections/ProjModule.h"
#include "projections/TMercCore.h"

#include <new>
#include <type_traits>

namespace KVProj {

namespace tmerc {

static_assert(sizeof(Constants) <= sizeof(ModuleConstants::bytes) &&
                  alignof(Constants) <= alignof(ModuleConstants) &&
                  std::is_trivially_destructible<Constants>::value,
              "the transverse Mercator constants fit a handle's block");

bool Prepare(const PROJDATA* work, ModuleConstants* out) {
    new (out->bytes) Constants(work, Figure(work));
    return true;
}

} // namespace tmerc

namespace {

using tmerc::Flavor;

constexpr PreparedConverters kPrepared[] = {
    {PT_UTM, tmerc::Prepare, tmerc::PreparedForward<Flavor::UTM>,
     tmerc::PreparedInverse<Flavor::UTM>},
    {PT_TRANSVERSE_MERCATOR, tmerc::Prepare, tmerc::PreparedForward<Flavor::General>,
     tmerc::PreparedInverse<Flavor::General>},
    {PT_GAUSS_KRUGER, tmerc::Prepare, tmerc::PreparedForward<Flavor::General>,
     tmerc::PreparedInverse<Flavor::General>},
    {PT_MERCATOR, merc::Prepare, merc::PreparedForward, merc::PreparedInverse},
    {PT_LAMBERT_CONIC, lcc::Prepare, lcc::PreparedForward, lcc::PreparedInverse},
    {PT_ALBERS, aea::Prepare, aea::PreparedForward, aea::PreparedInverse},
};

} // namespace

const PreparedConverters* PreparedConvertersFor(int type) {
    for (const PreparedConverters& p : kPrepared)
        if (p.Type == type) return &p;
    return nullptr;
}

} // namespace KVProj
