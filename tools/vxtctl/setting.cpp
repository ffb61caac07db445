#include "setting.h"

#include <algorithm>
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

constexpr const char* kNothingKnown = "the library offers neither a list nor limits";
constexpr double kSame = 1e-5;  ///< values closer than this are one to the hardware's tables

bool g_IsSame(double a, double b) { return std::abs(a - b) < kSame; }

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

/// Listed values, the current one in brackets. A long list shows its ends and what is near the current one.
std::string g_ListText(const CSetting& rSetting) {
    constexpr size_t kLongList = 40, kShownAtEnds = 3, kShownAround = 2;
    const std::vector<double>& Told = rSetting.Legal;
    const auto IsCurrent = [&](double d) { return rSetting.oValue && g_IsSame(*rSetting.oValue, d); };
    const size_t uCurrent = static_cast<size_t>(std::ranges::find_if(Told, IsCurrent) - Told.begin());
    std::string sText;
    bool bGap = false;
    for (size_t i = 0; i < Told.size(); ++i) {
        const bool bShown = Told.size() <= kLongList || i < kShownAtEnds || i + kShownAtEnds >= Told.size() ||
                            (i + kShownAround >= uCurrent && i <= uCurrent + kShownAround);
        const std::string sValue = rSetting.Text(Told[i]);
        if (bShown)
            sText += (sText.empty() ? "" : " ") + (i == uCurrent ? "[" + sValue + "]" : sValue);
        else if (!bGap)
            sText += " ...";
        bGap = !bShown;
    }
    return sText;
}

/// Why the setting cannot be set, whatever the value; nothing: it can.
std::optional<std::string> g_WhyFixed(const CSetting& rSetting) {
    if (rSetting.oFixed || rSetting.oValue || !g_LegalText(rSetting).empty()) return rSetting.oFixed;
    return rSetting.sReason;  // neither a reading to go by nor a value that is known to be legal
}

}  // namespace

std::string g_LegalText(const CSetting& rSetting) {
    if (!rSetting.Legal.empty()) return g_ListText(rSetting);
    const auto& [oMinimum, oMaximum] = rSetting.Limits;
    if (!g_HasLimits(rSetting)) return "";
    const std::string sText = !oMinimum   ? "up to " + rSetting.Text(*oMaximum)
                              : !oMaximum ? "from " + rSetting.Text(*oMinimum)
                                          : rSetting.Text(*oMinimum) + " to " + rSetting.Text(*oMaximum);
    return sText + (rSetting.oStep ? ", step " + rSetting.Text(*rSetting.oStep) : "");
}

void CSetting::Judge(double dRaw, const vxttools::CPlausible& rPlausible, const char* pszFailed) {
    CQuantity Quantity;
    Quantity.Judge(dRaw, rPlausible);
    oValue = Quantity.oValue;
    bOutOfRange = Quantity.bOutOfRange;
    sReason = Quantity.sReason;
    if (!oValue && !bOutOfRange) Fail(pszFailed);
}

void CSetting::SetLegal(std::vector<double> Values) {
    std::ranges::sort(Values);
    Values.erase(std::unique(Values.begin(), Values.end(), g_IsSame), Values.end());
    Legal = std::move(Values);
}

std::string CSetting::Text(double dNumber) const {
    return TakesWord(dNumber) ? (dNumber != 0 ? "on" : "off") : g_Trimmed(dNumber, 4);
}

std::vector<CAssignment> g_ParseAssignments(const std::vector<std::string>& rWords) {
    std::vector<CAssignment> Assignments;
    for (const std::string& sWord : rWords) {
        const size_t uSign = sWord.find('=');
        const std::string sKey = vxttools::g_Lower(sWord.substr(0, uSign)),
                          sValue = uSign == sWord.npos ? "" : vxttools::g_Lower(sWord.substr(uSign + 1));
        const bool bIsWord = sValue == "on" || sValue == "off";
        const std::optional<double> oValue = bIsWord ? sValue == "on" : vxttools::g_ParseNumber(sValue);
        if (sKey.empty() || !oValue)
            throw CFailure(EExit::kUsage, "'" + sWord + "': expected NAME=VALUE with a number, 'on' or 'off'");
        if (std::ranges::count(Assignments, sKey, &CAssignment::sKey))
            throw CFailure(EExit::kUsage, "'" + sKey + "' is named twice");
        Assignments.push_back({sKey, *oValue, bIsWord});
    }
    return Assignments;
}

CJson g_SettingsToJson(const std::vector<CSetting>& rSettings, const std::string& sPath,
                       vxttools::CFindings& rFindings) {
    CJson Settings = CJson::Array();
    for (const CSetting& rSetting : rSettings) {
        CQuantity Quantity{sPath + "/" + rSetting.sKey, rSetting.sLabel, rSetting.sUnit, rSetting.oValue};
        Quantity.sReason = rSetting.sReason;
        Quantity.bOutOfRange = rSetting.bOutOfRange;
        const bool bWritable = !g_WhyFixed(rSetting);
        if (bWritable) Quantity.Limits = g_Limits(rSetting);
        CJson Setting = Quantity.ToJson();
        Setting["default"] = rSetting.oDefault;
        Setting["step"] = rSetting.oStep;
        Setting["legal"] = !bWritable || rSetting.Legal.empty() ? nullptr : CJson(rSetting.Legal);
        Setting["writable"] = bWritable;
        Settings.Push(std::move(Setting));
        if (rSetting.bUnread) rFindings.push_back(Quantity.sId + ": " + rSetting.sReason);
    }
    return Settings;
}

