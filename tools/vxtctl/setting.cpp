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

bool _IsSame(double a, double b) { return std::abs(a - b) < kSame; }

std::string _Text(const CSetting& rSetting, double dValue) {
    return rSetting.bSwitch ? (dValue != 0 ? "on" : "off") : g_Trimmed(dValue, 4);
}

bool _HasLimits(const CSetting& rSetting) { return rSetting.Limits.dMinimum || rSetting.Limits.dMaximum; }

/// What is told counts; a list has its own ends.
CLimits _Limits(const CSetting& rSetting) {
    if (_HasLimits(rSetting) || rSetting.Legal.empty()) return rSetting.Limits;
    const auto [itLow, itHigh] = std::ranges::minmax_element(rSetting.Legal);
    return {*itLow, *itHigh};
}

bool _IsLegal(const CSetting& rSetting, double dValue) {
    if (!rSetting.Legal.empty())
        return std::ranges::any_of(rSetting.Legal, [&](double d) { return _IsSame(d, dValue); });
    const auto& [oMinimum, oMaximum] = rSetting.Limits;
    if (!_HasLimits(rSetting) || (oMinimum && dValue < *oMinimum - kSame) || (oMaximum && dValue > *oMaximum + kSame))
        return false;
    const double dFirst = oMinimum.value_or(0), dStep = rSetting.oStep.value_or(0);
    return dStep <= 0 || _IsSame(dFirst + std::round((dValue - dFirst) / dStep) * dStep, dValue);
}

/// Listed values once each, the current one in brackets. A long list shows its ends and what is near the current one.
std::string _ListText(const CSetting& rSetting) {
    constexpr size_t kLongList = 24, kShownAtEnds = 3, kShownAround = 2;
    std::vector<double> Told;
    for (const double dLegal : rSetting.Legal)
        if (std::ranges::none_of(Told, [&](double d) { return _IsSame(d, dLegal); })) Told.push_back(dLegal);
    const auto IsCurrent = [&](double d) { return rSetting.dValue && _IsSame(*rSetting.dValue, d); };
    const size_t uCurrent = static_cast<size_t>(std::ranges::find_if(Told, IsCurrent) - Told.begin());
    std::string sText;
    bool bGap = false;
    for (size_t i = 0; i < Told.size(); ++i) {
        const bool bShown = Told.size() <= kLongList || i < kShownAtEnds || i + kShownAtEnds >= Told.size() ||
                            (i + kShownAround >= uCurrent && i <= uCurrent + kShownAround);
        const std::string sValue = _Text(rSetting, Told[i]);
        if (bShown)
            sText += (sText.empty() ? "" : " ") + (i == uCurrent ? "[" + sValue + "]" : sValue);
        else if (!bGap)
            sText += " ...";
        bGap = !bShown;
    }
    return sText;
}

/// Empty when nothing is known.
std::string _LegalText(const CSetting& rSetting) {
    if (!rSetting.Legal.empty()) return _ListText(rSetting);
    const auto& [oMinimum, oMaximum] = rSetting.Limits;
    if (!_HasLimits(rSetting)) return "";
    const std::string sText = !oMinimum   ? "up to " + _Text(rSetting, *oMaximum)
                              : !oMaximum ? "from " + _Text(rSetting, *oMinimum)
                                          : _Text(rSetting, *oMinimum) + " to " + _Text(rSetting, *oMaximum);
    return sText + (rSetting.oStep ? ", step " + _Text(rSetting, *rSetting.oStep) : "");
}

}  // namespace

void CSetting::Judge(double dRaw, const vxttools::CPlausible& rPlausible) {
    CQuantity Quantity;
    Quantity.Judge(dRaw, rPlausible);
    dValue = Quantity.dValue;
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
    CJson Settings = CJson::array();
    for (const CSetting& rSetting : rSettings) {
        CQuantity Quantity{sPath + "/" + rSetting.sKey, rSetting.sLabel, rSetting.sUnit, rSetting.dValue};
        Quantity.sReason = rSetting.sReason;
        Quantity.bOutOfRange = rSetting.bOutOfRange;
        Quantity.Limits = _Limits(rSetting);
        CJson Setting = Quantity.ToJson();
        Setting["default"] = rSetting.oDefault ? CJson(*rSetting.oDefault) : CJson(nullptr);
        Setting["step"] = rSetting.oStep ? CJson(*rSetting.oStep) : CJson(nullptr);
        Setting["legal"] = rSetting.Legal.empty() ? CJson(nullptr) : CJson(rSetting.Legal);
        Setting["writable"] = !rSetting.bReadOnly;
        Settings.push_back(std::move(Setting));
    }
    return Settings;
}

void g_AddSettingTable(vxttools::CDocument& rDocument, const std::string& sTitle,
                       const std::vector<CSetting>& rSettings) {
    vxttools::CTextTable Table{sTitle, {"Name", "Meaning", ">Value", "Unit", "Legal values"}};
    const bool bDefaults = std::ranges::any_of(rSettings, [](const CSetting& r) { return r.oDefault.has_value(); });
    if (bDefaults) Table.Columns.insert(Table.Columns.begin() + 3, ">Default");
    for (const CSetting& rSetting : rSettings) {
        const std::string sLegal = _LegalText(rSetting);
        std::vector<std::string>& rRow = Table.Rows.emplace_back();
        rRow = {rSetting.sKey, rSetting.sLabel, rSetting.dValue ? _Text(rSetting, *rSetting.dValue) : "-"};
        if (bDefaults) rRow.push_back(rSetting.oDefault ? _Text(rSetting, *rSetting.oDefault) : "-");
        rRow.push_back(rSetting.sUnit);
        rRow.push_back(rSetting.dValue || !sLegal.empty() ? sLegal : rSetting.sReason);
    }
    rDocument.AddTable(std::move(Table));
}

vxttools::CChange g_PlanSetting(const std::vector<CSetting>& rSettings, const CAssignment& rAssignment,
                                const std::string& sPath, bool bForce) {
    const auto it = std::ranges::find(rSettings, rAssignment.sKey, &CSetting::sKey);
    if (it == rSettings.end())
        throw CFailure(EExit::kNoSuchDevice,
                       "no setting '" + rAssignment.sKey + "'; the names stand in the first column of the list");
    const std::string sKnown = _LegalText(*it);
    const std::string sLegal = sKnown.empty() ? "the library offers neither a list nor limits" : sKnown;
    if (it->bReadOnly || (!it->dValue && sKnown.empty()))
        throw CFailure(EExit::kNoSuchDevice, "'" + it->sKey + "' cannot be set: " +
                                                 (it->bReadOnly ? "the hardware only reports it" : it->sReason));
    if (rAssignment.bIsWord && !it->bSwitch)
        throw CFailure(EExit::kUsage, "'" + it->sKey + "' takes a number: 'on' and 'off' are for switches");
    if (!_IsLegal(*it, rAssignment.dValue) && !bForce)
        throw CFailure(EExit::kUsage, it->sKey + "=" + g_Trimmed(rAssignment.dValue, 6) + ": not a legal value (" +
                                          sLegal + "); nothing was written, --force tries all the same");
    return {.sId = sPath + "/" + it->sKey,
            .sOwner = {},
            .sLabel = it->sLabel,
            .sUnit = it->sUnit,
            .dWanted = rAssignment.dValue,
            .dTolerance = it->dTolerance,
            .sLegal = sLegal,
            .Limits = _Limits(*it),
            .Read = {},
            .Write = {}};
}

}  // namespace vxtctl
