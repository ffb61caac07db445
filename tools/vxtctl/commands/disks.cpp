// vxtctl disks: hard disks and optical drives.
#include "common/command.h"
#include "drive_report.h"

namespace vxtctl {

using namespace vxttools;

namespace {

EExit g_Disks(CTool& rTool) {
    const CHostLibrary Library(rTool.Options());
    CDocument Document = rTool.NewDocument();
    Document.SetCsv("drives");
    CFindings Findings;
    g_AddDrives(Document, Library, Findings);
    if (Document["drives"].Items().empty()) throw Library.Absent("disk or optical drive");
    return Library.Emit(rTool, Document, std::move(Findings));
}

}  // namespace

extern constexpr CCommand kDisks{"disks", "Show hard disks and optical drives", "  vxtctl disks\n  vxtctl disks --json",
                                 g_NewCall<g_Disks>};

}  // namespace vxtctl
