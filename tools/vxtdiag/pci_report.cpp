#include "pci_report.h"

#include <algorithm>
#include <tuple>

#include "common/exit_code.h"
#include "common/text.h"
#include "pci_class_names.h"

namespace vxtdiag {

using vxt::protocol::CPciRecord;
using vxttools::CFailure;
using vxttools::CJson;
using vxttools::EExit;
using vxttools::g_Hex;

namespace {

constexpr size_t kConventionalSize = 256, kExtendedSize = 4096;

CJson _ToJson(const CPciRecord& rRecord, const CJson& rData) {
    const uint32_t uClassCode =
        static_cast<uint32_t>(rRecord.ucClass << 16 | rRecord.ucSubclass << 8 | rRecord.ucInterface);
    return {{"id", "/pci/" + g_PciAddress(rRecord)},
            {"address", g_PciAddress(rRecord)},
            {"vendor_id", "0x" + g_Hex(rRecord.usVendor, 4)},
            {"device_id", "0x" + g_Hex(rRecord.usDevice, 4)},
            {"class_code", "0x" + g_Hex(uClassCode, 6)},
            {"class_name", g_PciClassName(rRecord.ucClass, rRecord.ucSubclass)},
            {"revision", "0x" + g_Hex(rRecord.ucRevision, 2)},
            {"data", rData}};
}

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

void g_AddPciFunctions(vxttools::CDocument& rDocument, const std::string& sAddress) {
    rDocument.SetCsv("functions");
    CJson& rFunctions = rDocument["functions"] = CJson::array();
    vxttools::CTextTable Table{"", {"Address", "Vendor", "Device", "Class", "Rev", "Kind"}};
    std::string sWanted = sAddress;
    std::ranges::transform(sWanted, sWanted.begin(),
                           [](char c) { return c >= 'A' && c <= 'F' ? static_cast<char>(c - 'A' + 'a') : c; });
    for (const CPciRecord& rRecord : g_PciFunctions()) {
        if (sWanted.empty()) {
            const CJson& rRow = rFunctions.emplace_back(_ToJson(rRecord, nullptr));
            Table.Rows.push_back({rRow["address"], g_Hex(rRecord.usVendor, 4), g_Hex(rRecord.usDevice, 4),
                                  rRow["class_code"].get<std::string>().substr(2), g_Hex(rRecord.ucRevision, 2),
                                  rRow["class_name"]});
        } else if (sWanted == g_PciAddress(rRecord)) {
            const std::vector<uint8_t> Data = g_ReadPciFunction(rRecord);
            if (Data.size() < kConventionalSize)
                throw CFailure(EExit::kFailed, sAddress + ": reading its configuration space failed at offset " +
                                                   g_Hex(Data.size(), 2));
            const std::string sDump = vxttools::g_HexDump(Data);
            rFunctions.push_back(_ToJson(rRecord, vxttools::g_HexString(Data)));
            rDocument.SetText(sWanted + " " + g_PciClassName(rRecord.ucClass, rRecord.ucSubclass) + ": " +
                              g_Hex(rRecord.usVendor, 4) + ":" + g_Hex(rRecord.usDevice, 4) + " (rev " +
                              g_Hex(rRecord.ucRevision, 2) + ")\n" + sDump);
        }
    }
    if (!sWanted.empty() && rFunctions.empty())
        throw CFailure(EExit::kNoSuchDevice, "no PCI function at '" + sAddress + "'; addresses look like 00:18.3");
    if (sWanted.empty()) rDocument.AddTable(std::move(Table));
}

}  // namespace vxtdiag
