// EDIDs of any content: nothing is read behind them, and what is told lies in its range.
#include <cmath>
#include <cstring>
#include <vector>

#include "devices/peripherals/edid.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* pData, size_t uSize) {
    // What comes before the descriptors is made right: hardly any input would have it.
    std::vector<uint8_t> Image(pData, pData + uSize);
    constexpr uint8_t kHeader[] = {0x00, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0x00};
    if (uSize >= 20 && pData[0] % 8) std::memcpy(Image.data(), kHeader, sizeof(kHeader)), Image[18] = 1;
    for (size_t uBlock = 0; uBlock + 128 <= uSize && pData[0] % 4; uBlock += 128) {
        uint8_t ucSum = 0;
        for (size_t i = 0; i < 128; ++i) ucSum = static_cast<uint8_t>(ucSum + Image[uBlock + i]);
        Image[uBlock + 127] = static_cast<uint8_t>(Image[uBlock + 127] - ucSum);
    }
    Image.shrink_to_fit();  // what is read behind it lies in nobody's memory
    const vxt::CEdid Edid = vxt::g_DecodeEdid(Image);
    if (Edid.ucModes > vxt::CEdid::kMaxModes || Edid.ucNativeModes > Edid.ucModes) __builtin_trap();
    if (Edid.ucExtensionsThere > Edid.ucExtensions || (Edid.bPreferred && !Edid.ucModes)) __builtin_trap();
    for (size_t i = 0; i < Edid.ucModes; ++i)
        if (!std::isfinite(Edid.aModes[i].dRefresh) || Edid.aModes[i].dRefresh <= 0) __builtin_trap();
    if (Edid.oLimits && Edid.oLimits->usLowestRefresh > Edid.oLimits->usHighestRefresh) __builtin_trap();
    return 0;
}
