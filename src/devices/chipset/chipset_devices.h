// Bridges, Super I/O chips, clock generator and voltage controllers.
#pragma once

#include "devices/chipset/clock_generator.h"
#include "devices/chipset/north_bridge.h"
#include "devices/chipset/voltage_controllers.h"
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
class CF71882 final : public CUnbuiltDevice<kF71882Identity> {};
class CIT8716F final : public CUnbuiltDevice<kIT8716FIdentity> {};
class CSQ3 final : public CUnbuiltDevice<kSQ3Identity> {};
class CSQ4 final : public CUnbuiltDevice<kSQ4Identity> {};

}  // namespace vxt
