#include "findings.h"

namespace vxtdiag {

using vxttools::EExit;

EExit g_EmitWithFindings(vxttools::CTool& rTool, vxttools::CDocument& rDocument, const CFindings& rFindings) {
    rDocument["findings"] = rFindings;
    for (const std::string& rsFinding : rFindings) rTool.Output().Note(rsFinding);
    return rTool.Emit(rDocument, rFindings.empty() ? EExit::kDone : EExit::kFindings);
}

}  // namespace vxtdiag
