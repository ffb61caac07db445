#include "common/core_tables.h"

#include <algorithm>

#include "common/device_id.h"
#include "common/exit_code.h"

namespace vxttools {

namespace {

/// "0-2,5" of ascending numbers.
std::string g_Ranges(const std::vector<uint32_t>& rNumbers) {
    std::string sRanges;
    for (size_t i = 0, uEnd; i < rNumbers.size(); i = uEnd) {
        for (uEnd = i + 1; uEnd < rNumbers.size() && rNumbers[uEnd] == rNumbers[uEnd - 1] + 1;) ++uEnd;
        sRanges += (sRanges.empty() ? "" : ",") + std::to_string(rNumbers[i]);
        if (uEnd > i + 1) sRanges += "-" + std::to_string(rNumbers[uEnd - 1]);
    }
    return sRanges;
}

}  // namespace

std::vector<std::pair<std::string, CCells>> g_ShareRows(const CJson& rCores, CCells (*pRows)(const CJson& rCore)) {
    std::vector<std::pair<std::vector<uint32_t>, CCells>> Groups;
    for (const CJson& rCore : rCores.Items()) {
        CCells Rows = pRows(rCore);
        const auto it = std::ranges::find(Groups, Rows, [](const auto& rGroup) { return rGroup.second; });
        auto& rGroup = it != Groups.end() ? *it : Groups.emplace_back(std::vector<uint32_t>(), std::move(Rows));
        rGroup.first.push_back(static_cast<uint32_t>(*rCore["index"].Number()));
    }
    std::vector<std::pair<std::string, CCells>> Shared;
    for (auto& [rNumbers, rRows] : Groups) Shared.emplace_back(g_Ranges(rNumbers), std::move(rRows));
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
    return (sCores.find_first_of("-,") == std::string::npos ? "core " : "cores ") + sCores;
}

}  // namespace vxttools
