// libFuzzer target: custom datum values written and read under the C locale
// and under a decimal-comma locale must be the same text and the same record,
// and a written value must read back to a record that writes the same text.
#include "FuzzSupport.h"
#include "LocaleSwitch.h"
#include "datum/CustomDatum.h"

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
    DATUM2WGS84 record;
    in.TakeInto(&record, sizeof record);
    record.Method = static_cast<DatumMethod>(static_cast<unsigned>(record.Method) % 8);
    std::vector<char> text(in.Left() + 1, '\0');
    in.TakeInto(text.data(), text.size() - 1);

    bool okWrite[2] = {}, okRead[2] = {}, okBack[2] = {};
    std::string written[2];
    DATUM2WGS84 read[2], back[2];
    std::memset(read, 0, sizeof read);
    std::memset(back, 0, sizeof back);
    kvfuzz::UnderBothLocales([&](bool comma) {
        okRead[comma] = TextToDatumParams(text.data(), &read[comma]);
        okWrite[comma] = DatumParamsToText(record, &written[comma]);
        if (okWrite[comma]) okBack[comma] = TextToDatumParams(written[comma].c_str(), &back[comma]);
    });
    Check(okRead[0] == okRead[1]);
    if (okRead[0]) Check(std::memcmp(&read[0], &read[1], sizeof read[0]) == 0);
    Check(okWrite[0] == okWrite[1]);
    if (!okWrite[0]) return 0;
    Check(written[0] == written[1]);
    Check(okBack[0] == okBack[1]);
    if (okBack[0]) Check(std::memcmp(&back[0], &back[1], sizeof back[0]) == 0);
    // A value within the 255-character limit reads back to a record that is
    // written as the same text: no field is lost or moved.
    if (okBack[0] && written[0].size() < 255) {
        std::string again;
        Check(DatumParamsToText(back[0], &again) && again == written[0]);
    }
    return 0;
}
