// The entries of a profile, and what this machine makes of each.
#pragma once

#include "machine_profile.h"

namespace vxtctl {

/// What becomes of an entry when the profile is applied here.
enum class EEntry {
    kApplied,   ///< as far as the hardware takes it
    kRepeated,  ///< another element of its name stands before it: only the first one counts
    kNoNumber,
    kUnknown,  ///< no key of profiles
    kLacking,  ///< this machine has no such device, or the device no such setting
};

inline constexpr const char* kNoDevice = "this machine has no such device";

struct CJudgedEntry {
    CProfileEntry Entry;
    CSetting Kind;  ///< label, unit, switch or not; the label is empty where the key is unknown
    const CProfileSetting* pSetting = nullptr;  ///< the machine's; null: it has none
    EEntry eFate = EEntry::kApplied;
    std::string sProblem = {};  ///< why it is not applied, or is no legal value here; empty: nothing is wrong

    /// "core 0", else the device's name in the profile.
    std::string Owner() const;
    /// "CPU/Processor/Multiplier"
    std::string Place() const;
    /// The problem and where it is; the same for all entries of a device that this machine does not have.
    std::string Finding() const;
};

/// All of them, in the file's order. Of a library that has not started the machine is not known, and nothing is lacking.
std::vector<CJudgedEntry> g_JudgeEntries(const CProfileDocument& rProfile, const CHostLibrary& rLibrary,
                                         const std::vector<CProfileSetting>& rMachine);

}  // namespace vxtctl
