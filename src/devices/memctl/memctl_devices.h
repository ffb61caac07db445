// Integrated memory controllers and HyperTransport links.
#pragma once

#include "devices/framework/unbuilt_device.h"

namespace vxt {

inline constexpr CDeviceIdentity kMoldanMemoryControllerIdentity{.eType = vxtapi::kDeviceMemoryController, .pszTypeName = g_TypeText(vxtapi::kDeviceMemoryController), .pszName = L"Internal DDR Memory Controller", .uVersion = 20070322, .pszVendor = kMakerVendor};
inline constexpr CDeviceIdentity kKDFMemoryControllerIdentity{.eType = vxtapi::kDeviceMemoryController, .pszTypeName = g_TypeText(vxtapi::kDeviceMemoryController), .pszName = L"Internal DDR2 Memory Controller", .uVersion = 20070403, .pszVendor = kMakerVendor};
inline constexpr CDeviceIdentity kBrevikMemoryControllerIdentity{.eType = vxtapi::kDeviceMemoryController, .pszTypeName = g_TypeText(vxtapi::kDeviceMemoryController), .pszName = L"Internal DDR2 DDR3 Memory Controller", .uVersion = 20070518, .pszVendor = kMakerVendor};
inline constexpr CDeviceIdentity kTalvorMemoryControllerIdentity{.eType = vxtapi::kDeviceMemoryController, .pszTypeName = g_TypeText(vxtapi::kDeviceMemoryController), .pszName = L"QOR Family 11h Processor Internal Memory Controller", .uVersion = 20071108, .pszVendor = kMakerVendor};
inline constexpr CDeviceIdentity kHTLinkIdentity{.eType = vxtapi::kDeviceHtLink, .pszTypeName = g_TypeText(vxtapi::kDeviceHtLink), .pszName = L"Internal HyperTransport(TM) Link Controller", .uVersion = 20070322, .pszVendor = kMakerVendor};
inline constexpr CDeviceIdentity kBrevikHTLinkIdentity{.eType = vxtapi::kDeviceHtLink, .pszTypeName = g_TypeText(vxtapi::kDeviceHtLink), .pszName = L"Internal HyperTransport(TM) 3 Link Controller", .uVersion = 20070601, .pszVendor = kMakerVendor};
inline constexpr CDeviceIdentity kTalvorHTLinkIdentity{.eType = vxtapi::kDeviceHtLink, .pszTypeName = g_TypeText(vxtapi::kDeviceHtLink), .pszName = L"QOR Family 11h Processor HyperTransport(TM) 3 Link Controller", .uVersion = 20071112, .pszVendor = kMakerVendor};

class CMoldanMemoryController final : public CUnbuiltDevice<kMoldanMemoryControllerIdentity> {};
class CKDFMemoryController final : public CUnbuiltDevice<kKDFMemoryControllerIdentity> {};
class CBrevikMemoryController final : public CUnbuiltDevice<kBrevikMemoryControllerIdentity> {};
class CTalvorMemoryController final : public CUnbuiltDevice<kTalvorMemoryControllerIdentity> {};
class CHTLink final : public CUnbuiltDevice<kHTLinkIdentity> {};
class CBrevikHTLink final : public CUnbuiltDevice<kBrevikHTLinkIdentity> {};
class CTalvorHTLink final : public CUnbuiltDevice<kTalvorHTLinkIdentity> {};

}  // namespace vxt
