#include "common/findings.h"

namespace vxttools {

EExit g_EmitWithFindings(CTool& rTool, CDocument& rDocument, const CFindings& rFindings) {
    rDocument["findings"] = rFindings;
    for (const std::string& rsFinding : rFindings) rTool.Output().Note(rsFinding);
    return rTool.Emit(rDocument, rFindings.empty() ? EExit::kDone : EExit::kFindings);
}

}  // namespace vxttools
