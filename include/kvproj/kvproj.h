// kvproj: cartographic projections, datum shifts and georeferencing.
// Hosts include this header only.
#ifndef KVPROJ_KVPROJ_H
#define KVPROJ_KVPROJ_H

#include "kvlibw/kvlibw.h"
#include "kvproj/export.h"
#include "kvproj/angle.h"
#include "kvproj/ellipsoid.h"
#include "kvproj/datum.h"
#include "kvproj/projdata.h"
#include "kvproj/projection.h"
#include "kvproj/projcheck.h"
#include "kvproj/stateplane.h"
#include "kvproj/utmzone.h"
#include "kvproj/georef.h"
#include "kvproj/registration.h"
#include "kvproj/files.h"

#endif
