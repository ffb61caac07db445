// vxtctl bios: who made the firmware, and when.
#include "board_report.h"
#include "common/command.h"

namespace vxtctl {

using namespace vxttools;

namespace {

EExit g_Bios(CTool& rTool) {
    const CHostLibrary Library(rTool.Options());
    CDocument Document = rTool.NewDocument();
    Document.SetCsv("bios");
    CFindings Findings;
    g_AddBios(Document, Library, Findings);
    if (Document["bios"].Items().empty())
        throw CFailure(EExit::kNoSuchDevice,
                       "this machine does not tell who made its BIOS" + CHostLibrary::FilterHint());
    return Library.Emit(rTool, Document, std::move(Findings));
}

}  // namespace

extern constexpr CCommand kBios{"bios", "Show who made the BIOS, and when", "  vxtctl bios\n  vxtctl bios --json",
                                g_NewCall<g_Bios>};

}  // namespace vxtctl
