#include "setup_items.h"

#include <algorithm>

#include "common/text.h"
#include "firmware/cmos_items.h"

namespace vxtdiag {

std::optional<uint8_t> g_ReadSetupValue(uint32_t uNumber) {
    const int32_t nValue = vxt::g_GetCMOSItemList().GetItemValue(uNumber - 1);
    return nValue >= 0 && nValue <= static_cast<int32_t>(kHighestSetupValue)
               ? std::optional(static_cast<uint8_t>(nValue))
               : std::nullopt;
}

std::string g_OptionText(const CSetupItem& rItem, double dValue) {
    return dValue >= 0 && dValue < static_cast<double>(rItem.Options.size())
               ? rItem.Options[static_cast<size_t>(dValue)]
               : "";
}

std::string g_OptionList(const CSetupItem& rItem) {
    std::string sText;
    for (size_t i = 0; i < rItem.Options.size(); ++i)
        sText += (i ? ", " : "") + std::to_string(i) + " " + rItem.Options[i];
    return sText.empty() ? "0 to " + std::to_string(kHighestSetupValue) : sText;
}

std::vector<CSetupItem> g_ReadSetupItems(CFindings& rFindings) {
    vxt::CCMOSItemList& rList = vxt::g_GetCMOSItemList();
    if (!rList.Init()) rFindings.push_back("the setup items cannot all be described");
    std::vector<CSetupItem> Items;
    for (const vxt::QOR_CMOS_ITEM& rDescription : rList.GetItemList()) {
        const uint32_t uNumber = static_cast<uint32_t>(Items.size()) + 1;
        CSetupItem& rItem = Items.emplace_back(CSetupItem{
            uNumber, vxttools::g_Printable(vxt::g_CmosText(rDescription.szName)), {}, g_ReadSetupValue(uNumber)});
        const uint32_t uOptions = std::min<uint32_t>(rDescription.usOptionCount, vxt::kCmosOptions);
        for (uint32_t i = 0; i < uOptions; ++i)
            rItem.Options.push_back(vxttools::g_Printable(vxt::g_CmosText(rDescription.szOptionList[i])));
        if (rDescription.usOptionCount > vxt::kCmosOptions)
            rFindings.push_back("item " + std::to_string(uNumber) + " claims " +
                                std::to_string(rDescription.usOptionCount) + " options where " +
                                std::to_string(vxt::kCmosOptions) + " have room");
        if (!rItem.oValue) rFindings.push_back("item " + std::to_string(uNumber) + ": its value cannot be read");
    }
    return Items;
}

}  // namespace vxtdiag
