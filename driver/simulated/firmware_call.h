// How the management server lets the PC inside the simulated driver run a method of its firmware: two requests that only
// they know, no part of the driver protocol.
#pragma once

#include <cstdint>
#include <span>

#include "sim/wmi_value.h"

namespace vxtdriver {

/// Its input is a packed call; the answer waits for this opened device, and its size comes back as 32 bits.
inline constexpr uint32_t kRunFirmware = 0x8111u << 16 | 3900u << 2;
/// Gives out the packed answer and forgets it.
inline constexpr uint32_t kTakeFirmwareAnswer = 0x8111u << 16 | 3901u << 2;

struct CFirmwareCall {
    std::string sNamespace, sPath, sMethod;
    std::optional<vxtsim::CWmiObject> oInput;
};
struct CFirmwareReply {
    bool bDone = false;
    uint64_t ullNanoseconds = 0;  ///< of virtual time that it took
    std::optional<vxtsim::CWmiObject> oOutput;
};

std::vector<uint8_t> g_Pack(CFirmwareCall Call);
std::vector<uint8_t> g_Pack(CFirmwareReply Reply);
/// False for bytes that nobody packed.
bool g_Unpack(std::span<const uint8_t> Bytes, CFirmwareCall& rCall);
bool g_Unpack(std::span<const uint8_t> Bytes, CFirmwareReply& rReply);

}  // namespace vxtdriver
