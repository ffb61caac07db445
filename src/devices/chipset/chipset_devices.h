// Bridges, Super I/O chips, clock generator and voltage controllers.
#pragma once

#include "devices/chipset/north_bridge.h"
#include "devices/framework/unbuilt_device.h"

namespace vxt {

inline constexpr CDeviceIdentity kF71882Identity{
    .eType = vxtapi::kDeviceEnvironment, .pszName = L"Fintek SIO Chip", .pszVendor = L"Fintek"};
inline constexpr CDeviceIdentity kIT8716FIdentity{
    .eType = vxtapi::kDeviceEnvironment, .pszName = L"ITE SIO Chip", .pszVendor = L"ITE"};
inline constexpr CDeviceIdentity kSQ3Identity{
    .eType = vxtapi::kDeviceSouthBridge, .pszName = L"SQ3 Series Chipset", .pszVendor = kMakerVendor};
inline constexpr CDeviceIdentity kSQ4Identity{
    .eType = vxtapi::kDeviceSouthBridge, .pszName = L"SQ4 Series Chipset", .pszVendor = kMakerVendor};
inline constexpr CDeviceIdentity kDefaultClockGenIdentity{
    .eType = vxtapi::kDeviceClockGen, .pszName = L"QOR Default Clock Generator", .pszVendor = kMakerVendor};
inline constexpr CDeviceIdentity kDefaultPWMControllerIdentity{
    .eType = vxtapi::kDeviceDefaultPwm, .pszName = L"QOR Default PWM Controller", .pszVendor = kMakerVendor};
inline constexpr CDeviceIdentity kCustomerPWMControllerIdentity{.eType = vxtapi::kDeviceCustomerPwm,
                                                                .pszName = L"Customer PWM Controller",
                                                                .uVersion = 1,
                                                                .pszVendor = kMakerVendor};

class CF71882 final : public CUnbuiltDevice<kF71882Identity> {};
class CIT8716F final : public CUnbuiltDevice<kIT8716FIdentity> {};
class CSQ3 final : public CUnbuiltDevice<kSQ3Identity> {};
class CSQ4 final : public CUnbuiltDevice<kSQ4Identity> {};
class CDefaultClockGen final : public CUnbuiltDevice<kDefaultClockGenIdentity> {};
class CDefaultPWMController final : public CUnbuiltDevice<kDefaultPWMControllerIdentity> {};
class CCustomerPWMController final : public CUnbuiltDevice<kCustomerPWMControllerIdentity> {};

}  // namespace vxt
