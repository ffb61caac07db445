// vxtdiag cmos: the firmware's setup items.
#include "common/command.h"
#include "firmware_session.h"
#include "setup_items.h"

namespace vxtdiag {

using namespace vxttools;

namespace {

EExit g_Cmos(CTool& rTool) {
    const CLibrarySession Library(rTool.Options());
    const CFirmwareSession Firmware;
    Firmware.Require(Library);
    CDocument Document = rTool.NewDocument();
    CFindings Findings;
    CJson& rItems = Document["items"] = CJson::Array();
    Document.SetCsv("items");
    CTextTable Table{"Setup items", {">Number", "Name", ">Value", "Option", "Options"}};
    for (const CSetupItem& rItem : g_ReadSetupItems(Findings)) {
        const std::string sOption = rItem.oValue ? g_OptionText(rItem, *rItem.oValue) : "";
        const CJson Reason = rItem.oValue ? nullptr : CJson("the firmware does not tell a value from 0 to 255");
        rItems.Push({{"id", "/cmos/" + std::to_string(rItem.uNumber)},
                     {"number", rItem.uNumber},
                     {"name", rItem.sName},
                     {"value", rItem.oValue},
                     {"status", rItem.oValue ? "ok" : "unavailable"},
                     {"reason", Reason},
                     {"option", sOption.empty() ? nullptr : CJson(sOption)},
                     {"options", rItem.Options}});
        Table.Rows.push_back({std::to_string(rItem.uNumber), rItem.sName, g_Cell(rItem.oValue), sOption,
                              rItem.oValue ? g_OptionList(rItem) : Reason.Text()});
    }
    Document.AddTable(std::move(Table));
    return g_EmitWithFindings(rTool, Document, Findings);
}

}  // namespace

extern constexpr CCommand kCmos{"cmos", "List the firmware's setup items and their options",
                                "  vxtdiag cmos\n  vxtdiag cmos --csv", g_NewCall<g_Cmos>};

}  // namespace vxtdiag
