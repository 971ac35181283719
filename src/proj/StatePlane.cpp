// The state plane zone catalogue and the NAD 27 / NAD 83 zone builders.
//
// Zone parameters are the published state plane definitions (EPSG dataset,
// FIPS zone numbering). Angles are kept as the degree texts of those
// definitions and read with the library's own angle reader, so that a zone
// entry can be compared letter for letter with its published form.
#include "proj/StatePlane.h"

#include "frame/Diag.h"
#include "frame/Util.h"
#include "kvproj/angle.h"
#include "kvproj/stateplane.h"
#include "frame/Firewall.h"

#include <cstdint>

namespace KVProj {

namespace {

// One row of the zone catalogue. The table ends with a row of zone 142.
struct ZoneRow {
    int zone;
    int32_t usgs;   // USGS (FIPS) state plane code; 0 where there is none
    int32_t epsg27; // EPSG projected CRS on NAD 27; 0 where there is none
    int32_t epsg83; // EPSG projected CRS on NAD 83; 0 where there is none
    const char* name;
};

enum : uint8_t { kUseAlpha = 1, kRotate = 2, kUOffset = 4 };

// One zone as a system defines it. Null texts leave their field zeroed;
// a null `alpha` leaves the caller's Alpha untouched.
struct ZoneDef {
    int zone;
    ProjType type;
    EllipsoidType ellipsoid;
    const char* lon0;
    const char* lat0;
    const char* lat1;
    const char* lat2;
    const char* lon1;
    const char* alpha;
    double k0;
    double xOrg;
    double yOrg;
    uint8_t flags;
};

constexpr EllipsoidType kClarke = ELLIPSOID_CLARKE_1866;
constexpr EllipsoidType kGrs80 = ELLIPSOID_GRS80;
constexpr EllipsoidType kMichigan = ELLIPSOID_MICHIGAN_1927;

// Transverse Mercator zones go through the UTM module, which takes Lon0, Lat0,
// K0 and the false origin as given.
constexpr ZoneDef TM(int zone, EllipsoidType e, const char* lon0, const char* lat0, double k0,
                     double x, double y) {
    return {zone, PT_UTM, e, lon0, lat0, nullptr, nullptr, nullptr, nullptr, k0, x, y, 0};
}

// Lambert conformal conic: Lat1 is the parallel farther from the equator,
// Lat0 the latitude of the false origin.
constexpr ZoneDef LCC(int zone, EllipsoidType e, const char* lon0, const char* lat0,
                      const char* lat1, const char* lat2, double x, double y) {
    return {zone, PT_LAMBERT_CONIC, e, lon0, lat0, lat1, lat2, nullptr, nullptr, 0, x, y, 0};
}

constexpr ZoneDef POLY(int zone, EllipsoidType e, const char* lon0, const char* lat0, double x,
                       double y) {
    return {zone, PT_POLYCONIC, e, lon0, lat0, nullptr, nullptr, nullptr, nullptr, 0, x, y, 0};
}

// Hotine zone given by its centre and the azimuth of the central line.
constexpr ZoneDef HOM_ALPHA(int zone, EllipsoidType e, const char* lon1, const char* lat0,
                            const char* alpha, double k0, double x, double y) {
    constexpr uint8_t flags = kUseAlpha | kRotate | kUOffset;
    return {zone, PT_HOTINE, e, nullptr, lat0, nullptr, nullptr, lon1, alpha, k0, x, y, flags};
}

// The Great Lakes grids: Lon1, Lat1 and Lat0 carry the grid's longitude,
// latitude and azimuth; Alpha and bUseAlpha are not written.
constexpr ZoneDef HOM(int zone, EllipsoidType e, const char* lon1, const char* lat1,
                      const char* lat0, double k0, double x, double y) {
    constexpr uint8_t flags = kRotate | kUOffset;
    return {zone, PT_HOTINE, e, nullptr, lat0, lat1, nullptr, lon1, nullptr, k0, x, y, flags};
}

// clang-format off
constexpr ZoneRow kZoneTable[] = {
    {0, 101, 26729, 26929, "Alabama East"},
    {1, 102, 26730, 26930, "Alabama West"},
    {2, 5001, 26731, 26931, "Alaska 1"},
    {3, 5002, 26732, 26932, "Alaska 2"},
    {4, 5003, 26733, 26933, "Alaska 3"},
    {5, 5004, 26734, 26934, "Alaska 4"},
    {6, 5005, 26735, 26935, "Alaska 5"},
    {7, 5006, 26736, 26936, "Alaska 6"},
    {8, 5007, 26737, 26937, "Alaska 7"},
    {9, 5008, 26738, 26938, "Alaska 8"},
    {10, 5009, 26739, 26939, "Alaska 9"},
    {11, 5010, 26740, 26940, "Alaska 10"},
    {12, 201, 26748, 26948, "Arizona East"},
    {13, 202, 26749, 26949, "Arizona Central"},
    {14, 203, 26750, 26950, "Arizona West"},
    {15, 301, 26751, 26951, "Arkansas North"},
    {16, 302, 26752, 26952, "Arkansas South"},
    {17, 401, 26741, 26941, "California I"},
    {18, 402, 26742, 26942, "California II"},
    {19, 403, 26743, 26943, "California III"},
    {20, 404, 26744, 26944, "California IV"},
    {21, 405, 26745, 26945, "California V"},
    {22, 406, 26746, 26946, "California VI"},
    {23, 407, 26747, 0, "California VII"},
    {24, 501, 26753, 26953, "Colorado North"},
    {25, 502, 26754, 26954, "Colorado Central"},
    {26, 503, 26755, 26955, "Colorado South"},
    {27, 600, 26756, 26956, "Connecticut"},
    {28, 700, 26757, 26957, "Delaware"},
    {29, 903, 26760, 26960, "Florida North"},
    {30, 901, 26758, 26958, "Florida East"},
    {31, 902, 26759, 26959, "Florida West"},
    {32, 1001, 26766, 26966, "Georgia East"},
    {33, 1002, 26767, 26967, "Georgia West"},
    {34, 5400, 0, 0, "Guam Island"},
    {35, 5101, 26761, 26961, "Hawaii 1"},
    {36, 5102, 26762, 26962, "Hawaii 2"},
    {37, 5103, 26763, 26963, "Hawaii 3"},
    {38, 5104, 26764, 26964, "Hawaii 4"},
    {39, 5105, 26765, 26965, "Hawaii 5"},
    {40, 1101, 26768, 26968, "Idaho East"},
    {41, 1102, 26769, 26969, "Idaho Central"},
    {42, 1103, 26770, 26970, "Idaho West"},
    {43, 1201, 26771, 26971, "Illinois East"},
    {44, 1202, 26772, 26972, "Illinois West"},
    {45, 1301, 26773, 26973, "Indiana East"},
    {46, 1302, 26774, 26974, "Indiana West"},
    {47, 1401, 26775, 26975, "Iowa North"},
    {48, 1402, 26776, 26976, "Iowa South"},
    {49, 1501, 26777, 26977, "Kansas North"},
    {50, 1502, 26778, 26978, "Kansas South"},
    {51, 1601, 26779, 26979, "Kentucky North"},
    {52, 1602, 26780, 26980, "Kentucky South"},
    {53, 1701, 26781, 26981, "Louisiana North"},
    {54, 1702, 26782, 26982, "Louisiana South"},
    {55, 1703, 0, 0, "Louisiana Offshore"},
    {56, 1801, 26783, 26983, "Maine East"},
    {57, 1802, 26784, 26984, "Maine West"},
    {58, 1900, 26785, 26985, "Maryland"},
    {59, 2001, 26786, 26986, "Massachusetts Mainland"},
    {60, 2002, 26787, 26987, "Massachusetts Island"},
    {61, 2101, 26801, 0, "Michigan East (old)"},
    {62, 2102, 26802, 0, "Michigan Central (old)"},
    {63, 2103, 26803, 0, "Michigan West (old)"},
    {64, 2111, 26788, 26988, "Michigan North"},
    {65, 2112, 26789, 26989, "Michigan Central"},
    {66, 2113, 26790, 26990, "Michigan South"},
    {67, 2201, 26791, 26991, "Minnesota North"},
    {68, 2202, 26792, 26992, "Minnesota Central"},
    {69, 2203, 26793, 26993, "Minnesota South"},
    {70, 2301, 26794, 26994, "Missippippi East"},
    {71, 2302, 26795, 26995, "Missippippi West"},
    {72, 2401, 26796, 26996, "Missouri East"},
    {73, 2402, 26797, 26997, "Missouri Central"},
    {74, 2403, 26798, 26998, "Missouri West"},
    {75, 2500, 0, 32100, "Montana"},
    {76, 2501, 32001, 0, "Montana North"},
    {77, 2502, 32002, 0, "Montana Central"},
    {78, 2503, 32003, 0, "Montana South"},
    {79, 2600, 0, 32104, "Nebraska"},
    {80, 2601, 32005, 0, "Nebraska North"},
    {81, 2602, 32006, 0, "Nebraska South"},
    {82, 2701, 32007, 32107, "Nevada East"},
    {83, 2702, 32008, 32108, "Nevada Central"},
    {84, 2703, 32009, 32109, "Nevada West"},
    {85, 2800, 32010, 32110, "New Hampshire"},
    {86, 2900, 32011, 32111, "New Jersey"},
    {87, 3001, 32012, 32112, "New Mexico East"},
    {88, 3002, 32013, 32113, "New Mexico Central"},
    {89, 3003, 32014, 32114, "New Mexico West"},
    {90, 3101, 32015, 32115, "New York East"},
    {91, 3102, 32016, 32116, "New York Central"},
    {92, 3103, 32017, 32117, "New York West"},
    {93, 3104, 32018, 32118, "New York Long Island"},
    {94, 3200, 32019, 32119, "North Carolina"},
    {95, 3301, 32020, 32120, "North Dakota North"},
    {96, 3302, 32021, 32121, "North Dakota South"},
    {97, 3401, 32022, 32122, "Ohio North"},
    {98, 3402, 32023, 32123, "Ohio South"},
    {99, 3501, 32024, 32124, "Oklahoma North"},
    {100, 3502, 32025, 32125, "Oklahoma South"},
    {101, 3601, 32026, 32126, "Oregon North"},
    {102, 3602, 32027, 32127, "Oregon South"},
    {103, 3701, 32028, 32128, "Pennsylvania North"},
    {104, 3702, 32029, 32129, "Pennsylvania South"},
    {105, 5200, 0, 0, "Puerto Rico and Virgin Islands (1983)"},
    {106, 5201, 32059, 0, "Puerto Rico and Virgin Islands (1927)"},
    {107, 5202, 32060, 32161, "Virgin Islands St. Croix (1927)"},
    {108, 3800, 32030, 32130, "Rhode Island"},
    {109, 5300, 0, 0, "American Samoa"},
    {110, 3900, 0, 32133, "South Carolina"},
    {111, 3901, 32031, 32133, "South Carolina North"},
    {112, 3902, 32033, 32133, "South Carolina South"},
    {113, 4001, 32034, 32134, "South Dakota North"},
    {114, 4002, 32035, 32135, "South Dakota South"},
    {115, 4100, 32036, 32136, "Tennessee"},
    {116, 4201, 32037, 32137, "Texas North"},
    {117, 4202, 32038, 32138, "Texas North Central"},
    {118, 4203, 32039, 32139, "Texas Central"},
    {119, 4204, 32040, 32140, "Texas South Central"},
    {120, 4205, 32041, 32141, "Texas South"},
    {121, 4301, 32042, 32142, "Utah North"},
    {122, 4302, 32043, 32143, "Utah Central"},
    {123, 4303, 32044, 32144, "Utah South"},
    {124, 4400, 32045, 32145, "Vermont"},
    {125, 4501, 32046, 32146, "Virginia North"},
    {126, 4502, 32047, 32147, "Virginia South"},
    {127, 4601, 32048, 32148, "Washington North"},
    {128, 4602, 32049, 32149, "Washington South"},
    {129, 4701, 32050, 32150, "West Virginia North"},
    {130, 4702, 32051, 32151, "West Virginia South"},
    {131, 4801, 32052, 32152, "Wisconsin North"},
    {132, 4802, 32053, 32153, "Wisconsin Central"},
    {133, 4803, 32054, 32154, "Wisconsin South"},
    {134, 4901, 32055, 32155, "Wyoming East"},
    {135, 4902, 32056, 32156, "Wyoming East Central"},
    {136, 4903, 32057, 32157, "Wyoming West Central"},
    {137, 4904, 32058, 32158, "Wyoming West"},
    {138, 0, 0, 0, "Great Lakes Survey 1"},
    {139, 0, 0, 0, "Great Lakes Survey 2"},
    {140, 0, 0, 0, "Great Lakes Survey 3"},
    {141, 0, 0, 0, "Great Lakes Survey 4"},
    {142, -1, 0, 0, ""},
};

constexpr ZoneDef kNad27Zones[] = {
    TM(0, kClarke, "-85d50'", "30d30'", 0.99996, 152400.3048006096, 0),  // Alabama East
    TM(1, kClarke, "-87d30'", "30", 0.999933333, 152400.3048006096, 0),  // Alabama West
    HOM_ALPHA(2, kClarke, "-133d40'", "57", "-36d52'11.6315", 0.9999, 818585.5672270928, 575219.2451072643),  // Alaska 1
    TM(3, kClarke, "-142", "54", 0.9999, 152400.3048006096, 0),  // Alaska 2
    TM(4, kClarke, "-146", "54", 0.9999, 152400.3048006096, 0),  // Alaska 3
    TM(5, kClarke, "-150", "54", 0.9999, 152400.3048006096, 0),  // Alaska 4
    TM(6, kClarke, "-154", "54", 0.9999, 152400.3048006096, 0),  // Alaska 5
    TM(7, kClarke, "-158", "54", 0.9999, 152400.3048006096, 0),  // Alaska 6
    TM(8, kClarke, "-162", "54", 0.9999, 213360.42672085343, 0),  // Alaska 7
    TM(9, kClarke, "-166", "54", 0.9999, 152400.3048006096, 0),  // Alaska 8
    TM(10, kClarke, "-170", "54", 0.9999, 182880.3657607315, 0),  // Alaska 9
    LCC(11, kClarke, "-176", "51", "53d50'", "51d50'", 914401.8288036576, 0),  // Alaska 10
    TM(12, kClarke, "-110d10'", "31", 0.9999, 152400.3048006096, 0),  // Arizona East
    TM(13, kClarke, "-111d55'", "31", 0.9999, 152400.3048006096, 0),  // Arizona Central
    TM(14, kClarke, "-113d45'", "31", 0.999933333, 152400.3048006096, 0),  // Arizona West
    LCC(15, kClarke, "-92", "34d20'", "36d14'", "34d56'", 609601.2192024384, 0),  // Arkansas North
    LCC(16, kClarke, "-92", "32d40'", "34d46'", "33d18'", 609601.2192024384, 0),  // Arkansas South
    LCC(17, kClarke, "-122", "39d20'", "41d40'", "40", 609601.2192024384, 0),  // California I
    LCC(18, kClarke, "-122", "37d40'", "39d50'", "38d20'", 609601.2192024384, 0),  // California II
    LCC(19, kClarke, "-120d30'", "36d30'", "38d26'", "37d04'", 609601.2192024384, 0),  // California III
    LCC(20, kClarke, "-119", "35d20'", "37d15'", "36", 609601.2192024384, 0),  // California IV
    LCC(21, kClarke, "-118", "33d30'", "35d28'", "34d02'", 609601.2192024384, 0),  // California V
    LCC(22, kClarke, "-116d15'", "32d10'", "33d53'", "32d47'", 609601.2192024384, 0),  // California VI
    LCC(23, kClarke, "-118d20'", "34d08'", "34d25'", "33d52'", 1276106.4505969011, 1268253.0068580138),  // California VII
    LCC(24, kClarke, "-105d30'", "39d20'", "40d47'", "39d43'", 609601.2192024384, 0),  // Colorado North
    LCC(25, kClarke, "-105d30'", "37d50'", "39d45'", "38d27'", 609601.2192024384, 0),  // Colorado Central
    LCC(26, kClarke, "-105d30'", "36d40'", "38d26'", "37d14'", 609601.2192024384, 0),  // Colorado South
    LCC(27, kClarke, "-72d45'", "40d50'", "41d52'", "41d12'", 182880.3657607315, 0),  // Connecticut
    TM(28, kClarke, "-75d25'", "38", 0.999995, 152400.3048006096, 0),  // Delaware
    LCC(29, kClarke, "-84d30'", "29", "30d45'", "29d35'", 609601.2192024384, 0),  // Florida North
    TM(30, kClarke, "-81", "24d20'", 0.999941177, 152400.3048006096, 0),  // Florida East
    TM(31, kClarke, "-82", "24d20'", 0.999941177, 152400.3048006096, 0),  // Florida West
    TM(32, kClarke, "-82d10'", "30", 0.9999, 152400.3048006096, 0),  // Georgia East
    TM(33, kClarke, "-84d10'", "30", 0.9999, 152400.3048006096, 0),  // Georgia West
    POLY(34, kClarke, "144d44'55.50254", "13d28'20.87887", 50000, 50000),  // Guam Island
    TM(35, kClarke, "-155d30'", "18d50'", 0.999966667, 152400.3048006096, 0),  // Hawaii 1
    TM(36, kClarke, "-156d40'", "20d20'", 0.999966667, 152400.3048006096, 0),  // Hawaii 2
    TM(37, kClarke, "-158", "21d10'", 0.99999, 152400.3048006096, 0),  // Hawaii 3
    TM(38, kClarke, "-159d30'", "21d50'", 0.99999, 152400.3048006096, 0),  // Hawaii 4
    TM(39, kClarke, "-160d10'", "21d40'", 1, 152400.3048006096, 0),  // Hawaii 5
    TM(40, kClarke, "-112d10'", "41d40'", 0.999947368, 152400.3048006096, 0),  // Idaho East
    TM(41, kClarke, "-114", "41d40'", 0.999947368, 152400.3048006096, 0),  // Idaho Central
    TM(42, kClarke, "-115d45'", "41d40'", 0.999933333, 152400.3048006096, 0),  // Idaho West
    TM(43, kClarke, "-88d20'", "36d40'", 0.999975, 152400.3048006096, 0),  // Illinois East
    TM(44, kClarke, "-90d10'", "36d40'", 0.999941177, 152400.3048006096, 0),  // Illinois West
    TM(45, kClarke, "-85d40'", "37d30'", 0.999966667, 152400.3048006096, 0),  // Indiana East
    TM(46, kClarke, "-87d05'", "37d30'", 0.999966667, 152400.3048006096, 0),  // Indiana West
    LCC(47, kClarke, "-93d30'", "41d30'", "43d16'", "42d04'", 609601.2192024384, 0),  // Iowa North
    LCC(48, kClarke, "-93d30'", "40", "41d47'", "40d37'", 609601.2192024384, 0),  // Iowa South
    LCC(49, kClarke, "-98", "38d20'", "39d47'", "38d43'", 609601.2192024384, 0),  // Kansas North
    LCC(50, kClarke, "-98d30'", "36d40'", "38d34'", "37d16'", 609601.2192024384, 0),  // Kansas South
    LCC(51, kClarke, "-84d15'", "37d30'", "38d58'", "37d58'", 609601.2192024384, 0),  // Kentucky North
    LCC(52, kClarke, "-85d45'", "36d20'", "37d56'", "36d44'", 609601.2192024384, 0),  // Kentucky South
    LCC(53, kClarke, "-92d30'", "30d40'", "32d40'", "31d10'", 609601.2192024384, 0),  // Louisiana North
    LCC(54, kClarke, "-91d20'", "28d40'", "30d42'", "29d18'", 609601.2192024384, 0),  // Louisiana South
    LCC(55, kClarke, "-91d20'", "25d40'", "27d50'", "26d10'", 609601.2192024384, 0),  // Louisiana Offshore
    TM(56, kClarke, "-68d30'", "43d50'", 0.9999, 152400.3048006096, 0),  // Maine East
    TM(57, kClarke, "-70d10'", "42d50'", 0.999966667, 152400.3048006096, 0),  // Maine West
    LCC(58, kClarke, "-77", "37d50'", "39d27'", "38d18'", 243840.48768097535, 0),  // Maryland
    LCC(59, kClarke, "-71d30'", "41", "42d41'", "41d43'", 182880.3657607315, 0),  // Massachusetts Mainland
    LCC(60, kClarke, "-70d30'", "41", "41d29'", "41d17'", 60960.12192024384, 0),  // Massachusetts Island
    TM(61, kClarke, "-83d40'", "41d30'", 0.999942857, 152400.3048006096, 0),  // Michigan East (old)
    TM(62, kClarke, "-85d45'", "41d30'", 0.999909091, 152400.3048006096, 0),  // Michigan Central (old)
    TM(63, kClarke, "-88d45'", "41d30'", 0.999909091, 152400.3048006096, 0),  // Michigan West (old)
    LCC(64, kMichigan, "-87", "44d47", "47d05", "45d29", 609601.2192024384, 0),  // Michigan North
    LCC(65, kMichigan, "-84d20", "43d19", "45d42", "44d11", 609601.2192024384, 0),  // Michigan Central
    LCC(66, kMichigan, "-84d20", "41d30", "43d40", "42d06", 609601.2192024384, 0),  // Michigan South
    LCC(67, kClarke, "-93d06'", "46d30'", "48d38'", "47d02'", 609601.2192024384, 0),  // Minnesota North
    LCC(68, kClarke, "-94d15'", "45", "47d03'", "45d37'", 609601.2192024384, 0),  // Minnesota Central
    LCC(69, kClarke, "-94", "43", "45d13'", "43d47'", 609601.2192024384, 0),  // Minnesota South
    TM(70, kClarke, "-88d50'", "29d40'", 0.99996, 152400.3048006096, 0),  // Missippippi East
    TM(71, kClarke, "-90d20'", "30d30'", 0.999941177, 152400.3048006096, 0),  // Missippippi West
    TM(72, kClarke, "-90d30'", "35d50'", 0.999933333, 152400.3048006096, 0),  // Missouri East
    TM(73, kClarke, "-92d30'", "35d50'", 0.999933333, 152400.3048006096, 0),  // Missouri Central
    TM(74, kClarke, "-94d30'", "36d10'", 0.999941177, 152400.3048006096, 0),  // Missouri West
    LCC(76, kClarke, "-109d30'", "47", "48d43'", "47d51'", 609601.2192024384, 0),  // Montana North
    LCC(77, kClarke, "-109d30'", "45d50'", "47d53'", "46d27'", 609601.2192024384, 0),  // Montana Central
    LCC(78, kClarke, "-109d30'", "44", "46d24'", "44d52'", 609601.2192024384, 0),  // Montana South
    LCC(80, kClarke, "-100", "41d20'", "42d49'", "41d51'", 609601.2192024384, 0),  // Nebraska North
    LCC(81, kClarke, "-99d30'", "39d40'", "41d43'", "40d17'", 609601.2192024384, 0),  // Nebraska South
    TM(82, kClarke, "-115d35'", "34d45'", 0.9999, 152400.3048006096, 0),  // Nevada East
    TM(83, kClarke, "-116d40'", "34d45'", 0.9999, 152400.3048006096, 0),  // Nevada Central
    TM(84, kClarke, "-118d35'", "34d45'", 0.9999, 152400.3048006096, 0),  // Nevada West
    TM(85, kClarke, "-71d40'", "42d30'", 0.999966667, 152400.3048006096, 0),  // New Hampshire
    TM(86, kClarke, "-74d40'", "38d50'", 0.999975, 609601.2192024384, 0),  // New Jersey
    TM(87, kClarke, "-104d20'", "31", 0.999909091, 152400.3048006096, 0),  // New Mexico East
    TM(88, kClarke, "-106d15'", "31", 0.9999, 152400.3048006096, 0),  // New Mexico Central
    TM(89, kClarke, "-107d50'", "31", 0.999916667, 152400.3048006096, 0),  // New Mexico West
    TM(90, kClarke, "-74d20'", "40", 0.999966667, 152400.3048006096, 0),  // New York East
    TM(91, kClarke, "-76d35'", "40", 0.9999375, 152400.3048006096, 0),  // New York Central
    TM(92, kClarke, "-78d35'", "40", 0.9999375, 152400.3048006096, 0),  // New York West
    LCC(93, kClarke, "-74", "40d30'", "41d02'", "40d40'", 609601.2192024384, 30480.06096012192),  // New York Long Island
    LCC(94, kClarke, "-79", "33d45'", "36d10'", "34d20'", 609601.2192024384, 0),  // North Carolina
    LCC(95, kClarke, "-100d30'", "47", "48d44'", "47d26'", 609601.2192024384, 0),  // North Dakota North
    LCC(96, kClarke, "-100d30'", "45d40'", "47d29'", "46d11'", 609601.2192024384, 0),  // North Dakota South
    LCC(97, kClarke, "-82d30'", "39d40'", "41d42'", "40d26'", 609601.2192024384, 0),  // Ohio North
    LCC(98, kClarke, "-82d30'", "38", "40d02'", "38d44'", 609601.2192024384, 0),  // Ohio South
    LCC(99, kClarke, "-98", "35", "36d46'", "35d34'", 609601.2192024384, 0),  // Oklahoma North
    LCC(100, kClarke, "-98", "33d20'", "35d14'", "33d56'", 609601.2192024384, 0),  // Oklahoma South
    LCC(101, kClarke, "-120d30'", "43d40'", "46", "44d20'", 609601.2192024384, 0),  // Oregon North
    LCC(102, kClarke, "-120d30'", "41d40'", "44", "42d20'", 609601.2192024384, 0),  // Oregon South
    LCC(103, kClarke, "-77d45'", "40d10'", "41d57'", "40d53'", 609601.2192024384, 0),  // Pennsylvania North
    LCC(104, kClarke, "-77d45'", "39d20'", "40d58'", "39d56'", 609601.2192024384, 0),  // Pennsylvania South
    LCC(106, kClarke, "-66d26'", "17d50'", "18d26'", "18d02'", 152400.3048006096, 0),  // Puerto Rico and Virgin Islands (1927)
    LCC(107, kClarke, "-66d26'", "17d50'", "18d26'", "18d02'", 152400.3048006096, 30480.06096012192),  // Virgin Islands St. Croix (1927)
    TM(108, kClarke, "-71d30'", "41d05'", 0.9999938, 152400.3048006096, 0),  // Rhode Island
    LCC(109, kClarke, "-170", "-14d16'", "-14d16'01", "-14d15'59", 152400.3048006096, 95169.31165862332),  // American Samoa
    LCC(111, kClarke, "-81", "33", "34d58'", "33d46'", 609601.2192024384, 0),  // South Carolina North
    LCC(112, kClarke, "-81", "31d50'", "33d40'", "32d20'", 609601.2192024384, 0),  // South Carolina South
    LCC(113, kClarke, "-100", "43d50'", "45d41'", "44d25'", 609601.2192024384, 0),  // South Dakota North
    LCC(114, kClarke, "-100d20'", "42d20'", "44d24'", "42d50'", 609601.2192024384, 0),  // South Dakota South
    LCC(115, kClarke, "-86", "34d40'", "36d25'", "35d15'", 609601.2192024384, 30480.06096012192),  // Tennessee
    LCC(116, kClarke, "-101d30'", "34", "36d11'", "34d39'", 609601.2192024384, 0),  // Texas North
    LCC(117, kClarke, "-97d30'", "31d40'", "33d58'", "32d08'", 609601.2192024384, 0),  // Texas North Central
    LCC(118, kClarke, "-100d20'", "29d40'", "31d53'", "30d07'", 609601.2192024384, 0),  // Texas Central
    LCC(119, kClarke, "-99", "27d50'", "30d17'", "28d23'", 609601.2192024384, 0),  // Texas South Central
    LCC(120, kClarke, "-98d30'", "25d40'", "27d50'", "26d10'", 609601.2192024384, 0),  // Texas South
    LCC(121, kClarke, "-111d30'", "40d20'", "41d47'", "40d43'", 609601.2192024384, 0),  // Utah North
    LCC(122, kClarke, "-111d30'", "38d20'", "40d39'", "39d01'", 609601.2192024384, 0),  // Utah Central
    LCC(123, kClarke, "-111d30'", "36d40'", "38d21'", "37d13'", 609601.2192024384, 0),  // Utah South
    TM(124, kClarke, "-72d30'", "42d30'", 0.999964286, 152400.3048006096, 0),  // Vermont
    LCC(125, kClarke, "-78d30'", "37d40'", "39d12'", "38d02'", 609601.2192024384, 0),  // Virginia North
    LCC(126, kClarke, "-78d30'", "36d20'", "37d58'", "36d46'", 609601.2192024384, 0),  // Virginia South
    LCC(127, kClarke, "-120d50'", "47", "48d44'", "47d30'", 609601.2192024384, 0),  // Washington North
    LCC(128, kClarke, "-120d30'", "45d20'", "47d20'", "45d50'", 609601.2192024384, 0),  // Washington South
    LCC(129, kClarke, "-79d30'", "38d30'", "40d15'", "39", 609601.2192024384, 0),  // West Virginia North
    LCC(130, kClarke, "-81", "37", "38d53'", "37d29'", 609601.2192024384, 0),  // West Virginia South
    LCC(131, kClarke, "-90", "45d10'", "46d46'", "45d34'", 609601.2192024384, 0),  // Wisconsin North
    LCC(132, kClarke, "-90", "43d50'", "45d30'", "44d15'", 609601.2192024384, 0),  // Wisconsin Central
    LCC(133, kClarke, "-90", "42", "44d04'", "42d44'", 609601.2192024384, 0),  // Wisconsin South
    TM(134, kClarke, "-105d10'", "40d40'", 0.999941177, 152400.3048006096, 0),  // Wyoming East
    TM(135, kClarke, "-107d20'", "40d40'", 0.999941177, 152400.3048006096, 0),  // Wyoming East Central
    TM(136, kClarke, "-108d45'", "40d40'", 0.999941177, 152400.3048006096, 0),  // Wyoming West Central
    TM(137, kClarke, "-110d05'", "40d40'", 0.999941177, 152400.3048006096, 0),  // Wyoming West
    HOM(138, kClarke, "78", "44", "55d40", 0.9999, -3950000, -3430000),  // Great Lakes Survey 1
    HOM(139, kClarke, "82d30", "43", "35d37", 0.9999, 1200000, -3500000),  // Great Lakes Survey 2
    HOM(140, kClarke, "87", "44", "15", 0.9999, -1000000, -4300000),  // Great Lakes Survey 3
    HOM(141, kClarke, "88d50'0.256", "47d12'21.554", "285d41'42.593", 0.9999, 9000000, -1600000),  // Great Lakes Survey 4
};

constexpr ZoneDef kNad83Zones[] = {
    TM(0, kGrs80, "-85D50", "30D30", 0.99996, 200000, 0),  // Alabama East
    TM(1, kGrs80, "-87D30", "30", 0.999933333, 600000, 0),  // Alabama West
    HOM_ALPHA(2, kGrs80, "-133d40'", "57", "-36d52'11.6315", 0.9999, 818676.7344011232, 575097.6888751927),  // Alaska 1
    TM(3, kGrs80, "-142", "54", 0.9999, 500000, 0),  // Alaska 2
    TM(4, kGrs80, "-146", "54", 0.9999, 500000, 0),  // Alaska 3
    TM(5, kGrs80, "-150", "54", 0.9999, 500000, 0),  // Alaska 4
    TM(6, kGrs80, "-154", "54", 0.9999, 500000, 0),  // Alaska 5
    TM(7, kGrs80, "-158", "54", 0.9999, 500000, 0),  // Alaska 6
    TM(8, kGrs80, "-162", "54", 0.9999, 500000, 0),  // Alaska 7
    TM(9, kGrs80, "-166", "54", 0.9999, 500000, 0),  // Alaska 8
    TM(10, kGrs80, "-170", "54", 0.9999, 500000, 0),  // Alaska 9
    LCC(11, kGrs80, "-176", "51", "53D50", "51D50", 1000000, 0),  // Alaska 10
    TM(12, kGrs80, "-110D10", "31", 0.9999, 213360, 0),  // Arizona East
    TM(13, kGrs80, "-111D55", "31", 0.9999, 213360, 0),  // Arizona Central
    TM(14, kGrs80, "-113D45", "31", 0.999933333, 213360, 0),  // Arizona West
    LCC(15, kGrs80, "-92", "34D20", "36D14", "34D56", 400000, 0),  // Arkansas North
    LCC(16, kGrs80, "-92", "32D40", "34D46", "33D18", 400000, 400000),  // Arkansas South
    LCC(17, kGrs80, "-122", "39D20", "41D40", "40", 2000000, 500000),  // California I
    LCC(18, kGrs80, "-122", "37D40", "39D50", "38D20", 2000000, 500000),  // California II
    LCC(19, kGrs80, "-120D30", "36D30", "38D26", "37D04", 2000000, 500000),  // California III
    LCC(20, kGrs80, "-119", "35D20", "37D15", "36", 2000000, 500000),  // California IV
    LCC(21, kGrs80, "-118", "33D30", "35D28", "34D02", 2000000, 500000),  // California V
    LCC(22, kGrs80, "-116D15", "32D10", "33D53", "32D47", 2000000, 500000),  // California VI
    LCC(24, kGrs80, "-105D30", "39D20", "40D47", "39D43", 914401.8289, 304800.6096),  // Colorado North
    LCC(25, kGrs80, "-105D30", "37D50", "39D45", "38D27", 914401.8289, 304800.6096),  // Colorado Central
    LCC(26, kGrs80, "-105D30", "36D40", "38D26", "37D14", 914401.8289, 304800.6096),  // Colorado South
    LCC(27, kGrs80, "-72D45", "40D50", "41D52", "41D12", 304800.6096, 152400.3048),  // Connecticut
    TM(28, kGrs80, "-75D25", "38", 0.999995, 200000, 0),  // Delaware
    LCC(29, kGrs80, "-84D30", "29", "30D45", "29D35", 600000, 0),  // Florida North
    TM(30, kGrs80, "-81", "24D20", 0.999941177, 200000, 0),  // Florida East
    TM(31, kGrs80, "-82", "24D20", 0.999941177, 200000, 0),  // Florida West
    TM(32, kGrs80, "-82D10", "30", 0.9999, 200000, 0),  // Georgia East
    TM(33, kGrs80, "-84D10", "30", 0.9999, 700000, 0),  // Georgia West
    TM(35, kGrs80, "-155D30", "18D50", 0.999966667, 500000, 0),  // Hawaii 1
    TM(36, kGrs80, "-156D40", "20D20", 0.999966667, 500000, 0),  // Hawaii 2
    TM(37, kGrs80, "-158", "21D10", 0.99999, 500000, 0),  // Hawaii 3
    TM(38, kGrs80, "-159D30", "21D50", 0.99999, 500000, 0),  // Hawaii 4
    TM(39, kGrs80, "-160D10", "21D40", 1, 500000, 0),  // Hawaii 5
    TM(40, kGrs80, "-112D10", "41D40", 0.999947368, 200000, 0),  // Idaho East
    TM(41, kGrs80, "-114", "41D40", 0.999947368, 500000, 0),  // Idaho Central
    TM(42, kGrs80, "-115D45", "41D40", 0.999933333, 800000, 0),  // Idaho West
    TM(43, kGrs80, "-88D20", "36D40", 0.999975, 300000, 0),  // Illinois East
    TM(44, kGrs80, "-90D10", "36D40", 0.999941177, 700000, 0),  // Illinois West
    TM(45, kGrs80, "-85D40", "37D30", 0.999966667, 100000, 250000),  // Indiana East
    TM(46, kGrs80, "-87D05", "37D30", 0.999966667, 900000, 250000),  // Indiana West
    LCC(47, kGrs80, "-93D30", "41D30", "43D16", "42D04", 1500000, 1000000),  // Iowa North
    LCC(48, kGrs80, "-93D30", "40", "41D47", "40D37", 500000, 0),  // Iowa South
    LCC(49, kGrs80, "-98", "38D20", "39D47", "38D43", 400000, 0),  // Kansas North
    LCC(50, kGrs80, "-98D30", "36D40", "38D34", "37D16", 400000, 400000),  // Kansas South
    LCC(51, kGrs80, "-84D15", "37D30", "38D58", "37D58", 500000, 0),  // Kentucky North
    LCC(52, kGrs80, "-85D45", "36D20", "37D56", "36D44", 500000, 500000),  // Kentucky South
    LCC(53, kGrs80, "-92D30", "30D30", "32D40", "31D10", 1000000, 0),  // Louisiana North
    LCC(54, kGrs80, "-91D20", "28D30", "30D42", "29D18", 1000000, 0),  // Louisiana South
    LCC(55, kGrs80, "-91D20", "25D30", "27D50", "26D10", 1000000, 0),  // Louisiana Offshore
    TM(56, kGrs80, "-68D30", "43D40", 0.9999, 300000, 0),  // Maine East
    TM(57, kGrs80, "-70D10", "42D50", 0.999966667, 900000, 0),  // Maine West
    LCC(58, kGrs80, "-77", "37D40", "39D27", "38D18", 400000, 0),  // Maryland
    LCC(59, kGrs80, "-71D30", "41", "42D41", "41D43", 200000, 750000),  // Massachusetts Mainland
    LCC(60, kGrs80, "-70D30", "41", "41D29", "41D17", 500000, 0),  // Massachusetts Island
    LCC(64, kGrs80, "-87", "44D47", "47D05", "45D29", 8000000, 0),  // Michigan North
    LCC(65, kGrs80, "-84D22", "43D19", "45D42", "44D11", 6000000, 0),  // Michigan Central
    LCC(66, kGrs80, "-84D22", "41D30", "43D40", "42D06", 4000000, 0),  // Michigan South
    LCC(67, kGrs80, "-93D06", "46D30", "48D38", "47D02", 800000, 100000),  // Minnesota North
    LCC(68, kGrs80, "-94D15", "45", "47D03", "45D37", 800000, 100000),  // Minnesota Central
    LCC(69, kGrs80, "-94", "43", "45D13", "43D47", 800000, 100000),  // Minnesota South
    TM(70, kGrs80, "-88D50", "29D30", 0.99995, 300000, 0),  // Missippippi East
    TM(71, kGrs80, "-90D20", "29D30", 0.99995, 700000, 0),  // Missippippi West
    TM(72, kGrs80, "-90D30", "35D50", 0.999933333, 250000, 0),  // Missouri East
    TM(73, kGrs80, "-92D30", "35D50", 0.999933333, 500000, 0),  // Missouri Central
    TM(74, kGrs80, "-94D30", "36D10", 0.999941177, 850000, 0),  // Missouri West
    LCC(75, kGrs80, "-109D30", "44D15", "49", "45", 600000, 0),  // Montana
    LCC(79, kGrs80, "-100", "39D50", "43", "40", 500000, 0),  // Nebraska
    TM(82, kGrs80, "-115D35", "34D45", 0.9999, 200000, 8000000),  // Nevada East
    TM(83, kGrs80, "-116D40", "34D45", 0.9999, 500000, 6000000),  // Nevada Central
    TM(84, kGrs80, "-118D35", "34D45", 0.9999, 800000, 4000000),  // Nevada West
    TM(85, kGrs80, "-71D40", "42D30", 0.999966667, 300000, 0),  // New Hampshire
    TM(86, kGrs80, "-74D30", "38D50", 0.9999, 150000, 0),  // New Jersey
    TM(87, kGrs80, "-104D20", "31", 0.999909091, 165000, 0),  // New Mexico East
    TM(88, kGrs80, "-106D15", "31", 0.9999, 500000, 0),  // New Mexico Central
    TM(89, kGrs80, "-107D50", "31", 0.999916667, 830000, 0),  // New Mexico West
    TM(90, kGrs80, "-74D30", "38D50", 0.9999, 150000, 0),  // New York East
    TM(91, kGrs80, "-76D35", "40", 0.9999375, 250000, 0),  // New York Central
    TM(92, kGrs80, "-78D35", "40", 0.9999375, 350000, 0),  // New York West
    LCC(93, kGrs80, "-74", "40D10", "41D02", "40D40", 300000, 0),  // New York Long Island
    LCC(94, kGrs80, "-79", "33D45", "36D10", "34D20", 609601.22, 0),  // North Carolina
    LCC(95, kGrs80, "-100D30", "47", "48D44", "47D26", 600000, 0),  // North Dakota North
    LCC(96, kGrs80, "-100D30", "45D40", "47D29", "46D11", 600000, 0),  // North Dakota South
    LCC(97, kGrs80, "-82D30", "39D40", "41D42", "40D26", 600000, 0),  // Ohio North
    LCC(98, kGrs80, "-82D30", "38", "40D02", "38D44", 600000, 0),  // Ohio South
    LCC(99, kGrs80, "-98", "35", "36D46", "35D34", 600000, 0),  // Oklahoma North
    LCC(100, kGrs80, "-98", "33D20", "35D14", "33D56", 600000, 0),  // Oklahoma South
    LCC(101, kGrs80, "-120D30", "43D40", "46", "44D20", 2500000, 0),  // Oregon North
    LCC(102, kGrs80, "-120D30", "41D40", "44", "42D20", 1500000, 0),  // Oregon South
    LCC(103, kGrs80, "-77D45", "40D10", "41D57", "40D53", 600000, 0),  // Pennsylvania North
    LCC(104, kGrs80, "-77D45", "39D20", "40D58", "39D56", 600000, 0),  // Pennsylvania South
    LCC(105, kGrs80, "-66D26", "17D50", "18D26", "18D02", 200000, 200000),  // Puerto Rico and Virgin Islands (1983)
    TM(108, kGrs80, "-71D30", "41D05", 0.99999375, 100000, 0),  // Rhode Island
    LCC(110, kGrs80, "-81", "31D50", "34D50", "32D30", 609600, 0),  // South Carolina
    LCC(113, kGrs80, "-100", "43D50", "45D41", "44D25", 600000, 0),  // South Dakota North
    LCC(114, kGrs80, "-100D20", "42D20", "44D24", "42D50", 600000, 0),  // South Dakota South
    LCC(115, kGrs80, "-86", "34D20", "36D25", "35D15", 600000, 0),  // Tennessee
    LCC(116, kGrs80, "-101D30", "34", "36D11", "34D39", 200000, 1000000),  // Texas North
    LCC(117, kGrs80, "-98D30", "31D40", "33D58", "32D08", 600000, 2000000),  // Texas North Central
    LCC(118, kGrs80, "-100D20", "29D40", "31D53", "30D07", 700000, 3000000),  // Texas Central
    LCC(119, kGrs80, "-99", "27D50", "30D17", "28D23", 600000, 4000000),  // Texas South Central
    LCC(120, kGrs80, "-98D30", "25D40", "27D50", "26D10", 300000, 5000000),  // Texas South
    LCC(121, kGrs80, "-111D30", "40D20", "41D47", "40D43", 500000, 1000000),  // Utah North
    LCC(122, kGrs80, "-111D30", "38D20", "40D39", "39D01", 500000, 2000000),  // Utah Central
    LCC(123, kGrs80, "-111D30", "36D40", "38D21", "37D13", 500000, 3000000),  // Utah South
    TM(124, kGrs80, "-72D30", "42D30", 0.999964286, 500000, 0),  // Vermont
    LCC(125, kGrs80, "-78D30", "37D40", "39D12", "38D02", 3500000, 2000000),  // Virginia North
    LCC(126, kGrs80, "-78D30", "36D20", "37D58", "36D46", 3500000, 1000000),  // Virginia South
    LCC(127, kGrs80, "-120D50", "47", "48D44", "47D30", 500000, 0),  // Washington North
    LCC(128, kGrs80, "-120D30", "45D20", "47D20", "45D50", 500000, 0),  // Washington South
    LCC(129, kGrs80, "-79D30", "38D30", "40D15", "39", 600000, 0),  // West Virginia North
    LCC(130, kGrs80, "-81", "37", "38D53", "37D29", 600000, 0),  // West Virginia South
    LCC(131, kGrs80, "-90", "45D10", "46D46", "45D34", 600000, 0),  // Wisconsin North
    LCC(132, kGrs80, "-90", "43D50", "45D30", "44D15", 600000, 0),  // Wisconsin Central
    LCC(133, kGrs80, "-90", "42", "44D04", "42D44", 600000, 0),  // Wisconsin South
    TM(134, kGrs80, "-105D10", "40D30", 0.9999375, 200000, 0),  // Wyoming East
    TM(135, kGrs80, "-107D20", "40D30", 0.9999375, 400000, 100000),  // Wyoming East Central
    TM(136, kGrs80, "-108D45", "40D30", 0.9999375, 600000, 0),  // Wyoming West Central
    TM(137, kGrs80, "-110D05", "40D30", 0.9999375, 800000, 100000),  // Wyoming West
    HOM(138, kClarke, "78", "44", "55d40", 0.9999, -3950000, -3430000),  // Great Lakes Survey 1
    HOM(139, kClarke, "82d30", "43", "350d37", 0.9999, 1200000, -3500000),  // Great Lakes Survey 2
    HOM(140, kClarke, "87", "44", "15", 0.9999, -1000000, -4300000),  // Great Lakes Survey 3
    HOM(141, kClarke, "88d50'0.256", "47d12'21.554", "285d41'42.593", 0.9999, 9000000, -1600000),  // Great Lakes Survey 4
};

// clang-format on

constexpr int kZoneRows = static_cast<int>(sizeof(kZoneTable) / sizeof(kZoneTable[0]));
static_assert(kZoneRows == STATEZONE_COUNT + 1, "one row per zone and the terminator");

constexpr bool RowsInZoneOrder() {
    for (int i = 0; i < kZoneRows; ++i)
        if (kZoneTable[i].zone != i) return false;
    return true;
}
static_assert(RowsInZoneOrder(), "zone table rows are in zone order");

template <size_t N> constexpr bool DefsValid(const ZoneDef (&defs)[N]) {
    for (size_t i = 0; i < N; ++i) {
        if (defs[i].zone < 0 || defs[i].zone >= STATEZONE_COUNT) return false;
        if (i > 0 && defs[i].zone <= defs[i - 1].zone) return false;
    }
    return true;
}
static_assert(DefsValid(kNad27Zones), "NAD 27 entries ascend and name real zones");
static_assert(DefsValid(kNad83Zones), "NAD 83 entries ascend and name real zones");
static_assert(sizeof(kNad27Zones) / sizeof(ZoneDef) == 138, "NAD 27 defines 138 zones");
static_assert(sizeof(kNad83Zones) / sizeof(ZoneDef) == 127, "NAD 83 defines 127 zones");

// Degree text to degrees; a text that the reader refuses counts as 0.
double DegreesOf(const char* text) {
    char buffer[32];
    CopyName(buffer, text, static_cast<int>(sizeof(buffer)));
    double value = 0.0;
    return LatLonToDegrees(buffer, &value, 'd') ? value : 0.0;
}

template <size_t N> const ZoneDef* FindDef(const ZoneDef (&defs)[N], int zone) {
    for (const ZoneDef& def : defs)
        if (def.zone == zone) return &def;
    return nullptr;
}

template <size_t N> bool Build(const ZoneDef (&defs)[N], PROJDATA* data) {
    if (!data) return KV_ASSERT_FAIL();
    data->Lon0 = data->Lat0 = data->Lon1 = data->Lat1 = 0.0;
    data->Lon2 = data->Lat2 = data->xOrg = data->yOrg = data->K0 = 0.0;
    const int zone = static_cast<int>(data->Zone);
    if (zone > STATEZONE_COUNT - 1) return false;
    const ZoneDef* def = FindDef(defs, zone);
    if (!def) return false;

    data->Type = def->type;
    data->Ellipsoid = def->ellipsoid;
    if (def->lon0) data->Lon0 = DegreesOf(def->lon0);
    if (def->lat0) data->Lat0 = DegreesOf(def->lat0);
    if (def->lat1) data->Lat1 = DegreesOf(def->lat1);
    if (def->lat2) data->Lat2 = DegreesOf(def->lat2);
    if (def->lon1) data->Lon1 = DegreesOf(def->lon1);
    if (def->alpha) data->Alpha = DegreesOf(def->alpha);
    if (def->flags & kUseAlpha) data->bUseAlpha = true;
    if (def->flags & kRotate) data->bRotate = true;
    if (def->flags & kUOffset) data->bUOffset = true;
    data->K0 = def->k0;
    data->xOrg = def->xOrg;
    data->yOrg = def->yOrg;
    return true;
}

const ZoneRow* FindRow(int zone) {
    if (zone < 0 || zone >= STATEZONE_COUNT) return nullptr;
    return &kZoneTable[zone];
}

char LowerAscii(char c) {
    return (c >= 'A' && c <= 'Z') ? static_cast<char>(c - 'A' + 'a') : c;
}

bool SameNameIgnoringCase(const char* a, const char* b) {
    for (; *a && *b; ++a, ++b)
        if (LowerAscii(*a) != LowerAscii(*b)) return false;
    return *a == *b;
}

} // namespace

bool StatePlaneBuild27(PROJDATA* data) {
    return Build(kNad27Zones, data);
}

bool StatePlaneBuild83(PROJDATA* data) {
    return Build(kNad83Zones, data);
}

bool StatePlaneBuild(ProjType type, PROJDATA* data) {
    if (type == PT_STATE_PLANE_27) return StatePlaneBuild27(data);
    if (type == PT_STATE_PLANE_83) return StatePlaneBuild83(data);
    return false;
}

const char* StateZoneName(int zone) {
    const ZoneRow* row = FindRow(zone);
    return row ? row->name : "";
}

static void ProjGetStateZoneInfoBody(StateZoneType zone, char* name, int* usgsCode) {
    if (name) name[0] = '\0';
    if (usgsCode) *usgsCode = 0;
    const ZoneRow* row = FindRow(static_cast<int>(zone));
    if (!row) return;
    if (name) CopyName(name, row->name, kStateZoneNameLen);
    if (usgsCode) *usgsCode = row->usgs;
}

static bool ProjGetStateZoneFromNameBody(StateZoneType* zone, char* name) {
    if (!zone || !name || !name[0]) return false;
    *zone = STATEZONE_NONE;
    for (const ZoneRow& row : kZoneTable) {
        if (row.zone >= STATEZONE_COUNT) break;
        if (SameNameIgnoringCase(row.name, name)) {
            *zone = static_cast<StateZoneType>(row.zone);
            return true;
        }
    }
    return false;
}

static bool ProjGetStateZoneFromUSGSCodeBody(StateZoneType* zone, int code) {
    if (!zone || code < 0) return false;
    *zone = STATEZONE_NONE;
    for (const ZoneRow& row : kZoneTable) {
        if (row.usgs == code) {
            *zone = static_cast<StateZoneType>(row.zone);
            return true;
        }
    }
    return false;
}

static void ProjGetStateZoneParamsBody(PROJDATA* data) {
    LogPrintf("ProjGetStateZoneParams(pData=%p)\n", static_cast<const void*>(data));
    if (!data) return;
    const int zone = static_cast<int>(data->Zone);
    bool built = false;
    if (zone >= 0 && zone < STATEZONE_COUNT) built = StatePlaneBuild(data->Type, data);
    if (!built) data->Zone = STATEZONE_NONE;
}

static bool ProjGetStateZoneFromPOSCNumberBody(int code, ProjType* type, StateZoneType* zone) {
    if (code == 0) return false;
    for (const ZoneRow& row : kZoneTable) {
        if (row.zone >= STATEZONE_COUNT) break;
        ProjType found;
        if (row.epsg27 == code)
            found = PT_STATE_PLANE_27;
        else if (row.epsg83 == code)
            found = PT_STATE_PLANE_83;
        else
            continue;
        if (type) *type = found;
        if (zone) *zone = static_cast<StateZoneType>(row.zone);
        return true;
    }
    return false;
}

static bool ProjStateZoneToPOSCNumberBody(ProjType type, StateZoneType zone, int* code) {
    const ZoneRow* row = FindRow(static_cast<int>(zone));
    if (!row) return false;
    int found;
    if (type == PT_STATE_PLANE_27)
        found = row->epsg27;
    else if (type == PT_STATE_PLANE_83)
        found = row->epsg83;
    else
        return false;
    if (found == 0) return false;
    if (code) *code = found;
    return true;
}

// ---------------------------------------------------------------- exported, behind the firewall

void ProjGetStateZoneInfo(StateZoneType zone, char* name, int* usgsCode) {
    KV_GUARDED_VOID([&] { ProjGetStateZoneInfoBody(zone, name, usgsCode); });
}

bool ProjGetStateZoneFromName(StateZoneType* zone, char* name) {
    return KV_GUARDED(false, [&] { return ProjGetStateZoneFromNameBody(zone, name); });
}

bool ProjGetStateZoneFromUSGSCode(StateZoneType* zone, int code) {
    return KV_GUARDED(false, [&] { return ProjGetStateZoneFromUSGSCodeBody(zone, code); });
}

void ProjGetStateZoneParams(PROJDATA* data) {
    KV_GUARDED_VOID([&] { ProjGetStateZoneParamsBody(data); });
}

bool ProjGetStateZoneFromPOSCNumber(int code, ProjType* type, StateZoneType* zone) {
    return KV_GUARDED(false, [&] { return ProjGetStateZoneFromPOSCNumberBody(code, type, zone); });
}

bool ProjStateZoneToPOSCNumber(ProjType type, StateZoneType zone, int* code) {
    return KV_GUARDED(false, [&] { return ProjStateZoneToPOSCNumberBody(type, zone, code); });
}

} // namespace KVProj
