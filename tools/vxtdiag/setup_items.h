// The firmware's setup items.
#pragma once

#include "common/findings.h"

namespace vxtdiag {

using vxttools::CFindings;

inline constexpr uint32_t kHighestSetupValue = 255;

/// One setup item. Texts are the firmware's, made printable.
struct CSetupItem {
    uint32_t uNumber;  ///< as the firmware counts them, from 1
    std::string sName;
    std::vector<std::string> Options;
    std::optional<uint8_t> oValue;  ///< nothing: it cannot be read
};

/// All items, read anew. What cannot be had is added to the findings.
std::vector<CSetupItem> g_ReadSetupItems(CFindings& rFindings);
/// One value, read anew.
std::optional<uint8_t> g_ReadSetupValue(uint32_t uNumber);
/// What a value stands for; empty when no option does.
std::string g_OptionText(const CSetupItem& rItem, double dValue);
/// "0 Disabled, 1 Auto"
std::string g_OptionList(const CSetupItem& rItem);

}  // namespace vxtdiag
