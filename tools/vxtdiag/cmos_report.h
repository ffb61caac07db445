// The firmware's setup items: list and change.
#pragma once

#include <vector>

#include "common/change_plan.h"

namespace vxtdiag {

/// One setup item. Texts are the firmware's, made printable.
struct CSetupItem {
    uint32_t uNumber;  ///< as the firmware counts them, from 1
    std::string sName;
    std::vector<std::string> Options;
    std::optional<uint8_t> oValue;  ///< nothing: it cannot be read
};

/// All items, read anew. What cannot be had is added to the findings.
std::vector<CSetupItem> g_ReadSetupItems(std::vector<std::string>& rFindings);

/// The document of "cmos". Returns the findings: what could not be read.
std::vector<std::string> g_AddSetupItems(vxttools::CDocument& rDocument);

/// The change for each "ITEM=OPTION". Ends the command when there is no such item or option; `bForce` also takes
/// numbers that no option stands for.
vxttools::CChangePlan g_PlanSetupChanges(const std::vector<std::string>& rWords, bool bForce);

}  // namespace vxtdiag
