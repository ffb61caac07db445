// IDENTIFY data of any content: nothing is read behind them, and what is told lies in its range.
#include <algorithm>

#include "devices/peripherals/ata_identify.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* pData, size_t uSize) {
    const vxt::CAtaIdentity Disk = vxt::g_DecodeAtaIdentity({pData, uSize});
    if ((uSize < 512) != (Disk.eVerdict == vxt::EAtaVerdict::kCut)) __builtin_trap();
    const auto IsPlain = [](char ch) { return ch >= ' ' && ch <= '~'; };
    for (const std::string_view sText : {Disk.Model.Get(), Disk.SerialNumber.Get(), Disk.Firmware.Get()})
        if (!std::ranges::all_of(sText, IsPlain) || sText.starts_with(' ') || sText.ends_with(' ')) __builtin_trap();
    if (Disk.oBytes && (!Disk.oSectors || *Disk.oBytes / *Disk.oSectors < 512)) __builtin_trap();
    if (Disk.oQueueDepth.value_or(1) > 32 || Disk.oQueueDepth == 0) __builtin_trap();
    for (const vxt::CAtaFeature& rFeature : Disk.aFeatures)
        if (rFeature.oEnabled && rFeature.oSupported != true) __builtin_trap();
    return 0;
}
