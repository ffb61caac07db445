// vxtctl memory: the memory controller, timings and configuration.
#include "common/command.h"
#include "memory_settings.h"

namespace vxtctl {

using namespace vxttools;

namespace {

EExit g_Memory(CTool& rTool) {
    const CHostLibrary Library(rTool.Options());
    CDocument Document = rTool.NewDocument();
    CFindings Findings;
    g_AddMemory(Document, Library, Findings);
    return Library.Emit(rTool, Document, std::move(Findings));
}

}  // namespace

extern constexpr CCommand kMemory{"memory", "Show memory timings and configuration with their legal values",
                                  "  vxtctl memory\n  vxtctl memory --json", g_NewCall<g_Memory>};

}  // namespace vxtctl
