#include "common/findings.h"

namespace vxttools {

void g_TakeReading(CQuantity& rQuantity, double dRaw, const CPlausible& rPlausible, const char* pszWhenZero,
                   CFindings& rFindings) {
    rQuantity.Judge(dRaw, rPlausible);
    if (rQuantity.oValue || rQuantity.bOutOfRange) return;
    const bool bFailed = dRaw != 0 || !pszWhenZero;
    rQuantity.sReason = bFailed ? kNotRead : pszWhenZero;
    if (bFailed) rFindings.push_back(rQuantity.sId + " could not be read");
}

EExit g_EmitWithFindings(CTool& rTool, CDocument& rDocument, const CFindings& rFindings) {
    rDocument["findings"] = rFindings;
    for (const std::string& rsFinding : rFindings) rTool.Output().Note(rsFinding);
    return rTool.Emit(rDocument, rFindings.empty() ? EExit::kDone : EExit::kFindings);
}

}  // namespace vxttools
