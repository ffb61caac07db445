// vxtctl modules: what the memory modules say of themselves.
#include "common/command.h"
#include "module_report.h"

namespace vxtctl {

using namespace vxttools;

namespace {

struct CWanted {
    bool bRaw = false;
};
constexpr COption<CWanted> kOptions[] = {
    {"--raw", "", "Also the modules' 256 bytes, as a machine file takes them; the rest as its remarks", &CWanted::bRaw},
};

EExit g_Modules(CTool& rTool, const CWanted& rWanted) {
    const CHostLibrary Library(rTool.Options());
    CDocument Document = rTool.NewDocument();
    Document.SetCsv("modules");
    CFindings Findings;
    g_AddModules(Document, Library, Findings,
                 {.bRaw = rWanted.bRaw, .uWidth = g_OutputWidth(rTool.Options().oOutput.has_value())});
    if (Document["modules"].Items().empty()) throw Library.Absent("memory module");
    return Library.Emit(rTool, Document, std::move(Findings));
}

}  // namespace

extern constexpr CCommand kModules{"modules", "Show the memory modules with their timings",
                                   "  vxtctl modules\n  vxtctl modules --json\n"
                                   "  vxtctl modules --raw --output modules.txt",
                                   g_NewCall<CWanted, kOptions, g_Modules>};

}  // namespace vxtctl
