#include "common/core_tables.h"

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

std::string g_CoreTitle(const std::string& sCores) {
    return (sCores.find('-') == std::string::npos ? "core " : "cores ") + sCores;
}

}  // namespace vxttools
