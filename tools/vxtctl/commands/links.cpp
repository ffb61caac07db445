// vxtctl links: the processor's HyperTransport links.
#include "common/command.h"
#include "link_settings.h"

namespace vxtctl {

using namespace vxttools;

namespace {

EExit g_Links(CTool& rTool) {
    const CHostLibrary Library(rTool.Options());
    CDocument Document = rTool.NewDocument();
    CFindings Findings;
    g_AddLinks(Document, Library, Findings);
    return Library.Emit(rTool, Document, std::move(Findings));
}

}  // namespace

extern constexpr CCommand kLinks{"links", "Show the processor's HyperTransport links",
                                 "  vxtctl links\n  vxtctl links --json", g_NewCall<g_Links>};

}  // namespace vxtctl
