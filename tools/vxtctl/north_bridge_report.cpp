#include "north_bridge_report.h"

#include "common/text.h"
#include "device_types.h"

namespace vxtctl {

using namespace vxttools;

void g_AddNorthBridge(CDocument& rDocument, const CHostLibrary& rLibrary, CFindings& rFindings) {
    const std::vector<CInventoryEntry> Devices = rLibrary.Devices(vxtapi::kDeviceNorthBridge);
    if (Devices.empty()) throw rLibrary.Absent("north bridge");
    auto& rBridge = *static_cast<vxtapi::CNorthBridge*>(Devices.front().pDevice);
    const std::string sPath = g_DevicePath(vxtapi::kDeviceNorthBridge, 0);
    CQuantity Current{sPath + "/ht_multiplier", "HyperTransport multiplier", "x 200 MHz"};
    CQuantity Maximum{sPath + "/max_ht_multiplier", "Highest HyperTransport multiplier", "x 200 MHz"};
    constexpr CPlausible kMultiplier{1, 13};
    g_TakeReading(Current, rBridge.GetHTMultiplier(), kMultiplier, nullptr, rFindings);
    g_TakeReading(Maximum, rBridge.GetMaxHTMultiplier(), kMultiplier, nullptr, rFindings);
    Current.Limits.oMaximum = Maximum.oValue;
    rDocument["model"] = g_Utf8(rBridge.GetModel());
    rDocument["readings"] = std::vector{Current.ToJson(), Maximum.ToJson()};
    rDocument.SetCsv("readings");
    CTextTable Table{g_Utf8(rBridge.GetModel()), {"", ""}};
    for (const CJson& rReading : std::as_const(rDocument)["readings"].Items())
        Table.Rows.push_back({"  " + g_Cell(rReading["label"]),
                              rReading["value"].IsNull() ? rReading["reason"].Text() : g_Cell(rReading, true)});
    rDocument.AddTable(std::move(Table));
}

}  // namespace vxtctl
