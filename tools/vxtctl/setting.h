// Settings with legal values, by list or by limits: memory timings, link widths, clocks, voltages. Shown, checked and
// changed by one piece of code.
#pragma once

#include <limits>
#include <vector>

#include "common/change_plan.h"
#include "common/findings.h"

namespace vxtctl {

/// One setting as it was read.
struct CSetting {
    std::string sKey;  ///< as command lines and stable paths spell it, "tcl"
    std::string sLabel, sUnit;
    std::optional<double> oValue = std::nullopt;
    std::string sReason = {};                          ///< why there is no value
    std::vector<double> Legal = {};                    ///< see SetLegal; empty: nobody tells a list
    bool bSwitch = false;                              ///< on or off
    std::optional<std::string> oFixed = std::nullopt;  ///< why nothing can be written there; nothing: it can
    bool bOutOfRange = false;                          ///< there is a raw reading, but it cannot be
    bool bUnread = false;                              ///< there should be a value, but reading it failed
    vxttools::CLimits Limits = {};                     ///< as told; without a list they and the step say what is legal
    std::optional<double> oDefault = std::nullopt, oStep = std::nullopt;
    double dTolerance = 1e-5;  ///< a read-back this close is the wanted value

    /// Takes a raw reading if it is one, else says why not; `pszFailed`: why there is none at all.
    void Judge(double dRaw, const vxttools::CPlausible& rPlausible, const char* pszFailed);
    /// There is no value because reading it failed.
    void Fail(const char* pszReason) { bUnread = true, sReason = pszReason; }
    /// The legal values as they came, in whatever order: kept ascending, each once.
    void SetLegal(std::vector<double> Values);
    /// A value as people read and write it: "on", "off" for switches, "off" for a resistance of 0.
    std::string Text(double dNumber) const;
    bool TakesWord(double dNumber) const { return bSwitch || (dNumber == 0 && sUnit == "ohm"); }
};

/// A setting and the way to it.
struct CDeviceSetting {
    CSetting Setting;                                  ///< as it was read
    std::function<std::optional<double>()> Read = {};  ///< anew; nothing: no reading
    std::function<bool(double)> Write = {};            ///< this setting alone, all others stay as they are
};

/// In no list of legal values: the library leaves the bits of a field that is asked for it as they are.
inline constexpr double kUnlisted = -std::numeric_limits<double>::infinity();

/// What every command asks for that sets NAME=VALUE ..., and its options.
struct CWantedSettings {
    std::vector<std::string> Words;
    bool bForce = false;
};
template <class TWanted, vxttools::CCompleteValue pComplete>
inline constexpr vxttools::COption<TWanted> kAssignments{
    "NAME=VALUE", "",       "Settings by the names of the list; 'on' and 'off' for switches", &TWanted::Words, true,
    nullptr,      pComplete};
template <class TWanted>
inline constexpr vxttools::COption<TWanted> kForce{"--force", "", "Also try values outside the list or the limits",
                                                   &TWanted::bForce};
template <vxttools::CCompleteValue pComplete>
inline constexpr vxttools::COption<CWantedSettings> kSettingOptions[] = {kAssignments<CWantedSettings, pComplete>,
                                                                         kForce<CWantedSettings>};

/// One NAME=VALUE.
struct CAssignment {
    std::string sKey;
    double dValue;
    bool bIsWord;  ///< "on" or "off", which only switches take
};
/// Ends the command when a word is not one, or a setting is named twice.
std::vector<CAssignment> g_ParseAssignments(const std::vector<std::string>& rWords);

/// Settings as JSON below `sPath`: a quantity each, and its legal values. Those that could not be read are findings.
vxttools::CJson g_SettingsToJson(const std::vector<CSetting>& rSettings, const std::string& sPath,
                                 vxttools::CFindings& rFindings);
/// A table with unit and legal values, the current one in brackets; of a long list its ends and what is near that one.
void g_AddSettingTable(vxttools::CDocument& rDocument, const std::string& sTitle,
                       const std::vector<CSetting>& rSettings);

/// The legal values in words, the current one of a list in brackets; empty where nothing is known.
std::string g_LegalText(const CSetting& rSetting);
/// Why the value is not known to be legal; empty: it is.
std::string g_WhyIllegal(const CSetting& rSetting, double dValue);
/// The same, but empty where nothing is known of legal values.
std::string g_WhyUnfit(const CSetting& rSetting, double dValue);
/// Ends the command when the value is not known to be legal and `bForce` is off; `sAsked` is what the user wrote.
void g_CheckLegal(const CSetting& rSetting, double dValue, const std::string& sAsked, bool bForce);

/// The change of a setting below `sPath` to a value, without its owner, Read and Write.
vxttools::CChange g_NewChange(const CSetting& rSetting, double dValue, const std::string& sPath);

/// The change that an assignment asks for, as above. Ends the command when there is no such setting,
/// it cannot be set here, or the value is not known to be legal and `bForce` is off.
vxttools::CChange g_PlanSetting(const std::vector<CSetting>& rSettings, const CAssignment& rAssignment,
                                const std::string& sPath, bool bForce);

}  // namespace vxtctl
