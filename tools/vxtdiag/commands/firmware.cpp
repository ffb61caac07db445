// vxtdiag firmware: the firmware's tunable objects, its commands, and what it says of the board.
#include <algorithm>

#include "candidates.h"
#include "common/command.h"
#include "common/device_id.h"
#include "common/text.h"
#include "firmware/cmos_items.h"
#include "firmware_objects.h"

namespace vxtdiag {

using namespace vxttools;

namespace {

struct CWanted {
    std::optional<std::string> oId;
};
constexpr COption<CWanted> kOptions[] = {
    {"ID", "", "Object to show, in hexadecimal", &CWanted::oId, false, nullptr, g_ObjectCandidates},
};

constexpr uint32_t kClocks[] = {0x01010000, 0x01020000, 0x01030000};
constexpr uint32_t kFirstVoltage = 0x02010000;

const char* g_Unit(uint32_t uID) { return std::ranges::count(kClocks, uID) ? "kHz" : uID >= kFirstVoltage ? "mV" : ""; }

CJson g_ToJson(const CFirmwareObject& rObject) {
    const std::string sId = g_Hex(rObject.Record.uID, 8), sName = g_Utf8(rObject.Record.szID.data());
    return {{"id", "/firmware/" + sId},
            {"object_id", sId},
            {"name", sName},
            {"property", rObject.Record.uProperty},
            {"value", rObject.oValue},
            {"unit", g_Unit(rObject.Record.uID)},
            {"status", rObject.oValue ? "ok" : "unavailable"},
            {"reason", rObject.oValue ? nullptr : CJson(g_Reason(rObject))},
            {"values", rObject.oValues},
            {"info", rObject.oInfo}};
}

/// Numbers in a row; of a long list the ends.
std::string g_Numbers(const CJson& rNumbers, bool bAll) {
    constexpr size_t kLongList = 8, kShownAtEnds = 3;
    if (rNumbers.IsNull()) return "-";
    const std::vector<CJson>& rItems = rNumbers.Items();
    const bool bShort = !bAll && rItems.size() > kLongList;
    std::string sText;
    for (size_t i = 0; i < rItems.size(); ++i) {
        if (bShort && i == kShownAtEnds) sText += " ...";
        if (bShort && i >= kShownAtEnds && i + kShownAtEnds < rItems.size()) continue;
        sText += (sText.empty() ? "" : " ") + rItems[i].Dump();
    }
    return sText;
}

void g_AddBoard(CDocument& rDocument, const CFirmwareSession& rSession, CFindings& rFindings) {
    vxt::CBIOSMiscInfo& rInfo = vxt::g_GetBIOSMiscInfo();
    const bool bInfo = rInfo.Init();
    if (!rSession.HasCommands()) rFindings.push_back("the interface's version and commands cannot be read");
    if (!bInfo) rFindings.push_back("the board's vendor and graphics cannot be read");
    const std::string sVendor = g_Printable(rInfo.GetVendorName());  // may be there without the rest
    const uint32_t uVersion = vxt::g_GetQORBIOS().GetVersion();
    CJson Commands = CJson::Array();
    std::string sCommands;
    for (const uint32_t uCommand : vxt::g_GetQORBIOS().GetCommandList()) {
        Commands.Push("0x" + g_Hex(uCommand, 8));
        sCommands += (sCommands.empty() ? "" : " ") + g_Hex(uCommand, 8);
    }
    rDocument["interface_version"] = uVersion ? CJson(uVersion) : nullptr;
    rDocument["vendor"] = sVendor.empty() ? nullptr : CJson(sVendor);
    CJson Graphics{{"present", nullptr}, {"information", nullptr}};
    if (bInfo) Graphics = {{"present", rInfo.IsIGPPresent()}, {"information", rInfo.GetIGPInfo()}};
    rDocument["integrated_graphics"] = Graphics;
    rDocument["commands"] = Commands;
    rDocument.AddTable({"Firmware",
                        {"", ""},
                        {{"  interface version", g_Cell(rDocument["interface_version"])},
                         {"  vendor", g_Cell(rDocument["vendor"])},
                         {"  integrated graphics", g_Cell(Graphics["present"])},
                         {"  commands", sCommands.empty() ? "-" : sCommands}}});
}

EExit g_Firmware(CTool& rTool, const CWanted& rWanted) {
    const auto oWanted =
        rWanted.oId ? std::optional(g_Lower(std::string(g_WithoutPath(*rWanted.oId, "firmware")))) : std::nullopt;
    const CLibrarySession Library(rTool.Options());
    const CFirmwareSession Firmware;
    Firmware.Require(Library);
    CDocument Document = rTool.NewDocument();
    CFindings Findings;
    g_AddBoard(Document, Firmware, Findings);
    CJson& rObjects = Document["objects"] = CJson::Array();
    Document.SetCsv("objects");
    CTextTable Table{"Objects", {"ID", "Name", "~~>Property", ">Value", "Unit", "Legal values", "~Description words"}};
    for (const CFirmwareObject& rObject : g_ReadFirmwareObjects(Firmware, Findings)) {
        CJson Row = g_ToJson(rObject);
        if (oWanted && Row["object_id"].Text() != oWanted) continue;
        Table.Rows.push_back({g_Cell(Row["object_id"]), g_Cell(Row["name"]), g_Cell(Row["property"]),
                              g_Cell(Row["value"]), Row["unit"].Text(),
                              rObject.oValue ? g_Numbers(Row["values"], oWanted.has_value()) : g_Cell(Row["reason"]),
                              g_Numbers(Row["info"], oWanted.has_value())});
        rObjects.Push(std::move(Row));
    }
    if (oWanted && rObjects.Items().empty())
        throw CFailure(EExit::kNoSuchDevice, "no firmware object '" + *rWanted.oId + "'; IDs look like 01010000");
    Document.AddTable(std::move(Table));
    return g_EmitWithFindings(rTool, Document, Findings);
}

}  // namespace

extern constexpr CCommand kFirmware{"firmware", "Show what the board's firmware can tune: objects, commands",
                                    "  vxtdiag firmware\n  vxtdiag firmware 01010000 --json",
                                    g_NewCall<CWanted, kOptions, g_Firmware>};

}  // namespace vxtdiag
