// A profile held against this machine, or against another profile.
#pragma once

#include "profile_entries.h"

namespace vxtctl {

/// What applying a profile writes to a setting.
struct CProfileTarget {
    const CProfileSetting* pSetting;
    double dWanted;

    /// Nothing when the setting has no value.
    std::optional<bool> IsInForce() const;
};
/// In the order of the settings; those that the profile leaves as they are are left out. What the library writes along
/// with others, or instead of an entry that is missing, is there.
std::vector<CProfileTarget> g_Targets(const CProfileDocument& rProfile, const std::vector<CProfileSetting>& rMachine);

/// The same; ends the command when there are none.
std::vector<CProfileTarget> g_TargetsHere(const CProfileDocument& rProfile, const CHostLibrary& rLibrary,
                                          const std::vector<CProfileSetting>& rMachine);

/// One setting that is not the same on both sides. A side without it has no value.
struct CDifference {
    std::string sId;  ///< of this machine's setting; empty: it has none
    CProfileNames Names;
    std::string sOwner;
    CSetting Kind;  ///< label, unit, switch or not
    std::optional<double> oProfile, oOther;
    std::string sReason = {};  ///< what else there is to say
};

struct CComparison {
    std::vector<CDifference> Differences = {};
    size_t uCompared = 0;                   ///< settings
    std::vector<std::string> NotHeld = {};  ///< ids that the profile leaves as they are
    vxttools::CFindings Findings = {};      ///< what could not be compared

    bool IsSame() const { return Differences.empty() && Findings.empty(); }
};

/// Ends the command when nothing of the profile is for this machine.
CComparison g_CompareWithMachine(const CProfileDocument& rProfile, const CHostLibrary& rLibrary);
/// Both sides count as the library would read them, on whatever machine.
CComparison g_CompareProfiles(const CProfileDocument& rProfile, const CProfileDocument& rOther,
                              const CHostLibrary& rLibrary);

}  // namespace vxtctl
