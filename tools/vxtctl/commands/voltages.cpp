// vxtctl voltages: what the firmware tunes of the voltage controller.
#include "common/command.h"
#include "firmware_settings.h"

namespace vxtctl {

using namespace vxttools;

namespace {

EExit g_Voltages(CTool& rTool) {
    const CHostLibrary Library(rTool.Options());
    CDocument Document = rTool.NewDocument();
    CFindings Findings;
    g_AddVoltages(Document, Library, Findings);
    return Library.Emit(rTool, Document, std::move(Findings));
}

}  // namespace

extern constexpr CCommand kVoltages{"voltages", "Show the voltage controller's voltages with their limits",
                                    "  vxtctl voltages\n  vxtctl voltages --csv", g_NewCall<g_Voltages>};

}  // namespace vxtctl
