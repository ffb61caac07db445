// vxtctl without a command: the inventory and the cores.
#include "common/command.h"
#include "cpu_report.h"
#include "device_report.h"

namespace vxtctl {

using namespace vxttools;

namespace {

constexpr const char* kExamples =
    "  vxtctl                                  the inventory and the cores\n"
    "  vxtctl devices --json                   every device, for a script\n"
    "  vxtctl device board                     one kind of device\n"
    "  vxtctl cpu 0                            everything about core 0\n"
    "  vxtctl cpu set --core 0 --multiplier 12 --dry-run\n"
    "  vxtctl cpu set --multiplier 10 --yes    all cores, without asking\n"
    "  vxtctl memory set tcl=9 trcd=9 --yes    timings; vxtctl memory lists the legal values\n"
    "  vxtctl clocks set external=205 --yes    through the firmware, where the board offers it\n"
    "  vxtctl sensors --watch --count 3        live on a terminal; without --count until Ctrl-C\n"
    "  vxtctl --machine k8-revf-dual cpu       a simulated PC (simulated builds)";

EExit g_Overview(CTool& rTool) {
    const CHostLibrary Library(rTool.Options());
    Library.RemarkOnCores(rTool.Output());
    CDocument Document = rTool.NewDocument();
    Document.SetCsv("devices", "cores");
    g_AddDevices(Document, Library.Devices());
    g_AddInventoryTable(Document);
    Document["cores"] = CJson::Array();
    CFindings Findings;
    if (const std::vector<CInventoryEntry> Cores = Library.Devices(vxtapi::kDeviceCpu); !Cores.empty()) {
        g_AddCores(Document, Cores, Findings);
        g_AddCoreOverview(Document);
    }
    return Library.Emit(rTool, Document, std::move(Findings));
}

}  // namespace

extern constexpr CCommand kOverview{"", "Show and tune the hardware that VXTAPI knows", kExamples,
                                    g_NewCall<g_Overview>};

}  // namespace vxtctl
