#include "common/core_tables.h"

#include "common/device_id.h"
#include "common/exit_code.h"

namespace vxttools {

std::vector<std::pair<std::string, CCells>> g_ShareRows(const CJson& rCores, CCells (*pRows)(const CJson& rCore)) {
    std::vector<std::pair<std::string, CCells>> Shared;
    std::string sFirst;
    for (const CJson& rCore : rCores.Items()) {
        const std::string sIndex = g_Cell(rCore["index"]);
        CCells Rows = pRows(rCore);
        if (!Shared.empty() && Shared.back().second == Rows) {
            Shared.back().first = sFirst + "-" + sIndex;
        } else {
            sFirst = sIndex;
            Shared.emplace_back(sIndex, std::move(Rows));
        }
    }
    return Shared;
}

uint32_t g_ParseCore(const std::string& sText, const std::string& sName) {
    const std::optional<uint32_t> oCore = g_ParseIndex(sText, "cpu");
    if (!oCore)
        throw CFailure(EExit::kUsage,
                       sName + " " + sText + ": expected a core like 0 or cpu/0" + g_DidYouMean(sText, {"set"}));
    return *oCore;
}

std::string g_CoreTitle(const std::string& sCores) {
    return (sCores.find('-') == std::string::npos ? "core " : "cores ") + sCores;
}

}  // namespace vxttools
