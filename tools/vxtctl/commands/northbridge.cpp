// vxtctl northbridge: the chipset's side of the processor's first link.
#include "common/command.h"
#include "common/text.h"
#include "device_types.h"
#include "host_library.h"

namespace vxtctl {

using namespace vxttools;

namespace {

EExit g_NorthBridge(CTool& rTool) {
    const CHostLibrary Library(rTool.Options());
    const std::vector<CInventoryEntry> Devices = Library.Devices(vxtapi::kDeviceNorthBridge);
    if (Devices.empty()) throw Library.Absent("north bridge");
    auto& rBridge = *static_cast<vxtapi::CNorthBridge*>(Devices.front().pDevice);
    const std::string sPath = g_DevicePath(vxtapi::kDeviceNorthBridge, 0);
    CQuantity Current{sPath + "/ht_multiplier", "HyperTransport multiplier", "x 200 MHz"};
    CQuantity Maximum{sPath + "/max_ht_multiplier", "Highest HyperTransport multiplier", "x 200 MHz"};
    CFindings Findings;
    constexpr CPlausible kMultiplier{1, 13};
    g_TakeReading(Current, rBridge.GetHTMultiplier(), kMultiplier, nullptr, Findings);
    g_TakeReading(Maximum, rBridge.GetMaxHTMultiplier(), kMultiplier, nullptr, Findings);
    Current.Limits.oMaximum = Maximum.oValue;
    CDocument Document = rTool.NewDocument();
    Document["model"] = g_Utf8(rBridge.GetModel());
    Document["readings"] = std::vector{Current.ToJson(), Maximum.ToJson()};
    Document.SetCsv("readings");
    CTextTable Table{g_Utf8(rBridge.GetModel()), {"", ""}};
    for (const CJson& rReading : std::as_const(Document)["readings"].Items())
        Table.Rows.push_back({"  " + g_Cell(rReading["label"]),
                              rReading["value"].IsNull() ? rReading["reason"].Text() : g_Cell(rReading, true)});
    Document.AddTable(std::move(Table));
    return Library.Emit(rTool, Document, std::move(Findings));
}

}  // namespace

extern constexpr CCommand kNorthBridge{"northbridge", "Show the chipset's side of the link", "  vxtctl northbridge",
                                       g_NewCall<g_NorthBridge>};

}  // namespace vxtctl