void g_AddSettingTable(vxttools::CDocument& rDocument, const std::string& sTitle,
                       const std::vector<CSetting>& rSettings) {
    vxttools::CTextTable Table{sTitle, {"Name", "~Meaning", ">Value", "Unit", "Legal values, [now]"}};
    const bool bDefaults = std::ranges::any_of(rSettings, [](const CSetting& r) { return r.oDefault.has_value(); });
    if (bDefaults) Table.Columns.insert(Table.Columns.begin() + 3, ">Default");
    for (const CSetting& rSetting : rSettings) {
        const std::optional<std::string> oFixed = g_WhyFixed(rSetting);
        std::vector<std::string>& rRow = Table.Rows.emplace_back();
        rRow = {rSetting.sKey, rSetting.sLabel, rSetting.oValue ? rSetting.Text(*rSetting.oValue) : "-"};
        if (bDefaults) rRow.push_back(rSetting.oDefault ? rSetting.Text(*rSetting.oDefault) : "-");
        rRow.push_back(rSetting.sUnit);
        std::string sLegal = oFixed.value_or(g_LegalText(rSetting));
        if (sLegal.empty()) sLegal = kNothingKnown;
        rRow.push_back(rSetting.oValue || oFixed ? sLegal : rSetting.sReason + "; legal: " + sLegal);
    }
    rDocument.AddTable(std::move(Table));
}

std::string g_WhyIllegal(const CSetting& rSetting, double dValue) {
    if (g_IsLegal(rSetting, dValue)) return "";
    const std::string sLegal = g_LegalText(rSetting);
    return "not a legal value (" + (sLegal.empty() ? kNothingKnown : sLegal) + ")";
}

std::string g_WhyUnfit(const CSetting& rSetting, double dValue) {
    return g_LegalText(rSetting).empty() ? "" : g_WhyIllegal(rSetting, dValue);
}

void g_CheckLegal(const CSetting& rSetting, double dValue, const std::string& sAsked, bool bForce) {
    if (bForce || g_IsLegal(rSetting, dValue)) return;
    throw CFailure(EExit::kUsage, sAsked + ": " + g_WhyIllegal(rSetting, dValue) +
                                      "; nothing was written, --force tries all the same");
}

vxttools::CChange g_NewChange(const CSetting& rSetting, double dValue, const std::string& sPath) {
    const std::string sLegal = g_LegalText(rSetting);
    vxttools::CChange Change{.sId = sPath + "/" + rSetting.sKey,
                             .sOwner = {},
                             .sLabel = rSetting.sLabel,
                             .sUnit = rSetting.sUnit,
                             .dWanted = dValue,
                             .dTolerance = rSetting.dTolerance,
                             .sLegal = sLegal.empty() ? kNothingKnown : sLegal,
                             .Legal = rSetting.Legal,
                             .Limits = g_Limits(rSetting)};
    if (rSetting.TakesWord(0)) Change.Text = [rSetting](double d) { return rSetting.Text(d); };
    if (!g_IsLegal(rSetting, dValue)) Change.sNote = "not a legal value, forced";
    return Change;
}

vxttools::CChange g_PlanSetting(const std::vector<CSetting>& rSettings, const CAssignment& rAssignment,
                                const std::string& sPath, bool bForce) {
    const auto it = std::ranges::find(rSettings, rAssignment.sKey, &CSetting::sKey);
    if (it == rSettings.end()) {
        std::vector<std::string> Known(rSettings.size());
        std::ranges::transform(rSettings, Known.begin(), &CSetting::sKey);
        throw CFailure(EExit::kNoSuchDevice, "no setting '" + rAssignment.sKey +
                                                 "'; the names stand in the first column of the list" +
                                                 vxttools::g_DidYouMean(rAssignment.sKey, Known));
    }
    if (const auto oFixed = g_WhyFixed(*it))
        throw CFailure(EExit::kNoSuchDevice, "'" + it->sKey + "' cannot be set: " + *oFixed);
    if (rAssignment.bIsWord && !it->TakesWord(rAssignment.dValue))
        throw CFailure(EExit::kUsage, "'" + it->sKey + "' takes a number: 'on' and 'off' are for switches");
    if (it->bSwitch && rAssignment.dValue != 0 && rAssignment.dValue != 1)
        throw CFailure(EExit::kUsage, "'" + it->sKey + "' is a switch: it takes 'on' and 'off'");
    g_CheckLegal(*it, rAssignment.dValue, it->sKey + "=" + g_Trimmed(rAssignment.dValue, 6), bForce);
    return g_NewChange(*it, rAssignment.dValue, sPath);
}

}  // namespace vxtctl
