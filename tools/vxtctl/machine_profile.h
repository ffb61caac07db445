// What profiles hold of this machine: every setting with its key, its present value and what may be written.
#pragma once

#include <string>
#include <vector>

#include "host_library.h"
#include "profile_document.h"
#include "setting.h"

namespace vxtctl {

/// How a profile's setting gets to the hardware.
enum class EApplied {
    kByKey,      ///< the library applies it
    kByTool,     ///< profiles have no key for it: vxtctl keeps it under one of its own, which the library passes over
    kByAnother,  ///< has no key: another setting's is written to it, too (sKey names that one)
};

/// One setting of a device.
struct CProfileSetting : CDeviceSetting, CProfileNames {
    std::string sPath;   ///< of its device, "/cpu/0"; with the setting's key the stable id
    std::string sOwner;  ///< whose it is, "core 0"
    EApplied eApplied = EApplied::kByKey;
    /// Of a setting that vxtctl keeps: the key whose value the library writes to it all the same. Empty: none.
    std::wstring sSharedKey = {};
    /// The other one of a pair of switches that are written together: a profile that has only that one switches this off.
    std::wstring sPairKey = {};
    bool bZeroKeeps = false;  ///< a profile's 0, or less, leaves it as it is

    std::string Id() const { return sPath + "/" + Setting.sKey; }
};

/// A key of vxtctl's own, in the memory controller's element. The library writes the first K8 generation's write to read
/// delay to its read to write turnaround, too.
inline constexpr const wchar_t* kReadToWriteKey = L"Read-to-Write Delay";

// What the two switches are when they are on.
inline constexpr const char *kClockDivisorLabel = "Clock undivided in the deepest halt",
                            *kTlbCachingLabel = "Page tables are cached";

/// Everything that profiles hold of this machine, in the order in which profiles are applied, also what has no value here
/// (the setting tells why). What a device cannot have is left out.
std::vector<CProfileSetting> g_MachineProfile(const CHostLibrary& rLibrary);

/// The first of the settings that stand under these names, as element names have them; null: there is none.
const CProfileSetting* g_FindSetting(const std::vector<CProfileSetting>& rMachine, const CProfileNames& rNames);

/// What this machine has beyond what profiles can hold.
struct CUnheld {
    std::string sId, sLabel, sReason;
};
std::vector<CUnheld> g_Unheld(const CHostLibrary& rLibrary);

}  // namespace vxtctl
