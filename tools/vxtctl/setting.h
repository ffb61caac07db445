// Settings with a list of legal values: memory timings, link widths. Shown, checked and changed by one piece of code.
#pragma once

#include <vector>

#include "common/change_plan.h"
#include "common/document.h"

namespace vxtctl {

/// One setting as it was read.
struct CSetting {
    std::string sKey;  ///< as command lines and stable paths spell it, "tcl"
    std::string sLabel, sUnit;
    std::optional<double> dValue = std::nullopt;
    std::string sReason = {};        ///< why there is no value
    std::vector<double> Legal = {};  ///< in register order; empty: the library offers no list
    bool bSwitch = false;            ///< on or off
    bool bReadOnly = false;
};

/// "NAME=VALUE" of a command line.
struct CAssignment {
    std::string sKey;
    double dValue;
};
/// Ends the command when a word is not one, or a setting is named twice.
std::vector<CAssignment> g_ParseAssignments(const std::vector<std::string>& rWords);

/// Settings as JSON below `sPath`: a quantity each, and its legal values.
vxttools::CJson g_SettingsToJson(const std::vector<CSetting>& rSettings, const std::string& sPath);
/// A table with unit and legal values, the current one in brackets.
void g_AddSettingTable(vxttools::CDocument& rDocument, const std::string& sTitle,
                       const std::vector<CSetting>& rSettings);

/// The change that an assignment asks for, without its Read and Write. Ends the command when there is no such setting, it
/// cannot be set here, or the value is not legal and `bForce` is off.
vxttools::CChange g_PlanSetting(const std::vector<CSetting>& rSettings, const CAssignment& rAssignment,
                                const std::string& sPath, bool bForce);

}  // namespace vxtctl
