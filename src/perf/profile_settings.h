// Stored tuning profiles.
#pragma once

#include <vxtapi/device_manager.h>
#include <vxtapi/profile_settings.h>

namespace vxt {

/// The spelling is kept: hosts rely on it.
class CProfileSettgins final : public vxtapi::CProfileSettgins {
public:
    /// `rDevices`: whose devices profiles are applied to; must outlive the object.
    explicit CProfileSettgins(vxtapi::CDeviceManager& rDevices) : m_rDevices(rDevices) {}

    bool ApplySettings(const wchar_t* pszPath) override;
    vxtapi::CProfile* OpenProfile(const wchar_t* pszPath) override;

private:
    vxtapi::CDeviceManager& m_rDevices;
};

CProfileSettgins& g_GetProfileSettings();

}  // namespace vxt
