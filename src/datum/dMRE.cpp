// Multiple regression equations of DMA TR 8350.2 (second printing 1987, amended
// 1989): Δφ″ = Σ a(i,j) Uⁱ Vʲ and Δλ″ = Σ b(i,j) Uⁱ Vʲ with U = K (φ - φm) and
// V = K (λ - λm), φ and λ in degrees.
#include "datum/dMRE.h"
#include "frame/Angles.h"
#include "frame/Firewall.h"

#include <array>

namespace KVProj {
namespace {

constexpr int kMaxPower = 9;
constexpr int kFirstId = 224;
constexpr int kDatumCount = 8;
enum Component : int { kLat = 0, kLon = 1 };

struct Term {
    int id;
    Component component;
    int u, v; // powers of U and V
    double coefficient;
};

// The published terms as printed (arcseconds); terms not listed are zero.
// NAD 27 CONUS Δλ U¹V⁹ is 0.04794: three of the four known copies of the
// equations agree on it, the fourth's 0.01794 looks like a transcription slip.
// clang-format off
constexpr Term kTerms[] = {
    // 224 Australian Geodetic 1966, latitude
    {224, kLat, 0, 0, 5.19238},
    {224, kLat, 1, 0, 0.12666},
    {224, kLat, 0, 1, 0.52309},
    {224, kLat, 2, 0, -0.42069},
    {224, kLat, 1, 1, -0.39326},
    {224, kLat, 2, 1, 0.93484},
    {224, kLat, 1, 2, 0.44249},
    {224, kLat, 1, 3, -0.30074},
    {224, kLat, 5, 0, 1.00092},
    {224, kLat, 0, 6, -0.07565},
    {224, kLat, 9, 0, -1.42988},
    {224, kLat, 4, 5, -16.06639},
    {224, kLat, 0, 9, 0.07428},
    {224, kLat, 1, 9, 0.24256},
    {224, kLat, 6, 7, 39.27946},
    {224, kLat, 7, 8, -62.06403},
    {224, kLat, 9, 8, 89.19184},

    // 224 Australian Geodetic 1966, longitude
    {224, kLon, 0, 0, 4.69250},
    {224, kLon, 1, 0, -0.87138},
    {224, kLon, 0, 1, -0.50104},
    {224, kLon, 1, 1, 0.12678},
    {224, kLon, 0, 2, -0.23076},
    {224, kLon, 2, 1, -0.61098},
    {224, kLon, 0, 3, -0.38064},
    {224, kLon, 6, 0, 2.89189},
    {224, kLon, 2, 5, 5.26013},
    {224, kLon, 8, 0, -2.97897},
    {224, kLon, 3, 5, 5.43221},
    {224, kLon, 2, 6, -3.40748},
    {224, kLon, 0, 8, 0.07772},
    {224, kLon, 8, 1, 1.08514},
    {224, kLon, 1, 8, 0.71516},
    {224, kLon, 0, 9, 0.20185},
    {224, kLon, 2, 8, 5.18012},
    {224, kLon, 3, 8, -1.72907},
    {224, kLon, 2, 9, -1.24329},

    // 225 Australian Geodetic 1984, latitude
    {225, kLat, 0, 0, 5.20604},
    {225, kLat, 1, 0, 0.25225},
    {225, kLat, 0, 1, 0.58528},
    {225, kLat, 2, 0, -0.41584},
    {225, kLat, 1, 1, -0.38620},
    {225, kLat, 0, 2, -0.06820},
    {225, kLat, 2, 1, 0.38699},
    {225, kLat, 1, 2, 0.07934},
    {225, kLat, 4, 0, 0.37714},
    {225, kLat, 4, 1, -0.52913},
    {225, kLat, 0, 7, 0.38095},
    {225, kLat, 2, 6, 0.68776},
    {225, kLat, 0, 8, -0.03785},
    {225, kLat, 9, 0, -0.17891},
    {225, kLat, 2, 7, -4.84581},
    {225, kLat, 0, 9, -0.35777},
    {225, kLat, 2, 9, 4.23859},

    // 225 Australian Geodetic 1984, longitude
    {225, kLon, 0, 0, 4.67877},
    {225, kLon, 1, 0, -0.73036},
    {225, kLon, 0, 1, -0.57942},
    {225, kLon, 2, 0, 0.28840},
    {225, kLon, 3, 0, 0.10194},
    {225, kLon, 1, 2, -0.27814},
    {225, kLon, 0, 3, -0.13598},
    {225, kLon, 1, 3, 0.34670},
    {225, kLon, 0, 4, -0.46107},
    {225, kLon, 2, 3, 1.29432},
    {225, kLon, 1, 4, 0.17996},
    {225, kLon, 2, 5, -1.13008},
    {225, kLon, 8, 0, -0.46832},
    {225, kLon, 0, 8, 0.30676},
    {225, kLon, 9, 0, 0.31948},
    {225, kLon, 0, 9, 0.16735},
    {225, kLon, 3, 9, -1.19443},

    // 226 Campo Inchauspe - Argentina, latitude
    {226, kLat, 0, 0, 1.67470},
    {226, kLat, 1, 0, 0.52924},
    {226, kLat, 0, 1, -0.17100},
    {226, kLat, 2, 0, 0.18962},
    {226, kLat, 1, 1, 0.04216},
    {226, kLat, 1, 2, 0.19709},
    {226, kLat, 4, 0, -0.22037},
    {226, kLat, 2, 2, -0.15483},
    {226, kLat, 1, 4, -0.24506},
    {226, kLat, 0, 5, -0.05675},
    {226, kLat, 6, 0, 0.06674},
    {226, kLat, 1, 5, 0.01701},
    {226, kLat, 7, 0, -0.00202},
    {226, kLat, 0, 7, 0.08625},
    {226, kLat, 8, 0, -0.00628},
    {226, kLat, 8, 4, 0.00172},
    {226, kLat, 9, 6, 0.00036},

    // 226 Campo Inchauspe - Argentina, longitude
    {226, kLon, 0, 0, -2.93117},
    {226, kLon, 1, 0, 0.18225},
    {226, kLon, 0, 1, 0.69396},
    {226, kLon, 2, 0, -0.04403},
    {226, kLon, 0, 2, 0.07955},
    {226, kLon, 0, 3, 1.48605},
    {226, kLon, 4, 0, -0.00499},
    {226, kLon, 4, 1, -0.02180},
    {226, kLon, 2, 3, -0.29575},
    {226, kLon, 1, 4, 0.20377},
    {226, kLon, 0, 5, -2.47151},
    {226, kLon, 3, 4, 0.09073},
    {226, kLon, 0, 7, 1.33556},
    {226, kLon, 3, 5, 0.01575},
    {226, kLon, 0, 9, -0.26842},

    // 227 Corrego Alegre - Brazil, latitude
    {227, kLat, 0, 0, -0.84315},
    {227, kLat, 1, 0, 0.74089},
    {227, kLat, 0, 1, -0.21968},
    {227, kLat, 2, 0, -0.98875},
    {227, kLat, 1, 1, 0.89883},
    {227, kLat, 3, 0, 0.42853},
    {227, kLat, 4, 0, 2.73442},
    {227, kLat, 3, 1, -0.34750},
    {227, kLat, 2, 3, 4.69235},
    {227, kLat, 6, 0, -1.87277},
    {227, kLat, 5, 1, 11.06672},
    {227, kLat, 3, 3, -46.24841},
    {227, kLat, 7, 0, -0.92268},
    {227, kLat, 7, 1, -14.26289},
    {227, kLat, 5, 5, 334.33740},
    {227, kLat, 9, 2, -15.68277},
    {227, kLat, 8, 8, -2428.85860},

    // 227 Corrego Alegre - Brazil, longitude
    {227, kLon, 0, 0, -1.46053},
    {227, kLon, 1, 0, 0.63715},
    {227, kLon, 0, 1, 2.24996},
    {227, kLon, 1, 1, -5.66052},
    {227, kLon, 0, 2, 2.22589},
    {227, kLon, 3, 0, -0.34504},
    {227, kLon, 2, 1, -8.54151},
    {227, kLon, 4, 0, 0.87138},
    {227, kLon, 3, 1, 43.40004},
    {227, kLon, 1, 3, 4.35977},
    {227, kLon, 4, 1, 8.17101},
    {227, kLon, 2, 3, 16.24298},
    {227, kLon, 1, 4, 19.96900},
    {227, kLon, 0, 5, -8.75655},
    {227, kLon, 5, 1, -125.35753},
    {227, kLon, 3, 4, -127.41019},
    {227, kLon, 8, 0, -0.61047},
    {227, kLon, 7, 1, 138.76072},
    {227, kLon, 5, 4, 122.04261},
    {227, kLon, 9, 1, -51.86666},
    {227, kLon, 9, 3, 45.67574},

    // 228 European 1950, latitude
    {228, kLat, 0, 0, -2.65261},
    {228, kLat, 1, 0, 2.06392},
    {228, kLat, 0, 1, 0.77921},
    {228, kLat, 2, 0, 0.26743},
    {228, kLat, 1, 1, 0.10706},
    {228, kLat, 3, 0, 0.76407},
    {228, kLat, 2, 1, -0.95430},
    {228, kLat, 4, 0, 0.17197},
    {228, kLat, 4, 1, 1.04974},
    {228, kLat, 5, 2, -0.22899},
    {228, kLat, 0, 8, -0.05401},
    {228, kLat, 9, 0, -0.78909},
    {228, kLat, 2, 7, -0.10572},
    {228, kLat, 1, 9, 0.05283},
    {228, kLat, 3, 9, 0.02445},

    // 228 European 1950, longitude
    {228, kLon, 0, 0, -4.13447},
    {228, kLon, 1, 0, -1.50572},
    {228, kLon, 0, 1, 1.94075},
    {228, kLon, 2, 0, -1.37600},
    {228, kLon, 1, 1, 1.98425},
    {228, kLon, 0, 2, 0.30068},
    {228, kLon, 3, 0, -2.31939},
    {228, kLon, 4, 0, -1.70401},
    {228, kLon, 1, 3, -5.48711},
    {228, kLon, 5, 0, 7.41956},
    {228, kLon, 2, 3, -1.61351},
    {228, kLon, 1, 4, 5.92923},
    {228, kLon, 0, 5, -1.97974},
    {228, kLon, 6, 0, 1.57701},
    {228, kLon, 3, 3, -6.52522},
    {228, kLon, 2, 4, 16.85976},
    {228, kLon, 1, 5, -1.79701},
    {228, kLon, 7, 0, -3.08344},
    {228, kLon, 6, 1, -14.32516},
    {228, kLon, 4, 4, 4.49096},
    {228, kLon, 8, 1, 9.98750},
    {228, kLon, 7, 2, 7.80215},
    {228, kLon, 2, 7, -2.26917},
    {228, kLon, 0, 9, 0.16438},
    {228, kLon, 4, 6, -17.45428},
    {228, kLon, 9, 2, -8.25844},
    {228, kLon, 8, 3, 5.28734},
    {228, kLon, 5, 7, 8.87141},
    {228, kLon, 9, 4, -3.48015},
    {228, kLon, 4, 9, 0.71041},

    // 229 NAD 1927 - CONUS, latitude
    {229, kLat, 0, 0, 0.16984},
    {229, kLat, 1, 0, -0.76173},
    {229, kLat, 0, 1, 0.09585},
    {229, kLat, 2, 0, 1.09919},
    {229, kLat, 3, 0, -4.57801},
    {229, kLat, 2, 1, -1.13239},
    {229, kLat, 0, 3, 0.49831},
    {229, kLat, 3, 1, -0.98399},
    {229, kLat, 1, 3, 0.12415},
    {229, kLat, 0, 4, 0.11450},
    {229, kLat, 5, 0, 27.05396},
    {229, kLat, 4, 1, 2.03449},
    {229, kLat, 2, 3, 0.73357},
    {229, kLat, 0, 5, -0.37548},
    {229, kLat, 0, 6, -0.14197},
    {229, kLat, 7, 0, -59.96555},
    {229, kLat, 0, 7, 0.07439},
    {229, kLat, 8, 0, -4.76082},
    {229, kLat, 0, 8, 0.03385},
    {229, kLat, 9, 0, 49.04320},
    {229, kLat, 6, 3, -1.30575},
    {229, kLat, 3, 9, -0.07653},
    {229, kLat, 4, 9, 0.08646},

    // 229 NAD 1927 - CONUS, longitude
    {229, kLon, 0, 0, -0.88437},
    {229, kLon, 0, 1, 2.05061},
    {229, kLon, 2, 0, 0.26361},
    {229, kLon, 1, 1, -0.76804},
    {229, kLon, 0, 2, 0.13374},
    {229, kLon, 3, 0, -1.31974},
    {229, kLon, 2, 1, -0.52162},
    {229, kLon, 1, 2, -1.05853},
    {229, kLon, 2, 2, -0.49211},
    {229, kLon, 1, 3, 2.17204},
    {229, kLon, 0, 4, -0.06004},
    {229, kLon, 4, 1, 0.30139},
    {229, kLon, 1, 4, 1.88585},
    {229, kLon, 1, 5, -0.81162},
    {229, kLon, 0, 6, -0.05183},
    {229, kLon, 1, 6, -0.96723},
    {229, kLon, 3, 5, -0.12948},
    {229, kLon, 9, 0, 3.41827},
    {229, kLon, 8, 1, -0.44507},
    {229, kLon, 1, 8, 0.18882},
    {229, kLon, 0, 9, -0.01444},
    {229, kLon, 1, 9, 0.04794},
    {229, kLon, 9, 3, -0.59013},

    // 230 NAD 1927 - Canada, latitude
    {230, kLat, 0, 0, 0.79395},
    {230, kLat, 1, 0, 2.29199},
    {230, kLat, 0, 1, 0.27589},
    {230, kLat, 2, 0, -1.76644},
    {230, kLat, 1, 1, 0.47743},
    {230, kLat, 0, 2, 0.08421},
    {230, kLat, 3, 0, -6.03894},
    {230, kLat, 2, 1, -3.55747},
    {230, kLat, 1, 2, -1.81118},
    {230, kLat, 0, 3, -0.20307},
    {230, kLat, 4, 0, 7.75815},
    {230, kLat, 3, 1, -3.10170},
    {230, kLat, 2, 2, 3.58363},
    {230, kLat, 1, 3, -1.31086},
    {230, kLat, 0, 4, -0.45916},
    {230, kLat, 5, 0, 14.27239},
    {230, kLat, 4, 1, 3.28815},
    {230, kLat, 2, 3, 1.35742},
    {230, kLat, 1, 4, 1.75323},
    {230, kLat, 0, 5, 0.44999},
    {230, kLat, 4, 2, -19.02041},
    {230, kLat, 2, 4, -1.01631},
    {230, kLat, 1, 5, 1.47331},
    {230, kLat, 0, 6, 0.15181},
    {230, kLat, 2, 5, 0.41614},
    {230, kLat, 1, 6, -0.80920},
    {230, kLat, 0, 7, -0.18177},
    {230, kLat, 4, 4, 5.19854},
    {230, kLat, 1, 7, -0.48837},
    {230, kLat, 0, 8, -0.01473},
    {230, kLat, 9, 0, -2.26448},
    {230, kLat, 2, 7, -0.46457},
    {230, kLat, 1, 8, 0.11259},
    {230, kLat, 0, 9, 0.02067},
    {230, kLat, 8, 2, 47.64961},
    {230, kLat, 1, 9, 0.01828},
    {230, kLat, 9, 2, 36.38963},
    {230, kLat, 4, 7, 0.06991},
    {230, kLat, 3, 8, 0.08456},
    {230, kLat, 2, 9, 0.09113},
    {230, kLat, 7, 5, 5.93797},
    {230, kLat, 7, 6, -2.36261},
    {230, kLat, 5, 8, 0.095775},

    // 230 NAD 1927 - Canada, longitude
    {230, kLon, 0, 0, -1.36099},
    {230, kLon, 0, 1, 3.61796},
    {230, kLon, 2, 0, -3.97703},
    {230, kLon, 1, 1, 3.09705},
    {230, kLon, 0, 2, -1.15866},
    {230, kLon, 3, 0, -13.28954},
    {230, kLon, 2, 1, -3.15795},
    {230, kLon, 1, 2, 0.68405},
    {230, kLon, 0, 3, -0.50303},
    {230, kLon, 3, 1, -8.81200},
    {230, kLon, 2, 2, -2.17587},
    {230, kLon, 1, 3, -1.49513},
    {230, kLon, 0, 4, 0.84700},
    {230, kLon, 5, 0, 31.42448},
    {230, kLon, 3, 2, -14.67474},
    {230, kLon, 1, 4, 0.65640},
    {230, kLon, 6, 0, 17.55842},
    {230, kLon, 4, 2, 6.87058},
    {230, kLon, 0, 6, -0.21565},
    {230, kLon, 5, 2, 62.18139},
    {230, kLon, 3, 4, 1.78687},
    {230, kLon, 2, 5, 2.74517},
    {230, kLon, 1, 6, -0.30085},
    {230, kLon, 0, 7, 0.04600},
    {230, kLon, 6, 2, 63.52702},
    {230, kLon, 5, 3, 7.83682},
    {230, kLon, 3, 5, 9.59444},
    {230, kLon, 0, 8, 0.01480},
    {230, kLon, 4, 5, 10.51228},
    {230, kLon, 2, 7, -1.42398},
    {230, kLon, 0, 9, -0.00834},
    {230, kLon, 7, 3, 5.23485},
    {230, kLon, 3, 7, -3.18129},
    {230, kLon, 9, 2, 8.45704},
    {230, kLon, 4, 7, -2.29333},
    {230, kLon, 2, 9, 0.14465},
    {230, kLon, 3, 9, 0.29701},
    {230, kLon, 4, 9, 0.17655},

    // 231 South American 1969, latitude
    {231, kLat, 0, 0, -1.67504},
    {231, kLat, 1, 0, -0.05209},
    {231, kLat, 0, 1, 0.25158},
    {231, kLat, 2, 0, 1.10149},
    {231, kLat, 1, 1, 0.24913},
    {231, kLat, 2, 1, -1.00937},
    {231, kLat, 0, 3, -0.74977},
    {231, kLat, 4, 0, -1.54090},
    {231, kLat, 0, 4, 0.14474},
    {231, kLat, 5, 0, 0.47866},
    {231, kLat, 3, 2, 0.36278},
    {231, kLat, 1, 4, -1.29942},
    {231, kLat, 0, 5, 0.30410},
    {231, kLat, 6, 0, 0.87669},
    {231, kLat, 5, 1, -0.27950},
    {231, kLat, 7, 0, -0.46367},
    {231, kLat, 4, 3, 4.31466},
    {231, kLat, 2, 5, 2.09523},
    {231, kLat, 1, 6, 0.85556},
    {231, kLat, 8, 0, -0.17897},
    {231, kLat, 1, 7, -0.57205},
    {231, kLat, 9, 0, 0.12327},
    {231, kLat, 6, 3, -0.85033},
    {231, kLat, 4, 5, -4.86177},
    {231, kLat, 9, 1, 0.06085},
    {231, kLat, 3, 8, -0.21518},
    {231, kLat, 5, 7, 0.31053},
    {231, kLat, 8, 5, -0.09228},
    {231, kLat, 9, 5, -0.22996},
    {231, kLat, 6, 9, 0.58774},
    {231, kLat, 9, 7, 0.87562},
    {231, kLat, 8, 9, 0.39001},
    {231, kLat, 9, 9, -0.81697},

    // 231 South American 1969, longitude
    {231, kLon, 0, 0, -1.77967},
    {231, kLon, 1, 0, 0.40405},
    {231, kLon, 0, 1, 0.50268},
    {231, kLon, 2, 0, -0.05387},
    {231, kLon, 1, 1, -0.12837},
    {231, kLon, 2, 1, -0.54687},
    {231, kLon, 0, 3, -0.17056},
    {231, kLon, 3, 1, -0.14400},
    {231, kLon, 5, 1, 0.11351},
    {231, kLon, 3, 3, -0.62692},
    {231, kLon, 8, 0, -0.01750},
    {231, kLon, 3, 5, 1.18616},
    {231, kLon, 9, 0, 0.01305},
    {231, kLon, 7, 3, 1.01305},
    {231, kLon, 8, 3, -0.29059},
    {231, kLon, 6, 5, 5.12370},
    {231, kLon, 7, 5, -5.09561},
    {231, kLon, 6, 7, -5.27168},
    {231, kLon, 7, 7, 4.04265},
    {231, kLon, 8, 7, -1.62710},
    {231, kLon, 9, 7, 1.68899},
    {231, kLon, 8, 9, 2.07213},
    {231, kLon, 9, 9, -1.76074},
};
// clang-format on

struct Origin {
    double lat, lon; // φm, λm in degrees, λm in -180..180
    double K;        // normalising factor
};

// Campo Inchauspe's equations were published with K = π/20 rather than the
// π/60 of the other sets; its test point only comes out with π/20.
constexpr Origin kOrigins[kDatumCount] = {
    {-27, 134, 0.05235988}, // 224 Australian Geodetic 1966
    {-27, 134, 0.05235988}, // 225 Australian Geodetic 1984
    {-35, -64, 0.15707963}, // 226 Campo Inchauspe
    {-15, -50, 0.05235988}, // 227 Corrego Alegre
    {52, 10, 0.05235988},   // 228 European 1950
    {37, -95, 0.05235988},  // 229 NAD 27 CONUS
    {60, -100, 0.05235988}, // 230 NAD 27 Canada
    {-20, -60, 0.05235988}, // 231 South American 1969
};

using Matrix = std::array<std::array<double, kMaxPower + 1>, kMaxPower + 1>;
using DatumMatrices = std::array<std::array<Matrix, 2>, kDatumCount>;

// Dense coefficient matrices [datum][component][u][v], built from the term list
// at compile time so that evaluation is a pair of nested Horner schemes.
constexpr DatumMatrices BuildMatrices() {
    DatumMatrices m{};
    for (const Term& t : kTerms)
        m[t.id - kFirstId][t.component][t.u][t.v] += t.coefficient;
    return m;
}

constexpr DatumMatrices kMatrices = BuildMatrices();

constexpr bool TermsValid() {
    for (const Term& t : kTerms)
        if (t.id < kFirstId || t.id >= kFirstId + kDatumCount || t.u < 0 || t.u > kMaxPower ||
            t.v < 0 || t.v > kMaxPower)
            return false;
    return true;
}
static_assert(TermsValid(), "every regression term belongs to a datum and has powers 0..9");
static_assert(sizeof(kTerms) / sizeof(kTerms[0]) == 368, "eight complete coefficient sets");

double Evaluate(const Matrix& a, double U, double V) {
    double sum = 0.0;
    for (int i = kMaxPower; i >= 0; --i) {
        double inner = 0.0;
        for (int j = kMaxPower; j >= 0; --j)
            inner = inner * V + a[i][j];
        sum = sum * U + inner;
    }
    return sum;
}

} // namespace

bool MreHasDatum(int id) {
    return id >= kFirstId && id < kFirstId + kDatumCount;
}

bool MreDeltas(int id, double lat, double lon, double* dLatSec, double* dLonSec) {
    return KV_GUARDED(false, [&]() -> bool {
        if (!MreHasDatum(id) || !dLatSec || !dLonSec) return false;
        const Origin& o = kOrigins[id - kFirstId];
        const double U = o.K * (lat - o.lat);
        const double V = o.K * (lon - o.lon);
        *dLatSec = Evaluate(kMatrices[id - kFirstId][kLat], U, V);
        *dLonSec = Evaluate(kMatrices[id - kFirstId][kLon], U, V);
        return true;
    });
}

bool MreShift(int id, DATUMPOINT* points, int count) {
    return KV_GUARDED(false, [&]() -> bool {
        if (!MreHasDatum(id) || !points || count < 0) return false;
        for (int n = 0; n < count; ++n) {
            DATUMPOINT& p = points[n];
            if (IsUnplottable(p)) continue;
            double dLat = 0.0, dLon = 0.0;
            MreDeltas(id, p.y, p.x, &dLat, &dLon);
            p.x += dLon / 3600.0;
            p.y += dLat / 3600.0;
        }
        return true;
    });
}

} // namespace KVProj
