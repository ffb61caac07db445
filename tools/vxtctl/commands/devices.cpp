// vxtctl devices: the inventory.
#include "common/command.h"
#include "device_report.h"

namespace vxtctl {

using namespace vxttools;

namespace {

EExit g_Devices(CTool& rTool) {
    const CHostLibrary Library(rTool.Options());
    Library.RemarkOnCores(rTool.Output());
    CDocument Document = rTool.NewDocument();
    Document.SetCsv("devices");
    g_AddDevices(Document, Library.Devices());
    g_AddInventoryTable(Document);
    return Library.Emit(rTool, Document);
}

}  // namespace

extern constexpr CCommand kDevices{"devices", "List every device",
                                   "  vxtctl devices\n  vxtctl devices --csv --output devices.csv",
                                   g_NewCall<g_Devices>};

}  // namespace vxtctl
