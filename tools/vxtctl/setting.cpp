#include "setting.h"

#include <algorithm>
#include <charconv>
#include <cmath>

#include "common/text.h"

namespace vxtctl {

using vxttools::CFailure;
using vxttools::CJson;
using vxttools::CQuantity;
using vxttools::EExit;
using vxttools::g_Trimmed;

namespace {

constexpr double kSame = 1e-5;  ///< values closer than this are one to the hardware's tables

bool _IsSame(double a, double b) { return std::abs(a - b) < kSame; }

std::string _Text(const CSetting& rSetting, double dValue) {
    return rSetting.bSwitch ? (dValue != 0 ? "on" : "off") : g_Trimmed(dValue, 4);
}

/// Legal values once each, the current one in brackets.
std::string _LegalText(const CSetting& rSetting) {
    std::string sText;
    std::vector<double> Told;
    for (const double dLegal : rSetting.Legal) {
        if (std::ranges::any_of(Told, [&](double d) { return _IsSame(d, dLegal); })) continue;
        Told.push_back(dLegal);
        const std::string sValue = _Text(rSetting, dLegal);
        const bool bCurrent = rSetting.dValue && _IsSame(*rSetting.dValue, dLegal);
        sText += (sText.empty() ? "" : " ") + (bCurrent ? "[" + sValue + "]" : sValue);
    }
    return sText;
}

}  // namespace

std::vector<CAssignment> g_ParseAssignments(const std::vector<std::string>& rWords) {
    std::vector<CAssignment> Assignments;
    for (const std::string& sWord : rWords) {
        const size_t uSign = sWord.find('=');
        const std::string sKey = sWord.substr(0, uSign), sValue = uSign == sWord.npos ? "" : sWord.substr(uSign + 1);
        double dValue = sValue == "on" ? 1 : 0;
        if (sValue != "on" && sValue != "off") {
            const auto [pRest, eError] = std::from_chars(sValue.data(), sValue.data() + sValue.size(), dValue);
            if (eError != std::errc() || pRest != sValue.data() + sValue.size() || !std::isfinite(dValue))
                throw CFailure(EExit::kUsage, "'" + sWord + "': expected NAME=VALUE with a number, 'on' or 'off'");
        }
        if (std::ranges::count(Assignments, sKey, &CAssignment::sKey))
            throw CFailure(EExit::kUsage, "'" + sKey + "' is named twice");
        Assignments.push_back({sKey, dValue});
    }
    return Assignments;
}

CJson g_SettingsToJson(const std::vector<CSetting>& rSettings, const std::string& sPath) {
    CJson Settings = CJson::array();
    for (const CSetting& rSetting : rSettings) {
        CQuantity Quantity{sPath + "/" + rSetting.sKey, rSetting.sLabel, rSetting.sUnit, rSetting.dValue};
        Quantity.sReason = rSetting.sReason;
        if (!rSetting.Legal.empty()) {
            const auto [itLow, itHigh] = std::ranges::minmax_element(rSetting.Legal);
            Quantity.Limits = {*itLow, *itHigh};
        }
        CJson Setting = Quantity.ToJson();
        Setting["legal"] = rSetting.Legal.empty() ? CJson(nullptr) : CJson(rSetting.Legal);
        Setting["writable"] = !rSetting.bReadOnly;
        Settings.push_back(std::move(Setting));
    }
    return Settings;
}

void g_AddSettingTable(vxttools::CDocument& rDocument, const std::string& sTitle,
                       const std::vector<CSetting>& rSettings) {
    vxttools::CTextTable Table{sTitle, {"Name", "Meaning", ">Value", "Unit", "Legal values"}};
    for (const CSetting& rSetting : rSettings)
        Table.Rows.push_back({rSetting.sKey, rSetting.sLabel, rSetting.dValue ? _Text(rSetting, *rSetting.dValue) : "-",
                              rSetting.sUnit,
                              rSetting.dValue || !rSetting.Legal.empty() ? _LegalText(rSetting) : rSetting.sReason});
    rDocument.AddTable(std::move(Table));
}

vxttools::CChange g_PlanSetting(const std::vector<CSetting>& rSettings, const CAssignment& rAssignment,
                                const std::string& sPath, bool bForce) {
    const auto it = std::ranges::find(rSettings, rAssignment.sKey, &CSetting::sKey);
    if (it == rSettings.end())
        throw CFailure(EExit::kNoSuchDevice,
                       "no setting '" + rAssignment.sKey + "'; the names stand in the first column of the list");
    const std::string sLegal = it->Legal.empty() ? "the library offers no list" : _LegalText(*it);
    if (it->bReadOnly || (!it->dValue && it->Legal.empty()))
        throw CFailure(EExit::kNoSuchDevice, "'" + it->sKey + "' cannot be set: " +
                                                 (it->bReadOnly ? "the hardware only reports it" : it->sReason));
    const bool bLegal = std::ranges::any_of(it->Legal, [&](double d) { return _IsSame(d, rAssignment.dValue); });
    if (!bLegal && !bForce)
        throw CFailure(EExit::kUsage, it->sKey + "=" + g_Trimmed(rAssignment.dValue, 6) + ": not a legal value (" +
                                          sLegal + "); nothing was written, --force tries all the same");
    vxttools::CChange Change{.sId = sPath + "/" + it->sKey,
                             .sOwner = {},
                             .sLabel = it->sLabel,
                             .sUnit = it->sUnit,
                             .dWanted = rAssignment.dValue,
                             .dTolerance = kSame,
                             .sLegal = sLegal,
                             .Limits = {},
                             .Read = {},
                             .Write = {}};
    if (!it->Legal.empty()) {
        const auto [itLow, itHigh] = std::ranges::minmax_element(it->Legal);
        Change.Limits = {*itLow, *itHigh};
    }
    return Change;
}

}  // namespace vxtctl
