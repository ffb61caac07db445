// What profiles hold of this machine: every setting with its key, its present value and what may be written.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "common/findings.h"
#include "host_library.h"
#include "setting.h"

namespace vxtctl {

/// How a profile's setting gets to the hardware.
enum class EApplied {
    kByKey,      ///< the library applies it
    kByTool,     ///< profiles have no key for it: vxtctl keeps it under one of its own, which the library passes over
    kByAnother,  ///< has no key: another setting's is written to it, too (sKey names that one)
};

/// One setting of a device.
struct CProfileSetting {
    std::wstring sSection, sElement, sKey;  ///< as the SDK takes them
    std::string sPath;                      ///< of its device, "/cpu/0"; with the setting's key the stable id
    std::string sOwner;                     ///< whose it is, "core 0"
    EApplied eApplied = EApplied::kByKey;
    CSetting Setting;                                  ///< as it was read
    std::function<std::optional<double>()> Read = {};  ///< anew; nothing: no reading
    std::function<bool(double)> Write = {};            ///< this setting alone; empty: nobody can

    std::string Id() const { return sPath + "/" + Setting.sKey; }
};

/// Everything that profiles hold of this machine, in the order in which profiles are applied, also what has no value here
/// (the setting tells why). What a device cannot have is left out.
std::vector<CProfileSetting> g_MachineProfile(const CHostLibrary& rLibrary);

}  // namespace vxtctl
