#include "setting.h"

#include <algorithm>
#include <charconv>
#include <cmath>

#include "common/text.h"

namespace vxtctl {

using vxttools::CFailure;
using vxttools::CJson;
using vxttools::CLimits;
using vxttools::CQuantity;
using vxttools::EExit;
using vxttools::g_Trimmed;

namespace {

constexpr double kSame = 1e-5;  ///< values closer than this are one to the hardware's tables

bool g_IsSame(double a, double b) { return std::abs(a - b) < kSame; }

std::string g_Text(const CSetting& rSetting, double dValue) {
    return rSetting.bSwitch ? (dValue != 0 ? "on" : "off") : g_Trimmed(dValue, 4);
}

bool g_HasLimits(const CSetting& rSetting) { return rSetting.Limits.oMinimum || rSetting.Limits.oMaximum; }

/// What is told counts; a list has its own ends.
CLimits g_Limits(const CSetting& rSetting) {
    if (g_HasLimits(rSetting) || rSetting.Legal.empty()) return rSetting.Limits;
    const auto [itLow, itHigh] = std::ranges::minmax_element(rSetting.Legal);
    return {*itLow, *itHigh};
}

bool g_IsLegal(const CSetting& rSetting, double dValue) {
    if (!rSetting.Legal.empty())
        return std::ranges::any_of(rSetting.Legal, [&](double d) { return g_IsSame(d, dValue); });
    const auto& [oMinimum, oMaximum] = rSetting.Limits;
    if (!g_HasLimits(rSetting) || (oMinimum && dValue < *oMinimum - kSame) || (oMaximum && dValue > *oMaximum + kSame))
        return false;
    const double dFirst = oMinimum.value_or(0), dStep = rSetting.oStep.value_or(0);
    return dStep <= 0 || g_IsSame(dFirst + std::round((dValue - dFirst) / dStep) * dStep, dValue);
}

/// Listed values once each, the current one in brackets. A long list shows its ends and what is near the current one.
std::string g_ListText(const CSetting& rSetting) {
    constexpr size_t kLongList = 24, kShownAtEnds = 3, kShownAround = 2;
    std::vector<double> Told;
    for (const double dLegal : rSetting.Legal)
        if (std::ranges::none_of(Told, [&](double d) { return g_IsSame(d, dLegal); })) Told.push_back(dLegal);
    const auto IsCurrent = [&](double d) { return rSetting.oValue && g_IsSame(*rSetting.oValue, d); };
    const size_t uCurrent = static_cast<size_t>(std::ranges::find_if(Told, IsCurrent) - Told.begin());
    std::string sText;
    bool bGap = false;
    for (size_t i = 0; i < Told.size(); ++i) {
        const bool bShown = Told.size() <= kLongList || i < kShownAtEnds || i + kShownAtEnds >= Told.size() ||
                            (i + kShownAround >= uCurrent && i <= uCurrent + kShownAround);
        const std::string sValue = g_Text(rSetting, Told[i]);
        if (bShown)
            sText += (sText.empty() ? "" : " ") + (i == uCurrent ? "[" + sValue + "]" : sValue);
        else if (!bGap)
            sText += " ...";
        bGap = !bShown;
    }
    return sText;
}

/// Empty when nothing is known.
std::string g_LegalText(const CSetting& rSetting) {
    if (!rSetting.Legal.empty()) return g_ListText(rSetting);
    const auto& [oMinimum, oMaximum] = rSetting.Limits;
    if (!g_HasLimits(rSetting)) return "";
    const std::string sText = !oMinimum   ? "up to " + g_Text(rSetting, *oMaximum)
                              : !oMaximum ? "from " + g_Text(rSetting, *oMinimum)
                                          : g_Text(rSetting, *oMinimum) + " to " + g_Text(rSetting, *oMaximum);
    return sText + (rSetting.oStep ? ", step " + g_Text(rSetting, *rSetting.oStep) : "");
}

/// Why the setting cannot be set, whatever the value; nothing: it can.
std::optional<std::string> g_WhyFixed(const CSetting& rSetting) {
    if (rSetting.oFixed || rSetting.oValue || !g_LegalText(rSetting).empty()) return rSetting.oFixed;
    return rSetting.sReason;  // neither a reading to go by nor a value that is known to be legal
}

}  // namespace

void CSetting::Judge(double dRaw, const vxttools::CPlausible& rPlausible) {
    CQuantity Quantity;
    Quantity.Judge(dRaw, rPlausible);
    oValue = Quantity.oValue;
    bOutOfRange = Quantity.bOutOfRange;
    sReason = Quantity.sReason;
}

std::vector<CAssignment> g_ParseAssignments(const std::vector<std::string>& rWords) {
    std::vector<CAssignment> Assignments;
    for (const std::string& sWord : rWords) {
        const size_t uSign = sWord.find('=');
        const std::string sKey = sWord.substr(0, uSign), sValue = uSign == sWord.npos ? "" : sWord.substr(uSign + 1);
        const bool bIsWord = sValue == "on" || sValue == "off";
        double dValue = sValue == "on" ? 1 : 0;
        if (!bIsWord) {
            const auto [pRest, eError] = std::from_chars(sValue.data(), sValue.data() + sValue.size(), dValue);
            if (eError != std::errc() || pRest != sValue.data() + sValue.size() || !std::isfinite(dValue))
                throw CFailure(EExit::kUsage, "'" + sWord + "': expected NAME=VALUE with a number, 'on' or 'off'");
        }
        if (std::ranges::count(Assignments, sKey, &CAssignment::sKey))
            throw CFailure(EExit::kUsage, "'" + sKey + "' is named twice");
        Assignments.push_back({sKey, dValue, bIsWord});
    }
    return Assignments;
}

CJson g_SettingsToJson(const std::vector<CSetting>& rSettings, const std::string& sPath) {
    CJson Settings = CJson::Array();
    for (const CSetting& rSetting : rSettings) {
        CQuantity Quantity{sPath + "/" + rSetting.sKey, rSetting.sLabel, rSetting.sUnit, rSetting.oValue};
        Quantity.sReason = rSetting.sReason;
        Quantity.bOutOfRange = rSetting.bOutOfRange;
        Quantity.Limits = g_Limits(rSetting);
        CJson Setting = Quantity.ToJson();
        Setting["default"] = rSetting.oDefault;
        Setting["step"] = rSetting.oStep;
        Setting["legal"] = rSetting.Legal.empty() ? nullptr : CJson(rSetting.Legal);
        Setting["writable"] = !g_WhyFixed(rSetting);
        Settings.Push(std::move(Setting));
    }
    return Settings;
}

void g_AddSettingTable(vxttools::CDocument& rDocument, const std::string& sTitle,
                       const std::vector<CSetting>& rSettings) {
    vxttools::CTextTable Table{sTitle, {"Name", "Meaning", ">Value", "Unit", "Legal values"}};
    const bool bDefaults = std::ranges::any_of(rSettings, [](const CSetting& r) { return r.oDefault.has_value(); });
    if (bDefaults) Table.Columns.insert(Table.Columns.begin() + 3, ">Default");
    for (const CSetting& rSetting : rSettings) {
        const std::string sLegal = g_LegalText(rSetting);
        std::vector<std::string>& rRow = Table.Rows.emplace_back();
        rRow = {rSetting.sKey, rSetting.sLabel, rSetting.oValue ? g_Text(rSetting, *rSetting.oValue) : "-"};
        if (bDefaults) rRow.push_back(rSetting.oDefault ? g_Text(rSetting, *rSetting.oDefault) : "-");
        rRow.push_back(rSetting.sUnit);
        rRow.push_back(rSetting.oValue || !(sLegal.empty() || rSetting.oFixed) ? sLegal : rSetting.sReason);
    }
    rDocument.AddTable(std::move(Table));
}

vxttools::CChange g_PlanSetting(const std::vector<CSetting>& rSettings, const CAssignment& rAssignment,
                                const std::string& sPath, bool bForce) {
    const auto it = std::ranges::find(rSettings, rAssignment.sKey, &CSetting::sKey);
    if (it == rSettings.end())
        throw CFailure(EExit::kNoSuchDevice,
                       "no setting '" + rAssignment.sKey + "'; the names stand in the first column of the list");
    const std::string sKnown = g_LegalText(*it);
    const std::string sLegal = sKnown.empty() ? "the library offers neither a list nor limits" : sKnown;
    if (const auto oFixed = g_WhyFixed(*it))
        throw CFailure(EExit::kNoSuchDevice, "'" + it->sKey + "' cannot be set: " + *oFixed);
    if (rAssignment.bIsWord && !it->bSwitch)
        throw CFailure(EExit::kUsage, "'" + it->sKey + "' takes a number: 'on' and 'off' are for switches");
    if (!g_IsLegal(*it, rAssignment.dValue) && !bForce)
        throw CFailure(EExit::kUsage, it->sKey + "=" + g_Trimmed(rAssignment.dValue, 6) + ": not a legal value (" +
                                          sLegal + "); nothing was written, --force tries all the same");
    return {.sId = sPath + "/" + it->sKey,
            .sOwner = {},
            .sLabel = it->sLabel,
            .sUnit = it->sUnit,
            .dWanted = rAssignment.dValue,
            .dTolerance = it->dTolerance,
            .sLegal = sLegal,
            .Limits = g_Limits(*it),
            .Read = {},
            .Write = {}};
}

}  // namespace vxtctl
