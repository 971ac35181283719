// The built-in datum table and its queries.
#include "datum/DatumTable.h"
#include "frame/Firewall.h"

#include "frame/Util.h"

#include <cstring>

namespace KVProj {

// Search order matters: lookups stop at the first matching row, and several
// names and EPSG codes occur more than once.
// clang-format off
const DatumRow kDatumRows[kDatumRowCount + 1] = {
    {1, 6269, "North American Datum 1983", DM_MOLODENSKY, EllipsoidType(3), 0, 0, 0, 0, 0, 0, 0, 0},
    {2, 6267, "North American Datum 1927", DM_MOLODENSKY, EllipsoidType(15), -8, 160, 176, 0, 0, 0, 0, 0},
    {3, 6326, "World Geodetic System 1984", DM_MOLODENSKY, EllipsoidType(47), 0, 0, 0, 0, 0, 0, 0, 0},
    {4, 6322, "World Geodetic System 1972", DM_MOLODENSKY, EllipsoidType(46), 0, 0, 4, 0, 0, 0, 0, 0},
    {5, 6230, "European 1950 - Mean", DM_MOLODENSKY, EllipsoidType(34), -87, -98, -121, 0, 0, 0, 0, 0},
    {6, 6291, "South American 1969", DM_MOLODENSKY, EllipsoidType(10), -57, 1, -41, 0, 0, 0, 0, 0},
    {7, 6301, "Tokyo", DM_MOLODENSKY, EllipsoidType(12), -148, 507, 685, 0, 0, 0, 0, 0},
    {8, 6201, "Adindan - Mean", DM_MOLODENSKY, EllipsoidType(16), -166, -15, 204, 0, 0, 0, 0, 0},
    {9, 0, "Adindan - Burkina Faso", DM_MOLODENSKY, EllipsoidType(16), -118, -14, 218, 0, 0, 0, 0, 0},
    {10, 0, "Adindan - Cameroon", DM_MOLODENSKY, EllipsoidType(16), -134, -2, 210, 0, 0, 0, 0, 0},
    {11, 0, "Adindan - Ethiopia", DM_MOLODENSKY, EllipsoidType(16), -165, -11, 206, 0, 0, 0, 0, 0},
    {12, 0, "Adindan - Mali", DM_MOLODENSKY, EllipsoidType(16), -123, -20, 220, 0, 0, 0, 0, 0},
    {13, 0, "Adindan - Senegal", DM_MOLODENSKY, EllipsoidType(16), -128, -18, 224, 0, 0, 0, 0, 0},
    {14, 6296, "Adindan - Sudan", DM_MOLODENSKY, EllipsoidType(16), -161, -14, 205, 0, 0, 0, 0, 0},
    {15, 6205, "Afgooye - Somalia", DM_MOLODENSKY, EllipsoidType(35), -43, -163, 45, 0, 0, 0, 0, 0},
    {16, 0, "Ain El Abd - Bahrain Island", DM_MOLODENSKY, EllipsoidType(34), -150, -250, -1, 0, 0, 0, 0, 0},
    {17, 0, "Ain El Abd - Saudi Arabia", DM_MOLODENSKY, EllipsoidType(34), -143, -236, 7, 0, 0, 0, 0, 0},
    {18, 0, "Anna 1 Astro 1965", DM_MOLODENSKY, EllipsoidType(10), -491, -22, 435, 0, 0, 0, 0, 0},
    {19, 0, "American Samoa Islands - 1962", DM_MOLODENSKY, EllipsoidType(15), -115, 118, 426, 0, 0, 0, 0, 0},
    {20, 0, "Antigua Island Astro 1943", DM_MOLODENSKY, EllipsoidType(16), -270, 13, 62, 0, 0, 0, 0, 0},
    {21, 6209, "Arc 1950 - Mean", DM_MOLODENSKY, EllipsoidType(16), -143, -90, -294, 0, 0, 0, 0, 0},
    {22, 0, "Arc 1950 - Botswana", DM_MOLODENSKY, EllipsoidType(16), -138, -105, -289, 0, 0, 0, 0, 0},
    {23, 0, "Arc 1950 - Burundi", DM_MOLODENSKY, EllipsoidType(16), -153, -5, -292, 0, 0, 0, 0, 0},
    {24, 0, "Arc 1950 - Lesotho", DM_MOLODENSKY, EllipsoidType(16), -125, -108, -295, 0, 0, 0, 0, 0},
    {25, 0, "Arc 1950 - Malawi", DM_MOLODENSKY, EllipsoidType(16), -161, -73, -317, 0, 0, 0, 0, 0},
    {26, 0, "Arc 1950 - Swaziland", DM_MOLODENSKY, EllipsoidType(16), -134, -105, -295, 0, 0, 0, 0, 0},
    {27, 0, "Arc 1950 - Zaire", DM_MOLODENSKY, EllipsoidType(16), -169, -19, -278, 0, 0, 0, 0, 0},
    {28, 0, "Arc 1950 - Zambia", DM_MOLODENSKY, EllipsoidType(16), -147, -74, -283, 0, 0, 0, 0, 0},
    {29, 0, "Arc 1950 - Zimbabwe", DM_MOLODENSKY, EllipsoidType(16), -142, -96, -293, 0, 0, 0, 0, 0},
    {30, 6210, "Arc 1960 - Mean", DM_MOLODENSKY, EllipsoidType(16), -160, -6, -302, 0, 0, 0, 0, 0},
    {31, 0, "Ascension Island 1958", DM_MOLODENSKY, EllipsoidType(34), -205, 107, 53, 0, 0, 0, 0, 0},
    {32, 0, "Astro Beacon 'E' 1945", DM_MOLODENSKY, EllipsoidType(34), 145, 75, 272, 0, 0, 0, 0, 0},
    {33, 0, "Astro B4 Sorol Atoll", DM_MOLODENSKY, EllipsoidType(34), 114, -116, -333, 0, 0, 0, 0, 0},
    {34, 0, "Astro Dos 71/4", DM_MOLODENSKY, EllipsoidType(34), -320, 550, -494, 0, 0, 0, 0, 0},
    {35, 0, "Astro Tern Island 1961", DM_MOLODENSKY, EllipsoidType(34), 114, -116, -333, 0, 0, 0, 0, 0},
    {36, 0, "Astronomic Station 1952", DM_MOLODENSKY, EllipsoidType(34), 124, -234, -25, 0, 0, 0, 0, 0},
    {37, 6202, "Australian Geodetic 1966", DM_MOLODENSKY, EllipsoidType(10), -133, -48, 148, 0, 0, 0, 0, 0},
    {38, 6203, "Australian Geodetic 1984", DM_MOLODENSKY, EllipsoidType(10), -134, -48, 149, 0, 0, 0, 0, 0},
    {39, 0, "Ayabelle Lighthouse", DM_MOLODENSKY, EllipsoidType(16), -79, -129, 145, 0, 0, 0, 0, 0},
    {40, 6313, "Belgium", DM_MOLODENSKY, EllipsoidType(34), 81, 120, 129, 0, 0, 0, 0, 0},
    {41, 0, "Bellevue", DM_MOLODENSKY, EllipsoidType(34), -127, -769, 472, 0, 0, 0, 0, 0},
    {42, 6216, "Bermuda 1957", DM_MOLODENSKY, EllipsoidType(15), -73, 213, 296, 0, 0, 0, 0, 0},
    {43, 0, "Bissau", DM_MOLODENSKY, EllipsoidType(34), -173, 253, 27, 0, 0, 0, 0, 0},
    {44, 6218, "Bogota Observatory", DM_MOLODENSKY, EllipsoidType(34), 307, 304, -318, 0, 0, 0, 0, 0},
    {45, 6219, "Bukit Rimpah - Bangka & Belitung Is.", DM_MOLODENSKY, EllipsoidType(12), -384, 664, -48, 0, 0, 0, 0, 0},
    {46, 0, "Camp Area Astro - Antarctica", DM_MOLODENSKY, EllipsoidType(34), -104, -129, 239, 0, 0, 0, 0, 0},
    {47, 6221, "Campo Inchausepe - Argentina", DM_MOLODENSKY, EllipsoidType(34), -148, 136, 90, 0, 0, 0, 0, 0},
    {48, 0, "Canton Astro 1966", DM_MOLODENSKY, EllipsoidType(34), 298, -304, -375, 0, 0, 0, 0, 0},
    {49, 6222, "Cape", DM_MOLODENSKY, EllipsoidType(16), -136, -108, -292, 0, 0, 0, 0, 0},
    {50, 0, "Cape Canaveral", DM_MOLODENSKY, EllipsoidType(15), -2, 151, 181, 0, 0, 0, 0, 0},
    {51, 6223, "Carthage - Tunisia", DM_MOLODENSKY, EllipsoidType(16), -263, 6, 431, 0, 0, 0, 0, 0},
    {52, 0, "Chatham 1971", DM_MOLODENSKY, EllipsoidType(34), 175, -38, 113, 0, 0, 0, 0, 0},
    {53, 6224, "Chua Astro", DM_MOLODENSKY, EllipsoidType(34), -134, 229, -29, 0, 0, 0, 0, 0},
    {54, 6225, "Corrego Alegre - Brazil", DM_MOLODENSKY, EllipsoidType(34), -206, 172, -6, 0, 0, 0, 0, 0},
    {55, 0, "Czechoslovakia - Before 1993", DM_MOLODENSKY, EllipsoidType(12), 589, 76, 480, 0, 0, 0, 0, 0},
    {56, 0, "Dabola", DM_MOLODENSKY, EllipsoidType(16), -83, 37, 124, 0, 0, 0, 0, 0},
    {57, 0, "Deception Island - Antarctica", DM_MOLODENSKY, EllipsoidType(16), 260, 12, -147, 0, 0, 0, 0, 0},
    {58, 0, "Djakarta - Sumatra", DM_MOLODENSKY, EllipsoidType(12), -377, 681, -50, 0, 0, 0, 0, 0},
    {59, 0, "DLx Portugal", DM_MOLODENSKY, EllipsoidType(34), -303, -62, 105, 0, 0, 0, 0, 0},
    {60, 0, "D73 Portugal", DM_MOLODENSKY, EllipsoidType(34), -223, 110, 37, 0, 0, 0, 0, 0},
    {61, 0, "Dos 1968", DM_MOLODENSKY, EllipsoidType(34), 230, -199, -752, 0, 0, 0, 0, 0},
    {62, 0, "Easter Island 1967", DM_MOLODENSKY, EllipsoidType(34), 211, 147, 111, 0, 0, 0, 0, 0},
    {63, 0, "Fahud", DM_MOLODENSKY, EllipsoidType(16), -346, -1, -224, 0, 0, 0, 0, 0},
    {64, 0, "European 1950 - W. Europe", DM_MOLODENSKY, EllipsoidType(34), -87, -96, -120, 0, 0, 0, 0, 0},
    {65, 0, "European 1950 - UK/Ireland", DM_MOLODENSKY, EllipsoidType(34), -86, -96, -120, 0, 0, 0, 0, 0},
    {66, 0, "European 1950 - UK Only", DM_MOLODENSKY, EllipsoidType(34), -86, -96, -120, 0, 0, 0, 0, 0},
    {67, 0, "European 1950 - Cyprus", DM_MOLODENSKY, EllipsoidType(34), -104, -101, -140, 0, 0, 0, 0, 0},
    {68, 0, "European 1950 - Egypt", DM_MOLODENSKY, EllipsoidType(34), -130, -117, -151, 0, 0, 0, 0, 0},
    {69, 0, "European 1950 - Iraq Israel Jordan etc.", DM_MOLODENSKY, EllipsoidType(34), -103, -106, -141, 0, 0, 0, 0, 0},
    {70, 0, "European 1950 - Iran", DM_MOLODENSKY, EllipsoidType(34), -117, -132, -164, 0, 0, 0, 0, 0},
    {71, 0, "European 1950 - Greece", DM_MOLODENSKY, EllipsoidType(34), -84, -95, -130, 0, 0, 0, 0, 0},
    {72, 0, "European 1950 - Sardinia", DM_MOLODENSKY, EllipsoidType(34), -97, -103, -120, 0, 0, 0, 0, 0},
    {73, 0, "European 1950 - Sicily", DM_MOLODENSKY, EllipsoidType(34), -97, -88, -135, 0, 0, 0, 0, 0},
    {74, 0, "European 1950 - Malta", DM_MOLODENSKY, EllipsoidType(34), -107, -88, -149, 0, 0, 0, 0, 0},
    {75, 0, "European 1950 - Norway/Finland", DM_MOLODENSKY, EllipsoidType(34), -87, -95, -120, 0, 0, 0, 0, 0},
    {76, 0, "European 1950 - Port./Spain", DM_MOLODENSKY, EllipsoidType(34), -84, -107, -120, 0, 0, 0, 0, 0},
    {77, 0, "Eur. 1979 - Mean", DM_MOLODENSKY, EllipsoidType(34), -86, -98, -119, 0, 0, 0, 0, 0},
    {78, 0, "European 1950 - Tunisia", DM_MOLODENSKY, EllipsoidType(34), -112, -77, -145, 0, 0, 0, 0, 0},
    {79, 0, "Fort Thomas 1955", DM_MOLODENSKY, EllipsoidType(16), -7, -215, 225, 0, 0, 0, 0, 0},
    {80, 6233, "Gandajika  1970", DM_MOLODENSKY, EllipsoidType(34), -133, -321, 50, 0, 0, 0, 0, 0},
    {81, 6272, "Geodetic Datum 1949 - New Zealand", DM_MOLODENSKY, EllipsoidType(34), 84, -22, 209, 0, 0, 0, 0, 0},
    {82, 0, "Graciosa Base SW 1948", DM_MOLODENSKY, EllipsoidType(34), -104, 167, -38, 0, 0, 0, 0, 0},
    {83, 0, "Guam 1963", DM_MOLODENSKY, EllipsoidType(15), -99, -251, 258.1, 0, 0, 0, 0, 0},
    {84, 0, "Gux 1 Astro", DM_MOLODENSKY, EllipsoidType(34), 252, -209, -751, 0, 0, 0, 0, 0},
    {85, 0, "Gunung Segara - Kalimantan Indonesia", DM_MOLODENSKY, EllipsoidType(12), -403, 684, 41, 0, 0, 0, 0, 0},
    {86, 6255, "Herat North - Afghanistan", DM_MOLODENSKY, EllipsoidType(34), -333, -222, 114, 0, 0, 0, 0, 0},
    {87, 0, "Hjorsey 1955 - Iceland", DM_MOLODENSKY, EllipsoidType(34), -73, 46, -86, 0, 0, 0, 0, 0},
    {88, 0, "Hong Kong 1963", DM_MOLODENSKY, EllipsoidType(34), -156, -271, -189, 0, 0, 0, 0, 0},
    {89, 6236, "Hu-tzu-shan", DM_MOLODENSKY, EllipsoidType(34), -637, -549, -203, 0, 0, 0, 0, 0},
    {90, 0, "Indian - Pakistan", DM_MOLODENSKY, EllipsoidType(26), 283, 682, 231, 0, 0, 0, 0, 0},
    {91, 0, "Indian - Bangladesh", DM_MOLODENSKY, EllipsoidType(20), 282, 726, 254, 0, 0, 0, 0, 0},
    {92, 0, "Indian - India Nepal", DM_MOLODENSKY, EllipsoidType(22), 295, 736, 257, 0, 0, 0, 0, 0},
    {93, 6239, "Indian 1954", DM_MOLODENSKY, EllipsoidType(20), 218, 816, 297, 0, 0, 0, 0, 0},
    {94, 0, "Indian 1954 Thailand", DM_MOLODENSKY, EllipsoidType(20), 217, 823, 299, 0, 0, 0, 0, 0},
    {95, 0, "Indian 1960 - Vietnam", DM_MOLODENSKY, EllipsoidType(20), 198, 881, 317, 0, 0, 0, 0, 0},
    {96, 0, "Indian 1960 - Con Son Island", DM_MOLODENSKY, EllipsoidType(20), 182, 915, 344, 0, 0, 0, 0, 0},
    {97, 6240, "Indian 1975 - Thailand", DM_MOLODENSKY, EllipsoidType(20), 209, 818, 290, 0, 0, 0, 0, 0},
    {98, 6238, "Indonesian 1974", DM_MOLODENSKY, EllipsoidType(32), -24, -15, 5, 0, 0, 0, 0, 0},
    {99, 0, "Ireland 1965", DM_MOLODENSKY, EllipsoidType(8), 506, -122, 611, 0, 0, 0, 0, 0},
    {100, 0, "Ists 061 Astro 1968", DM_MOLODENSKY, EllipsoidType(34), -794, 119, -298, 0, 0, 0, 0, 0},
    {101, 0, "Ists 073 Astro 1969", DM_MOLODENSKY, EllipsoidType(34), 208, -435, -229, 0, 0, 0, 0, 0},
    {102, 0, "Johnston Island 1961", DM_MOLODENSKY, EllipsoidType(34), 89, -79, -202, 0, 0, 0, 0, 0},
    {103, 6244, "Kandawala - Sri Lanka", DM_MOLODENSKY, EllipsoidType(20), -97, 787, 86, 0, 0, 0, 0, 0},
    {104, 0, "Kerguelen Island 1949", DM_MOLODENSKY, EllipsoidType(34), 145, -187, 103, 0, 0, 0, 0, 0},
    {105, 6245, "Kertau 1948 - West Malaysia & Singapore", DM_MOLODENSKY, EllipsoidType(21), -11, 851, 5, 0, 0, 0, 0, 0},
    {106, 0, "Kusaie Astro 1951", DM_MOLODENSKY, EllipsoidType(34), 647, 1777, -1124, 0, 0, 0, 0, 0},
    {107, 0, "L.C. 5 Astro 1961", DM_MOLODENSKY, EllipsoidType(15), 42, 124, 147, 0, 0, 0, 0, 0},
    {108, 6250, "Leigon", DM_MOLODENSKY, EllipsoidType(16), -130, 29, 364, 0, 0, 0, 0, 0},
    {109, 6251, "Liberia 1964", DM_MOLODENSKY, EllipsoidType(16), -90, 40, 88, 0, 0, 0, 0, 0},
    {110, 0, "Luzon - Philippines, except Mindanao Island", DM_MOLODENSKY, EllipsoidType(15), -133, -77, -51, 0, 0, 0, 0, 0},
    {111, 6253, "Luzon - Mindanao Island", DM_MOLODENSKY, EllipsoidType(15), -133, -79, -72, 0, 0, 0, 0, 0},
    {112, 6256, "Mahe 1971", DM_MOLODENSKY, EllipsoidType(16), 41, -220, -134, 0, 0, 0, 0, 0},
    {113, 0, "Marco Astro", DM_MOLODENSKY, EllipsoidType(34), -289, -124, 60, 0, 0, 0, 0, 0},
    {114, 0, "Massawa - Eritrea", DM_MOLODENSKY, EllipsoidType(12), 639, 405, 60, 0, 0, 0, 0, 0},
    {115, 6261, "Merchich - Morocco", DM_MOLODENSKY, EllipsoidType(52), 31, 146, 47, 0, 0, 0, 0, 0},
    {116, 0, "Midway Astro 1961", DM_MOLODENSKY, EllipsoidType(34), 912, -58, 1227, 0, 0, 0, 0, 0},
    {117, 0, "Minna - Nigeria", DM_MOLODENSKY, EllipsoidType(16), -92, -93, 122, 0, 0, 0, 0, 0},
    {118, 6263, "Minna - Cameroon", DM_MOLODENSKY, EllipsoidType(16), -81, -84, 115, 0, 0, 0, 0, 0},
    {119, 0, "Montserrat Island Astro 1958", DM_MOLODENSKY, EllipsoidType(16), 174, 359, 365, 0, 0, 0, 0, 0},
    {120, 0, "Nahrwan - Masirah Island", DM_MOLODENSKY, EllipsoidType(16), -247, -148, 369, 0, 0, 0, 0, 0},
    {121, 6270, "Nahrwan - U. Arab Emer.", DM_MOLODENSKY, EllipsoidType(16), -249, -156, 381, 0, 0, 0, 0, 0},
    {122, 0, "Nahrwan - Saudi Arabia", DM_MOLODENSKY, EllipsoidType(16), -243, -192, 477, 0, 0, 0, 0, 0},
    {123, 6271, "Naparima BWI", DM_MOLODENSKY, EllipsoidType(34), -10, 375, 165, 0, 0, 0, 0, 0},
    {124, 6267, "NAD 1927 - CONUS", DM_MOLODENSKY, EllipsoidType(15), -8, 160, 176, 0, 0, 0, 0, 0},
    {125, 0, "NAD 1927 - Western US", DM_MOLODENSKY, EllipsoidType(15), -8, 159, 175, 0, 0, 0, 0, 0},
    {126, 0, "NAD 1927 - Eastern US", DM_MOLODENSKY, EllipsoidType(15), -9, 161, 179, 0, 0, 0, 0, 0},
    {127, 0, "NAD 1927 - Alaska", DM_MOLODENSKY, EllipsoidType(15), -5, 135, 172, 0, 0, 0, 0, 0},
    {128, 0, "NAD 1927 - East of 180W - Aleutians", DM_MOLODENSKY, EllipsoidType(15), -2, 152, 149, 0, 0, 0, 0, 0},
    {129, 0, "NAD 1927 - West of 180W - Aleutians", DM_MOLODENSKY, EllipsoidType(15), 2, 204, 105, 0, 0, 0, 0, 0},
    {130, 0, "NAD 1927 - Aleutian Islands", DM_MOLODENSKY, EllipsoidType(15), -2, 0, 4, 0, 0, 0, 0, 0},
    {131, 0, "NAD 1927 - Bahamas", DM_MOLODENSKY, EllipsoidType(15), -4, 154, 178, 0, 0, 0, 0, 0},
    {132, 0, "NAD 1927 - Canada - Mean", DM_MOLODENSKY, EllipsoidType(15), -10, 158, 187, 0, 0, 0, 0, 0},
    {133, 0, "NAD 1927 - Canada - Alb/BC", DM_MOLODENSKY, EllipsoidType(15), -7, 162, 188, 0, 0, 0, 0, 0},
    {134, 0, "NAD 1927 - Canada - Eastern", DM_MOLODENSKY, EllipsoidType(15), -22, 160, 190, 0, 0, 0, 0, 0},
    {135, 0, "NAD 1927 - Canada - Man/Ont", DM_MOLODENSKY, EllipsoidType(15), -9, 157, 184, 0, 0, 0, 0, 0},
    {136, 0, "NAD 1927 - Canada - NW/Sas.", DM_MOLODENSKY, EllipsoidType(15), 4, 159, 188, 0, 0, 0, 0, 0},
    {137, 0, "NAD 1927 - Canada - Yukon", DM_MOLODENSKY, EllipsoidType(15), -7, 139, 181, 0, 0, 0, 0, 0},
    {138, 0, "NAD 1927 - Canal Zone", DM_MOLODENSKY, EllipsoidType(15), 0, 125, 201, 0, 0, 0, 0, 0},
    {139, 0, "NAD 1927 - Caribbean", DM_MOLODENSKY, EllipsoidType(15), -3, 143, 183, 0, 0, 0, 0, 0},
    {140, 0, "NAD 1927 - Central America", DM_MOLODENSKY, EllipsoidType(15), 0, 125, 194, 0, 0, 0, 0, 0},
    {141, 0, "NAD 1927 - Cuba", DM_MOLODENSKY, EllipsoidType(15), -9, 152, 178, 0, 0, 0, 0, 0},
    {142, 0, "NAD 1927 - Greenland", DM_MOLODENSKY, EllipsoidType(15), 11, 114, 195, 0, 0, 0, 0, 0},
    {143, 0, "NAD 1927 - Hawaii", DM_MOLODENSKY, EllipsoidType(15), 1, 1, -1, 0, 0, 0, 0, 0},
    {144, 0, "NAD 1927 - Mexico", DM_MOLODENSKY, EllipsoidType(15), -12, 130, 190, 0, 0, 0, 0, 0},
    {145, 0, "NAD 1927 - San Salvador Island", DM_MOLODENSKY, EllipsoidType(15), 1, 140, 165, 0, 0, 0, 0, 0},
    {146, 0, "Netherlands", DM_MOLODENSKY, EllipsoidType(12), 593, 26, 478, 0, 0, 0, 0, 0},
    {147, 6275, "NTF France - Paris Meridian", DM_MOLODENSKY, EllipsoidType(34), -83, -96, -113, 0, 0, 0, 0, 2.33722916666667},
    {148, 0, "NTF France - Greenwich Meridian", DM_MOLODENSKY, EllipsoidType(52), -168, -60, 320, 0, 0, 0, 0, 0},
    {149, 0, "Observatorio 1939", DM_MOLODENSKY, EllipsoidType(34), -425, -169, 81, 0, 0, 0, 0, 0},
    {150, 6229, "Old Egyptian 1907 - Egypt", DM_MOLODENSKY, EllipsoidType(30), -130, 110, -13, 0, 0, 0, 0, 0},
    {151, 0, "Old Hawaiian - Mean", DM_MOLODENSKY, EllipsoidType(15), 61, -285, -181, 0, 0, 0, 0, 0},
    {152, 0, "Old Hawaiian - Hawaii", DM_MOLODENSKY, EllipsoidType(15), 89, -279, -183, 0, 0, 0, 0, 0},
    {153, 0, "Old Hawaiian - Kauai", DM_MOLODENSKY, EllipsoidType(15), 45, -290, -172, 0, 0, 0, 0, 0},
    {154, 0, "Old Hawaiian - Maui", DM_MOLODENSKY, EllipsoidType(15), 65, -290, -190, 0, 0, 0, 0, 0},
    {155, 0, "Old Hawaiian - Oahu", DM_MOLODENSKY, EllipsoidType(15), 58, -283, -182, 0, 0, 0, 0, 0},
    {156, 0, "Oman", DM_MOLODENSKY, EllipsoidType(16), -346, -1, 224, 0, 0, 0, 0, 0},
    {157, 0, "Ord. Surv. of Gr. Br. 1936", DM_MOLODENSKY, EllipsoidType(5), 375, -111, 431, 0, 0, 0, 0, 0},
    {158, 0, "Ord. Surv. 1936 - Scotland-Shetland", DM_MOLODENSKY, EllipsoidType(5), 384, -111, 425, 0, 0, 0, 0, 0},
    {159, 0, "Ord. Surv. 1936 - Wales", DM_MOLODENSKY, EllipsoidType(5), 370, -108, 434, 0, 0, 0, 0, 0},
    {160, 0, "Pico De Las Nieves", DM_MOLODENSKY, EllipsoidType(34), -307, -92, 127, 0, 0, 0, 0, 0},
    {161, 0, "Pitcairn Astro 1967", DM_MOLODENSKY, EllipsoidType(34), -185, 165, 42, 0, 0, 0, 0, 0},
    {162, 0, "Porto Santo 1936", DM_MOLODENSKY, EllipsoidType(34), -499, -249, 314, 0, 0, 0, 0, 0},
    {163, 0, "Point 58", DM_MOLODENSKY, EllipsoidType(16), -106, -129, 165, 0, 0, 0, 0, 0},
    {164, 6282, "Pointe Noire 1948", DM_MOLODENSKY, EllipsoidType(16), -148, 51, -291, 0, 0, 0, 0, 0},
    {165, 6248, "Prov. S.A. 1956 - Mean", DM_MOLODENSKY, EllipsoidType(34), -288, 175, -376, 0, 0, 0, 0, 0},
    {166, 0, "Prov. S.A. 1956 - Bolivia", DM_MOLODENSKY, EllipsoidType(34), -270, 188, -388, 0, 0, 0, 0, 0},
    {167, 0, "Prov. S.A. 1956 - N. Chile", DM_MOLODENSKY, EllipsoidType(34), -270, 183, -390, 0, 0, 0, 0, 0},
    {168, 0, "Prov. S.A. 1956 - S. Chile", DM_MOLODENSKY, EllipsoidType(34), -305, 243, -442, 0, 0, 0, 0, 0},
    {169, 0, "Prov. S.A. 1956 - Colombia", DM_MOLODENSKY, EllipsoidType(34), -282, 169, -371, 0, 0, 0, 0, 0},
    {170, 0, "Prov. S.A. 1956 - Ecuador", DM_MOLODENSKY, EllipsoidType(34), -278, 171, -367, 0, 0, 0, 0, 0},
    {171, 0, "Prov. S.A. 1956 - Guyana", DM_MOLODENSKY, EllipsoidType(34), -298, 159, -369, 0, 0, 0, 0, 0},
    {172, 0, "Prov. S.A. 1956 - Peru", DM_MOLODENSKY, EllipsoidType(34), -279, 175, -379, 0, 0, 0, 0, 0},
    {173, 0, "Prov. S.A. 1956 - Venez.", DM_MOLODENSKY, EllipsoidType(34), -295, 173, -371, 0, 0, 0, 0, 0},
    {174, 0, "Prov. So. Chilean 1963", DM_MOLODENSKY, EllipsoidType(34), 16, 196, 93, 0, 0, 0, 0, 0},
    {175, 0, "Puerto Rico", DM_MOLODENSKY, EllipsoidType(15), 11, 72, -101, 0, 0, 0, 0, 0},
    {176, 6284, "Pulkovo 1942 - Russia", DM_MOLODENSKY, EllipsoidType(35), 28, -130, -95, 0, 0, 0, 0, 0},
    {177, 6285, "Qatar National", DM_MOLODENSKY, EllipsoidType(34), -128, -283, 22, 0, 0, 0, 0, 0},
    {178, 6287, "Qornoq", DM_MOLODENSKY, EllipsoidType(34), 164, 138, -189, 0, 0, 0, 0, 0},
    {179, 0, "Reunion", DM_MOLODENSKY, EllipsoidType(34), 94, -948, -1262, 0, 0, 0, 0, 0},
    {180, 0, "Rome 1940", DM_MOLODENSKY, EllipsoidType(34), -225, -65, 9, 0, 0, 0, 0, 0},
    {244, 0, "S-42 Hungary", DM_MOLODENSKY, EllipsoidType(35), 28, -121, -77, 0, 0, 0, 0, 0},
    {245, 0, "S-42 Poland", DM_MOLODENSKY, EllipsoidType(35), 23, -124, -82, 0, 0, 0, 0, 0},
    {246, 0, "S-42 Czechoslovakia", DM_MOLODENSKY, EllipsoidType(35), 26, -121, -78, 0, 0, 0, 0, 0},
    {247, 0, "S-42 Latvia", DM_MOLODENSKY, EllipsoidType(35), 24, -124, -82, 0, 0, 0, 0, 0},
    {248, 0, "S-42 Kazakhstan", DM_MOLODENSKY, EllipsoidType(35), 15, -130, -84, 0, 0, 0, 0, 0},
    {249, 0, "S-42 Albania", DM_MOLODENSKY, EllipsoidType(35), 24, -130, -92, 0, 0, 0, 0, 0},
    {250, 0, "S-42 Romania", DM_MOLODENSKY, EllipsoidType(35), 28, -121, -77, 0, 0, 0, 0, 0},
    {181, 0, "Santo DOS 1965", DM_MOLODENSKY, EllipsoidType(34), 170, 42, 84, 0, 0, 0, 0, 0},
    {182, 0, "Sao Braz", DM_MOLODENSKY, EllipsoidType(34), -203, 141, 53, 0, 0, 0, 0, 0},
    {183, 6292, "Sapper Hill 1943", DM_MOLODENSKY, EllipsoidType(34), -355, 21, 72, 0, 0, 0, 0, 0},
    {184, 6293, "Schwarzeck", DM_MOLODENSKY, EllipsoidType(13), 616, 97, -251, 0, 0, 0, 0, 0},
    {185, 0, "Selvagem Grande 1938", DM_MOLODENSKY, EllipsoidType(34), -289, -124, 60, 0, 0, 0, 0, 0},
    {186, 0, "So. Amer. 1969 - Mean", DM_MOLODENSKY, EllipsoidType(10), -57, 1, -41, 0, 0, 0, 0, 0},
    {187, 0, "So. Amer. 1969 - Argentina", DM_MOLODENSKY, EllipsoidType(10), -62, -1, -37, 0, 0, 0, 0, 0},
    {188, 0, "So. Amer. 1969 - Bolivia", DM_MOLODENSKY, EllipsoidType(10), -61, 2, -48, 0, 0, 0, 0, 0},
    {189, 0, "So. Amer. 1969 - Brazil", DM_MOLODENSKY, EllipsoidType(10), -60, -2, -41, 0, 0, 0, 0, 0},
    {190, 0, "So. Amer. 1969 - Chile", DM_MOLODENSKY, EllipsoidType(10), -75, -1, -44, 0, 0, 0, 0, 0},
    {191, 0, "So. Amer. 1969 - Colombia", DM_MOLODENSKY, EllipsoidType(10), -44, 6, -36, 0, 0, 0, 0, 0},
    {192, 0, "So. Amer. 1969 - Ecuador", DM_MOLODENSKY, EllipsoidType(10), -48, 3, -44, 0, 0, 0, 0, 0},
    {193, 0, "So. Amer. 1969 - Baltra", DM_MOLODENSKY, EllipsoidType(10), -47, 26, -42, 0, 0, 0, 0, 0},
    {194, 0, "So. Amer. 1969 - Guyana", DM_MOLODENSKY, EllipsoidType(10), -53, 3, -47, 0, 0, 0, 0, 0},
    {195, 0, "So. Amer. 1969 - Paraguay", DM_MOLODENSKY, EllipsoidType(10), -61, 2, -33, 0, 0, 0, 0, 0},
    {196, 0, "So. Amer. 1969 - Peru", DM_MOLODENSKY, EllipsoidType(10), -58, 0, -44, 0, 0, 0, 0, 0},
    {197, 0, "So. Amer. 1969 - Trinidad", DM_MOLODENSKY, EllipsoidType(10), -45, 12, -33, 0, 0, 0, 0, 0},
    {198, 0, "So. Amer. 1969 - Venezuela", DM_MOLODENSKY, EllipsoidType(10), -45, 8, -33, 0, 0, 0, 0, 0},
    {199, 0, "South Asia", DM_MOLODENSKY, EllipsoidType(28), 7, -10, -26, 0, 0, 0, 0, 0},
    {200, 0, "Southeast Base", DM_MOLODENSKY, EllipsoidType(34), -499, -249, 314, 0, 0, 0, 0, 0},
    {201, 0, "Southwest Base - Azores", DM_MOLODENSKY, EllipsoidType(34), -104, 167, -38, 0, 0, 0, 0, 0},
    {202, 6297, "Tananarive Observatory 1925 - Madagascar", DM_MOLODENSKY, EllipsoidType(34), -189, -242, -91, 0, 0, 0, 0, 0},
    {203, 0, "Timbalai 1948 - Brunei", DM_MOLODENSKY, EllipsoidType(24), -689, 691, -46, 0, 0, 0, 0, 0},
    {204, 0, "Tokyo - Mean", DM_MOLODENSKY, EllipsoidType(12), -148, 507, 685, 0, 0, 0, 0, 0},
    {205, 0, "Tokyo - Japan", DM_MOLODENSKY, EllipsoidType(12), -148, 507, 685, 0, 0, 0, 0, 0},
    {206, 0, "Tokyo - Korea", DM_MOLODENSKY, EllipsoidType(12), -146, 507, 687, 0, 0, 0, 0, 0},
    {207, 0, "Tokyo - Okinawa", DM_MOLODENSKY, EllipsoidType(12), -158, 507, 676, 0, 0, 0, 0, 0},
    {208, 0, "Tokyo - South Korea", DM_MOLODENSKY, EllipsoidType(12), -146, 507, 687, 0, 0, 0, 0, 0},
    {209, 0, "Tristan Astro 1968", DM_MOLODENSKY, EllipsoidType(34), -632, 438, -609, 0, 0, 0, 0, 0},
    {210, 0, "Viti Levu 1916", DM_MOLODENSKY, EllipsoidType(16), 51, 391, -36, 0, 0, 0, 0, 0},
    {211, 0, "Wake-Eniwetok 1960", DM_MOLODENSKY, EllipsoidType(31), 102, 52, -38, 0, 0, 0, 0, 0},
    {212, 0, "Wake Island Astro 1952", DM_MOLODENSKY, EllipsoidType(34), 276, -57, 149, 0, 0, 0, 0, 0},
    {213, 6309, "Yacare - Uruguay", DM_MOLODENSKY, EllipsoidType(34), -155, 171, 37, 0, 0, 0, 0, 0},
    {214, 6311, "Zanderij - Suriname", DM_MOLODENSKY, EllipsoidType(34), -265, 120, -358, 0, 0, 0, 0, 0},
    {215, 0, "World Geodetic System 1972 (Bursa-Wolf)", DM_BURSA, EllipsoidType(46), 0, 0, 4.5, 0, 0, 0.554, 1, 0},
    {216, 0, "DHDN-1 (Bursa-Wolf)", DM_BURSA, EllipsoidType(14), 591, 73, 410, 0.26, 0.05, -2.43, 8.5, 0},
    {217, 0, "DHDN (Bursa-Wolf)", DM_BURSA, EllipsoidType(14), 582, 105, 414, 1.04, 0.35, -3.08, 8.3, 0},
    {218, 0, "Australian Geodetic 1984 (Bursa-Wolf)", DM_BURSA, EllipsoidType(10), -116, -50.47, 141.69, 0.23, 0.39, 0.344, 0.098, 0},
    {219, 0, "ANS84 (Bursa-Wolf)", DM_BURSA, EllipsoidType(10), -116, -50.47, 141.69, 0.23, 0.39, 0.344, 0.0983, 0},
    {220, 0, "MRT - Everest Modified (Bursa-Wolf)", DM_BURSA, EllipsoidType(21), 379.776, -775.3837, 86.6093, 2.59671, 2.10214, -12.11379, 0, 0},
    {221, 0, "Switzerland - CH1903 (Bursa-Wolf)", DM_BURSA, EllipsoidType(12), 660.077, 13.551, 369.344, -0.804816, -0.577692, -0.952236, 5.66, 0},
    {222, 0, "NTF France - Paris Meridian (Bursa-Wolf)", DM_BURSA, EllipsoidType(16), -168, -60, 320, 0, 0, 0, 0, 2.33722916666667},
    {223, 0, "Pulkovo 1942 (Bursa-Wolf)", DM_BURSA, EllipsoidType(35), 27, -135, -84.5, 0, 0, 0.554, 0.2263, 0},
    {236, 0, "Pulkovo 1942 - Hungary (Bursa-Wolf)", DM_BURSA, EllipsoidType(35), 24, -123, -94, 0.02, -0.25, 0.13, 1.1, 0},
    {234, 0, "Krassovski 1940 - Estonia (Bursa-Wolf)", DM_BURSA, EllipsoidType(35), 21.53219, -97.54127, -60.92546, -1.01378, -0.58117, -0.2348, -4.6121, 0},
    {235, 0, "EUREF-89/GRS-80 (Bursa-Wolf)", DM_BURSA, EllipsoidType(3), 0.055, -0.541, -0.185, -0.0183, 0.0003, 0.007, -0.014, 0},
    {237, 0, "ITRF-90 (Bursa-Wolf)", DM_BURSA, EllipsoidType(3), 0.06, -0.517, -0.223, 0.0183, -0.0003, 0.007, -0.011, 0},
    {238, 0, "Australian GDA-94/1992 (Bursa-Wolf)", DM_BURSA, EllipsoidType(3), -0.1605, -0.0032, 0.0662, -0.002375, 0.001939, 0.001241, 0.003351, 0},
    {239, 0, "Australian GDA-94/1994 (Bursa-Wolf)", DM_BURSA, EllipsoidType(3), -0.1432, -0.0068, 0.0535, 0.000245, 0.003742, 0.003359, 0.003655, 0},
    {240, 0, "Australian GDA-94/1996 (Bursa-Wolf)", DM_BURSA, EllipsoidType(3), -0.1259, -0.0103, 0.0407, 0.002861, 0.005543, 0.005474, 0.003947, 0},
    {241, 0, "Australian GDA-94/1998 (Bursa-Wolf)", DM_BURSA, EllipsoidType(3), -0.1086, -0.0139, 0.0279, 0.005481, 0.007347, 0.007592, 0.004261, 0},
    {242, 0, "Australian GDA-94/2000 (Bursa-Wolf)", DM_BURSA, EllipsoidType(3), -0.0913, -0.0175, 0.0152, 0.008097, 0.009148, 0.008707, 0.004563, 0},
    {243, 0, "Australian GDA-94/2002 (Bursa-Wolf)", DM_BURSA, EllipsoidType(3), -0.074, -0.021, 0.0024, 0.010717, 0.010952, 0.011824, 0.004867, 0},
    {251, 0, "Ocotepeque No Baricentrico 1990 - Costa Rica (Bursa-Wolf)", DM_BURSA, EllipsoidType(15), 6.41, 49.05, 11.28, 1.5667, 0.5242, 6.9718, -5.7649, 0},
    {252, 6273, "NGO 1948", DM_BURSA, EllipsoidType(14), 278.3, 93, 474.5, 7.889, 0.05, -6.61, 6.21, 0},
    {224, 0, "Australian Geodetic 1966 (MRE)", DM_MRE, EllipsoidType(56), 0, 0, 0, 0, 0, 0, 0, 0},
    {225, 0, "Australian Geodetic 1984 (MRE)", DM_MRE, EllipsoidType(56), 0, 0, 0, 0, 0, 0, 0, 0},
    {226, 0, "Campo Inchausepe - Argentina (MRE)", DM_MRE, EllipsoidType(56), 0, 0, 0, 0, 0, 0, 0, 0},
    {227, 0, "Corrego Alegre - Brazil (MRE)", DM_MRE, EllipsoidType(56), 0, 0, 0, 0, 0, 0, 0, 0},
    {228, 0, "European 1950 (MRE)", DM_MRE, EllipsoidType(56), 0, 0, 0, 0, 0, 0, 0, 0},
    {229, 6267, "NAD 1927 - CONUS (MRE)", DM_MRE, EllipsoidType(56), 0, 0, 0, 0, 0, 0, 0, 0},
    {230, 0, "NAD 1927 - Canada (MRE)", DM_MRE, EllipsoidType(56), 0, 0, 0, 0, 0, 0, 0, 0},
    {231, 0, "South American 1969 (MRE)", DM_MRE, EllipsoidType(56), 0, 0, 0, 0, 0, 0, 0, 0},
    {232, 0, "NAD 1927 - CONUS (NADCON)", DM_NADCON, EllipsoidType(56), 0, 0, 0, 0, 0, 0, 0, 0},
    {233, 6267, "NAD 1927 - Puerto Rico & Virgin Islands (NADCON)", DM_NADCON, EllipsoidType(56), 0, 0, 0, 0, 0, 0, 0, 0},
    {253, 0, "NAD 1927 - Canada (NTV2)", DM_NTV2, EllipsoidType(56), 0, 0, 0, 0, 0, 0, 0, 0},
    {DATUM_NONE, 0, "null", DM_COUNT, ELLIPSOID_NONE, 0, 0, 0, 0, 0, 0, 0, 0},
};
// clang-format on

namespace {

// The walks in search order that define the two look-ups.
int WalkToRow(int id, bool dest) {
    int i = 0;
    for (; kDatumRows[i].id != DATUM_NONE; ++i) {
        const DatumRow& row = kDatumRows[i];
        if (row.id == id && (!dest || (row.method != DM_MRE && row.method != DM_NADCON))) break;
    }
    return i;
}

// Both walks' answers for every id 0..DATUM_NONE, made once, so that each
// conversion call does not walk the table again.
struct RowIndex {
    short all[DATUM_NONE + 1], dest[DATUM_NONE + 1];
    RowIndex() {
        for (int id = 0; id <= DATUM_NONE; ++id) {
            all[id] = static_cast<short>(WalkToRow(id, false));
            dest[id] = static_cast<short>(WalkToRow(id, true));
        }
    }
};

const RowIndex& Index() {
    static const RowIndex index;
    return index;
}

} // namespace

int DatumFindRow(int id) {
    return id >= 0 && id <= DATUM_NONE ? Index().all[id] : WalkToRow(id, false);
}

int DatumFindDestRow(int id) {
    return id >= 0 && id <= DATUM_NONE ? Index().dest[id] : WalkToRow(id, true);
}

void DatumFillStep(const DatumRow& row, DATUM2WGS84* step) {
    step->Method = row.method;
    step->bInverse = false;
    step->Ellipsoid = row.ellipsoid;
    step->PMShift = row.pmShift;
    step->dx = row.dx;
    step->dy = row.dy;
    step->dz = row.dz;
    step->rx = row.rx;
    step->ry = row.ry;
    step->rz = row.rz;
    step->k = row.k;
}

namespace {

const char kUserDefined[] = "User Defined";
constexpr int kTextLen = 256;

bool EqualNoCase(const char* a, const char* b) {
    for (;; ++a, ++b) {
        unsigned char ca = static_cast<unsigned char>(*a);
        unsigned char cb = static_cast<unsigned char>(*b);
        if (ca >= 'A' && ca <= 'Z') ca = static_cast<unsigned char>(ca - 'A' + 'a');
        if (cb >= 'A' && cb <= 'Z') cb = static_cast<unsigned char>(cb - 'A' + 'a');
        if (ca != cb) return false;
        if (!ca) return true;
    }
}

bool InRange(int id) {
    return id >= 0 && id < DATUM_COUNT;
}

} // namespace

int DatNumDatums() {
    return KV_GUARDED(int(DATUM_COUNT), [&]() -> int { return DATUM_COUNT; });
}

void DatGetDatumName(DatumType id, char* out) {
    KV_GUARDED_VOID([&] {
        if (!out) return;
        out[0] = '\0';
        if (id == DATUM_USER_DEFINED) {
            CopyName(out, kUserDefined, kTextLen);
            return;
        }
        int i = DatumFindRow(id);
        if (i < kDatumRowCount) CopyName(out, kDatumRows[i].name, kTextLen);
    });
}

bool DatGetDatumFromName(DatumType* out, const char* name) {
    return KV_GUARDED(false, [&]() -> bool {
        if (!out || !name) return false;
        if (EqualNoCase(name, kUserDefined)) {
            *out = DATUM_USER_DEFINED;
            return true;
        }
        for (int i = 0; i < kDatumRowCount; ++i) {
            if (EqualNoCase(name, kDatumRows[i].name)) {
                *out = static_cast<DatumType>(kDatumRows[i].id);
                return true;
            }
        }
        return false;
    });
}

bool DatGetDatumPOSCNumber(DatumType id, int* out) {
    return KV_GUARDED(false, [&]() -> bool {
        if (id == DATUM_USER_DEFINED) return false;
        int i = DatumFindRow(id);
        if (i >= kDatumRowCount || kDatumRows[i].posc == 0) return false;
        if (out) *out = kDatumRows[i].posc;
        return true;
    });
}

bool DatGetDatumFromPOSCNumber(DatumType* out, int number) {
    return KV_GUARDED(false, [&]() -> bool {
        if (!out || number == 0) return false;
        for (int i = 0; i < kDatumRowCount; ++i) {
            if (kDatumRows[i].posc == number) {
                *out = static_cast<DatumType>(kDatumRows[i].id);
                return true;
            }
        }
        return false;
    });
}

bool DatReversible(DatumType id) {
    return KV_GUARDED(false, [&]() -> bool {
        // The end marker's method (7) answers false for 0 and unknown ids.
        int i = DatumFindRow(id);
        if (i > kDatumRowCount) return false;
        return MethodReversible(kDatumRows[i].method);
    });
}

bool DatGetDatumParams(DatumType id, DATUM2WGS84* out) {
    return KV_GUARDED(false, [&]() -> bool {
        if (!out || !InRange(id)) return false;
        int i = DatumFindDestRow(id);
        if (i >= kDatumRowCount) return false;
        DatumFillStep(kDatumRows[i], out);
        if (out->Ellipsoid != ELLIPSOID_USER_DEFINED) {
            out->MajorRadius = EllipsoidRadius(out->Ellipsoid);
            out->Flattening = EllipsoidFlattening(out->Ellipsoid);
        }
        return true;
    });
}

bool DatGetDatumMethod(DatumType id, DatumMethod* out) {
    return KV_GUARDED(false, [&]() -> bool {
        if (!out || !InRange(id)) return false;
        int i = DatumFindRow(id);
        if (i >= kDatumRowCount) return false;
        *out = kDatumRows[i].method;
        return true;
    });
}

} // namespace KVProj
