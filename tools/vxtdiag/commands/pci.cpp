// vxtdiag pci: the PCI functions, or one of them and its configuration space.
#include "candidates.h"
#include "common/command.h"
#include "common/device_id.h"
#include "common/text.h"
#include "driver_session.h"
#include "pci_class_names.h"
#include "pci_functions.h"

namespace vxtdiag {

using namespace vxttools;
using vxt::protocol::CPciRecord;

namespace {

struct CWanted {
    std::optional<std::string> oAddress;
};
constexpr COption<CWanted> kOptions[] = {
    {"ADDRESS", "", "Function to dump, as bus:device.function in hexadecimal", &CWanted::oAddress, false, nullptr,
     g_PciCandidates},
};

CJson g_ToJson(const CPciRecord& rRecord, const CJson& rData) {
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

EExit g_Pci(CTool& rTool, const CWanted& rWanted) {
    const auto oWanted =
        rWanted.oAddress ? std::optional(g_Lower(std::string(g_WithoutPath(*rWanted.oAddress, "pci")))) : std::nullopt;
    const CLibrarySession Library(rTool.Options());
    const CDriverSession Driver(Library);
    CDocument Document = rTool.NewDocument();
    Document.SetCsv("functions");
    CJson& rFunctions = Document["functions"] = CJson::Array();
    CTextTable Table{"", {"Address", "Vendor", "Device", "~Class", "~Rev", "Kind"}};
    for (const CPciRecord& rRecord : g_PciFunctions()) {
        if (!oWanted) {
            const CJson& rRow = rFunctions.Push(g_ToJson(rRecord, nullptr));
            Table.Rows.push_back({g_Cell(rRow["address"]), g_Hex(rRecord.usVendor, 4), g_Hex(rRecord.usDevice, 4),
                                  g_Cell(rRow["class_code"]).substr(2), g_Hex(rRecord.ucRevision, 2),
                                  g_Cell(rRow["class_name"])});
        } else if (oWanted == g_PciAddress(rRecord)) {
            const std::vector<uint8_t> Data = g_ReadPciFunction(rRecord);
            if (Data.size() < kConventionalSize)
                throw CFailure(
                    EExit::kFailed,
                    *rWanted.oAddress + ": reading its configuration space failed at offset " + g_Hex(Data.size(), 2));
            const std::string sDump = g_HexDump(Data);
            rFunctions.Push(g_ToJson(rRecord, g_HexString(Data)));
            Document.SetText(*oWanted + " " + g_PciClassName(rRecord.ucClass, rRecord.ucSubclass) + ": " +
                             g_Hex(rRecord.usVendor, 4) + ":" + g_Hex(rRecord.usDevice, 4) + " (rev " +
                             g_Hex(rRecord.ucRevision, 2) + ")\n" + sDump);
        }
    }
    if (oWanted && rFunctions.Items().empty() && !Driver.Findings().empty())
        throw CFailure(EExit::kFailed, *rWanted.oAddress + ": " + Driver.Findings().front());
    if (oWanted && rFunctions.Items().empty())
        throw CFailure(EExit::kNoSuchDevice,
                       "no PCI function at '" + *rWanted.oAddress + "'; addresses look like 00:18.3");
    if (!oWanted) Document.AddTable(std::move(Table));
    return g_EmitWithFindings(rTool, Document, Driver.Findings());
}

}  // namespace

extern constexpr CCommand kPci{"pci", "List the PCI functions, or dump one", "  vxtdiag pci\n  vxtdiag pci 00:18.3",
                               g_NewCall<CWanted, kOptions, g_Pci>};

}  // namespace vxtdiag
