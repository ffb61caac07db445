// vxtdiag cmos set: changing setup items.
#include <algorithm>

#include "candidates.h"
#include "common/change_plan.h"
#include "common/device_id.h"
#include "common/text.h"
#include "firmware/cmos_items.h"
#include "firmware_session.h"
#include "setup_items.h"

namespace vxtdiag {

using namespace vxttools;

namespace {

struct CWanted {
    std::vector<std::string> Words;
    bool bForce = false;
};
constexpr COption<CWanted> kOptions[] = {
    {"ITEM=OPTION", "", "Items by name or number; an option's text or its number", &CWanted::Words, true, nullptr,
     g_SetupCandidates},
    {"--force", "", "Also try numbers that no option stands for", &CWanted::bForce},
};

/// The one place with this text, in any letter case; nothing when there is none. Ends the command when there are
/// several.
template <class TRange, class TText>
std::optional<size_t> g_FindUnique(const TRange& rRange, const std::string& sWanted, const std::string& sWhat,
                                   TText TextOf) {
    std::optional<size_t> oFound;
    for (size_t i = 0; i < rRange.size(); ++i) {
        if (g_Lower(TextOf(rRange[i])) != g_Lower(sWanted)) continue;
        if (oFound) throw CFailure(EExit::kNoSuchDevice, sWhat + " '" + sWanted + "' exists twice: give its number");
        oFound = i;
    }
    return oFound;
}

const CSetupItem& g_FindItem(const std::vector<CSetupItem>& rItems, const std::string& sWanted) {
    if (const auto oNumber = g_ParseIndex(sWanted, "cmos"); oNumber && *oNumber >= 1 && *oNumber <= rItems.size())
        return rItems[*oNumber - 1];
    const auto oFound = g_FindUnique(rItems, sWanted, "item", [](const CSetupItem& rItem) { return rItem.sName; });
    if (sWanted.empty() || !oFound)
        throw CFailure(EExit::kNoSuchDevice, "no setup item '" + sWanted + "'; 'vxtdiag cmos' lists names and numbers");
    return rItems[*oFound];
}

uint32_t g_FindOption(const CSetupItem& rItem, const std::string& sWanted, bool bForce) {
    const std::string sWhere = "'" + rItem.sName + "': ";
    const auto oFound = g_FindUnique(rItem.Options, sWanted, sWhere + "option", [](const std::string& s) { return s; });
    if (oFound && !sWanted.empty()) return static_cast<uint32_t>(*oFound);
    const auto oNumber = g_ParseUnsigned(sWanted);
    if (!oNumber || *oNumber > kHighestSetupValue)
        throw CFailure(EExit::kUsage,
                       sWhere + "no option '" + sWanted + "' (" + g_OptionList(rItem) + "); nothing was written");
    if (!rItem.Options.empty() && *oNumber >= rItem.Options.size() && !bForce)
        throw CFailure(EExit::kUsage, sWhere + "no option has the number " + sWanted + " (" + g_OptionList(rItem) +
                                          "); nothing was written, --force tries all the same");
    return *oNumber;
}

/// The change for each "ITEM=OPTION". Ends the command when there is no such item or option.
CChangePlan g_PlanSetupChanges(const std::vector<std::string>& rWords, bool bForce) {
    CFindings Findings;
    const std::vector<CSetupItem> Items = g_ReadSetupItems(Findings);
    std::vector<uint32_t> Named;
    CChangePlan Plan;
    for (const std::string& sWord : rWords) {
        const size_t uSign = sWord.find('=');
        if (uSign == sWord.npos) throw CFailure(EExit::kUsage, "'" + sWord + "': expected ITEM=OPTION");
        const CSetupItem& rItem = g_FindItem(Items, sWord.substr(0, uSign));
        if (std::ranges::count(Named, rItem.uNumber))
            throw CFailure(EExit::kUsage, "item " + std::to_string(rItem.uNumber) + " is named twice");
        Named.push_back(rItem.uNumber);
        const uint32_t uValue = g_FindOption(rItem, sWord.substr(uSign + 1), bForce);
        Plan.Add({.sId = "/cmos/" + std::to_string(rItem.uNumber) + "/value",
                  .sOwner = "item " + std::to_string(rItem.uNumber),
                  .sLabel = rItem.sName,
                  .sUnit = "",
                  .dWanted = static_cast<double>(uValue),
                  .dTolerance = 0,
                  .sLegal = g_OptionList(rItem),
                  .Limits = {0, kHighestSetupValue},
                  .Read = [uNumber = rItem.uNumber]() -> std::optional<double> { return g_ReadSetupValue(uNumber); },
                  .Write =
                      [uNumber = rItem.uNumber, uValue] {
                          return vxt::g_GetCMOSItemList().SetItemValue(static_cast<uint16_t>(uNumber - 1), uValue);
                      },
                  .Meaning = [rItem](double dValue) { return g_OptionText(rItem, dValue); },
                  .sDoubt = "was not taken over by the firmware"});
    }
    return Plan;
}

EExit g_CmosSet(CTool& rTool, const CWanted& rWanted) {
    const CLibrarySession Library(rTool.Options());
    const CFirmwareSession Firmware;
    Firmware.Require(Library);
    return g_PlanSetupChanges(rWanted.Words, rWanted.bForce).Run(rTool);
}

}  // namespace

extern constexpr CCommand kCmosSet{"cmos set", "Change setup items",
                                   "  vxtdiag cmos set \"core trim boost=disabled\" --dry-run\n"
                                   "  vxtdiag cmos set 1=0 --yes",
                                   g_NewCall<CWanted, kOptions, g_CmosSet>};

}  // namespace vxtdiag
