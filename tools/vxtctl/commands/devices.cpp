// vxtctl devices: the inventory, and with --all what each device tells.
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
    return Library.Emit(rTool, Document, std::move(Findings));
}

}  // namespace

extern constexpr CCommand kDevices{"devices", "List every device",
                                   "  vxtctl devices\n  vxtctl devices --csv --output devices.csv\n"
                                   "  vxtctl devices --all --json",
                                   g_NewCall<CWanted, kOptions, g_Devices>};

}  // namespace vxtctl
