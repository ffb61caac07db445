// vxtctl devices: the inventory, and with --all what each device tells.
#include <algorithm>

#include "common/command.h"
#include "device_kinds.h"
#include "device_report.h"

namespace vxtctl {

using namespace vxttools;

namespace {

struct CWanted {
    bool bAll = false;
};
constexpr COption<CWanted> kOptions[] = {
    {"--all", "", "Also all that modules, drives, monitors, controllers ... tell", &CWanted::bAll},
};

/// The list without the devices that have a row of their own: CSV has each id once.
void g_DropTold(CDocument& rDocument) {
    std::erase_if(rDocument["devices"].Items(), [&](const CJson& rDevice) {
        return std::ranges::any_of(kDeviceKinds, [&](const CDeviceKind& rKind) {
            return std::ranges::any_of(rDocument[rKind.pszKey].Items(),
                                       [&](const CJson& rTold) { return rTold["id"] == rDevice["id"]; });
        });
    });
}

EExit g_Devices(CTool& rTool, const CWanted& rWanted) {
    const CHostLibrary Library(rTool.Options());
    Library.RemarkOnCores(rTool.Output());
    CDocument Document = rTool.NewDocument();
    Document.SetCsv("devices");
    g_AddDevices(Document, Library.Devices());
    g_AddInventoryTable(Document);
    if (!rWanted.bAll) return Library.Emit(rTool, Document);
    CFindings Findings;
    for (const CDeviceKind& rKind : kDeviceKinds) {
        rKind.pAdd(Document, Library, Findings, true);
        Document.AddCsv(rKind.pszKey);
    }
    if (rTool.Output().Format() == EFormat::kCsv) g_DropTold(Document);
    return Library.Emit(rTool, Document, std::move(Findings));
}

}  // namespace

extern constexpr CCommand kDevices{"devices", "List every device",
                                   "  vxtctl devices\n  vxtctl devices --csv --output devices.csv\n"
                                   "  vxtctl devices --all --json",
                                   g_NewCall<CWanted, kOptions, g_Devices>};

}  // namespace vxtctl
