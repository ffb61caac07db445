// What every device class shares: the ten common operations over one row of constants.
#pragma once

#include <vxtapi/device.h>

#include <string_view>

#include "devices/framework/device_types.h"

namespace vxt {

using vxtapi::CDevice;
using vxtapi::eDeviceType;

/// The constants of one device class.
struct CDeviceIdentity {
    eDeviceType eType;
    const wchar_t* pszName;
    uint32_t uVersion = 0;
    const wchar_t* pszModel = pszName;
    const wchar_t* pszDescription = pszName;
    const wchar_t* pszVendor = L"";
};

/// Implements the common operations of an interface derived from CDevice; Init stays with the class.
template <class TInterface> class CDeviceBase : public TInterface {
public:
    bool UnInit() override { return true; }
    const wchar_t* GetModel() override { return m_rIdentity.pszModel; }
    const wchar_t* GetDescription() override { return m_rIdentity.pszDescription; }
    const wchar_t* GetVendor() override { return m_rIdentity.pszVendor; }
    const wchar_t* GetTypeName() override { return g_TypeText(m_rIdentity.eType); }
    const wchar_t* GetName() override { return m_rIdentity.pszName; }
    eDeviceType GetType() override { return m_rIdentity.eType; }
    uint32_t GetIndex() override { return m_uIndex; }
    uint32_t GetVersion() override { return m_rIdentity.uVersion; }

protected:
    explicit CDeviceBase(const CDeviceIdentity& rIdentity) : m_rIdentity(rIdentity) {}
    ~CDeviceBase() = default;  // NOLINT(modernize-use-override): no virtual destructor, it would take a slot

    uint32_t m_uIndex = 0;  ///< as given to Init

private:
    const CDeviceIdentity& m_rIdentity;
};

inline constexpr const wchar_t* kMakerVendor = L"AuthenticQOR";

}  // namespace vxt
