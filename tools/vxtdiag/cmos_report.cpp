#include "cmos_report.h"

#include <algorithm>

#include "common/text.h"
#include "firmware/cmos_items.h"

namespace vxtdiag {

using vxttools::CChange;
using vxttools::CDocument;
using vxttools::CFailure;
using vxttools::CJson;
using vxttools::EExit;

namespace {

constexpr uint32_t kHighestValue = 255;

std::optional<uint8_t> _ReadValue(uint32_t uNumber) {
    const int32_t nValue = vxt::g_GetCMOSItemList().GetItemValue(uNumber - 1);
    return nValue >= 0 && nValue <= static_cast<int32_t>(kHighestValue) ? std::optional(static_cast<uint8_t>(nValue))
                                                                        : std::nullopt;
}

/// What a value stands for; empty when no option does.
std::string _OptionText(const CSetupItem& rItem, double dValue) {
    return dValue >= 0 && dValue < static_cast<double>(rItem.Options.size())
               ? rItem.Options[static_cast<size_t>(dValue)]
               : "";
}

/// "0 Disabled, 1 Auto"
std::string _OptionList(const CSetupItem& rItem) {
    std::string sText;
    for (size_t i = 0; i < rItem.Options.size(); ++i)
        sText += (i ? ", " : "") + std::to_string(i) + " " + rItem.Options[i];
    return sText.empty() ? "0 to " + std::to_string(kHighestValue) : sText;
}

/// The one place with this text, in any letter case; nothing when there is none. Ends the command when there are
/// several.
template <class TRange, class TText>
std::optional<size_t> _FindUnique(const TRange& rRange, const std::string& sWanted, const std::string& sWhat,
                                  TText TextOf) {
    std::optional<size_t> oFound;
    for (size_t i = 0; i < rRange.size(); ++i) {
        if (vxttools::g_Lower(TextOf(rRange[i])) != vxttools::g_Lower(sWanted)) continue;
        if (oFound) throw CFailure(EExit::kNoSuchDevice, sWhat + " '" + sWanted + "' exists twice: give its number");
        oFound = i;
    }
    return oFound;
}

const CSetupItem& _FindItem(const std::vector<CSetupItem>& rItems, const std::string& sWanted) {
    if (const auto oNumber = vxttools::g_ParseUnsigned(sWanted); oNumber && *oNumber >= 1 && *oNumber <= rItems.size())
        return rItems[*oNumber - 1];
    const auto oFound = _FindUnique(rItems, sWanted, "item", [](const CSetupItem& rItem) { return rItem.sName; });
    if (sWanted.empty() || !oFound)
        throw CFailure(EExit::kNoSuchDevice, "no setup item '" + sWanted + "'; 'vxtdiag cmos' lists names and numbers");
    return rItems[*oFound];
}

uint32_t _FindOption(const CSetupItem& rItem, const std::string& sWanted, bool bForce) {
    const std::string sWhere = "'" + rItem.sName + "': ";
    const auto oFound = _FindUnique(rItem.Options, sWanted, sWhere + "option", [](const std::string& s) { return s; });
    if (oFound && !sWanted.empty()) return static_cast<uint32_t>(*oFound);
    const auto oNumber = vxttools::g_ParseUnsigned(sWanted);
    if (!oNumber || *oNumber > kHighestValue)
        throw CFailure(EExit::kUsage,
                       sWhere + "no option '" + sWanted + "' (" + _OptionList(rItem) + "); nothing was written");
    if (!rItem.Options.empty() && *oNumber >= rItem.Options.size() && !bForce)
        throw CFailure(EExit::kUsage, sWhere + "no option has the number " + sWanted + " (" + _OptionList(rItem) +
                                          "); nothing was written, --force tries all the same");
    return *oNumber;
}

}  // namespace

std::vector<CSetupItem> g_ReadSetupItems(std::vector<std::string>& rFindings) {
    vxt::CCMOSItemList& rList = vxt::g_GetCMOSItemList();
    if (!rList.Init()) rFindings.push_back("the setup items cannot all be described");
    std::vector<CSetupItem> Items;
    for (const vxt::QOR_CMOS_ITEM& rDescription : rList.GetItemList()) {
        const uint32_t uNumber = static_cast<uint32_t>(Items.size()) + 1;
        CSetupItem& rItem = Items.emplace_back(
            CSetupItem{uNumber, vxttools::g_Printable(vxt::g_CmosText(rDescription.szName)), {}, _ReadValue(uNumber)});
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

std::vector<std::string> g_AddSetupItems(CDocument& rDocument) {
    std::vector<std::string> Findings;
    CJson& rItems = rDocument["items"] = CJson::array();
    rDocument.SetCsv("items");
    vxttools::CTextTable Table{"Setup items", {">Number", "Name", ">Value", "Option", "Options"}};
    for (const CSetupItem& rItem : g_ReadSetupItems(Findings)) {
        const std::string sOption = rItem.oValue ? _OptionText(rItem, *rItem.oValue) : "";
        const CJson Value = rItem.oValue ? CJson(*rItem.oValue) : CJson(nullptr);
        const CJson Reason = rItem.oValue ? CJson(nullptr) : CJson("the firmware does not tell a value from 0 to 255");
        rItems.push_back({{"id", "/cmos/" + std::to_string(rItem.uNumber)},
                          {"number", rItem.uNumber},
                          {"name", rItem.sName},
                          {"value", Value},
                          {"status", rItem.oValue ? "ok" : "unavailable"},
                          {"reason", Reason},
                          {"option", sOption.empty() ? CJson(nullptr) : CJson(sOption)},
                          {"options", rItem.Options}});
        Table.Rows.push_back({std::to_string(rItem.uNumber), rItem.sName, vxttools::g_Cell(Value),
                              sOption.empty() ? "-" : sOption, _OptionList(rItem)});
    }
    rDocument.AddTable(std::move(Table));
    return Findings;
}

vxttools::CChangePlan g_PlanSetupChanges(const std::vector<std::string>& rWords, bool bForce) {
    std::vector<std::string> Findings;
    const std::vector<CSetupItem> Items = g_ReadSetupItems(Findings);
    std::vector<uint32_t> Named;
    vxttools::CChangePlan Plan;
    for (const std::string& sWord : rWords) {
        const size_t uSign = sWord.find('=');
        if (uSign == sWord.npos) throw CFailure(EExit::kUsage, "'" + sWord + "': expected ITEM=OPTION");
        const CSetupItem& rItem = _FindItem(Items, sWord.substr(0, uSign));
        if (std::ranges::count(Named, rItem.uNumber))
            throw CFailure(EExit::kUsage, "item " + std::to_string(rItem.uNumber) + " is named twice");
        Named.push_back(rItem.uNumber);
        const uint32_t uValue = _FindOption(rItem, sWord.substr(uSign + 1), bForce);
        Plan.Add({.sId = "/cmos/" + std::to_string(rItem.uNumber) + "/value",
                  .sOwner = "item " + std::to_string(rItem.uNumber),
                  .sLabel = rItem.sName,
                  .sUnit = "",
                  .dWanted = static_cast<double>(uValue),
                  .dTolerance = 0,
                  .sLegal = _OptionList(rItem),
                  .Limits = {0, kHighestValue},
                  .Read = [uNumber = rItem.uNumber]() -> std::optional<double> { return _ReadValue(uNumber); },
                  .Write =
                      [uNumber = rItem.uNumber, uValue] {
                          return vxt::g_GetCMOSItemList().SetItemValue(static_cast<uint16_t>(uNumber - 1), uValue);
                      },
                  .Meaning = [rItem](double dValue) { return _OptionText(rItem, dValue); },
                  .sDoubt = "was not taken over by the firmware"});
    }
    return Plan;
}

}  // namespace vxtdiag
