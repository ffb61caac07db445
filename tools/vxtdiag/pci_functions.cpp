#include "pci_functions.h"

#include <algorithm>
#include <tuple>

#include "common/text.h"

namespace vxtdiag {

using vxt::protocol::CPciRecord;
using vxttools::g_Hex;

namespace {

constexpr size_t kExtendedSize = 4096;

}  // namespace

std::string g_PciAddress(const CPciRecord& rRecord) {
    return g_Hex(rRecord.uBus, 2) + ":" + g_Hex(rRecord.uDevice, 2) + "." + g_Hex(rRecord.uFunction, 1);
}

std::vector<CPciRecord> g_PciFunctions() {
    std::vector<CPciRecord> Functions;
    for (const auto& [uKey, rRecord] : vxt::g_GetDriverHandler().GetPciFunctions()) Functions.push_back(rRecord);
    std::ranges::sort(Functions, {}, [](const CPciRecord& r) { return std::tuple(r.uBus, r.uDevice, r.uFunction); });
    return Functions;
}

std::vector<uint8_t> g_ReadPciFunction(const CPciRecord& rRecord) {
    std::vector<uint8_t> Data;
    for (uint32_t uOffset = 0; uOffset < kExtendedSize; uOffset += 4) {
        uint8_t aucDword[4];
        if (!vxt::g_GetDriverHandler().GetPCIConfig(rRecord.uBus, rRecord.uDevice, rRecord.uFunction, uOffset, aucDword,
                                                    4))
            break;
        Data.insert(Data.end(), std::begin(aucDword), std::end(aucDword));
    }
    const bool bNothingBehind =
        std::all_of(Data.begin() + static_cast<ptrdiff_t>(std::min(Data.size(), kConventionalSize)), Data.end(),
                    [](uint8_t ucByte) { return ucByte == 0xFF; });
    if (bNothingBehind) Data.resize(std::min(Data.size(), kConventionalSize));
    return Data;
}

}  // namespace vxtdiag
