// libFuzzer target: angle text read and written under the C locale and under
// a decimal-comma locale must give the same values and the same text.
#include "FuzzSupport.h"
#include "LocaleSwitch.h"
#include "kvproj/angle.h"

#include <cstring>
#include <string>
#include <vector>

using namespace KVProj;
using kvfuzz::Check;

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    kvfuzz::CommaLocaleName();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    kvfuzz::Bytes in(data, size);
    const double value = in.Take<double>();
    const int flags = in.Take<uint16_t>();
    const char mark = static_cast<char>(in.Take<uint8_t>());
    std::vector<char> text(in.Left() + 1, '\0');
    in.TakeInto(text.data(), text.size() - 1);

    bool okRead[2] = {}, okWrite[2] = {};
    double read[2] = {}, reread[2] = {};
    std::string written[2];
    kvfuzz::UnderBothLocales([&](bool comma) {
        std::vector<char> copy = text; // the reader may be handed a writable buffer
        okRead[comma] = LatLonToDegrees(copy.data(), &read[comma], mark);
        char out[LL_TEXT_LEN];
        okWrite[comma] = DegreesToLatLon(out, value, flags, 'd', 'm', 's');
        if (okWrite[comma]) {
            written[comma] = out;
            LatLonToDegrees(out, &reread[comma], 'd');
        }
    });
    Check(okRead[0] == okRead[1]);
    if (okRead[0]) Check(std::memcmp(&read[0], &read[1], sizeof(double)) == 0);
    Check(okWrite[0] == okWrite[1]);
    if (okWrite[0]) {
        Check(written[0] == written[1]);
        Check(written[0].find(',') == std::string::npos);
        Check(std::memcmp(&reread[0], &reread[1], sizeof(double)) == 0);
    }
    return 0;
}
