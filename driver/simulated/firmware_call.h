// How the management server lets the PC inside the simulated driver run a method of its firmware, or tell the instances of a
// class as they are just now: two requests that only they know, no part of the driver protocol.
#pragma once

#include <cstdint>
#include <span>

#include "sim/machine.h"
#include "sim/wmi.h"

namespace vxtdriver {

/// Its input is a packed call; the answer waits for this opened device, and its size comes back as 32 bits.
inline constexpr uint32_t kRunFirmware = 0x8111u << 16 | 3900u << 2;
/// Gives out the packed answer and forgets it.
inline constexpr uint32_t kTakeFirmwareAnswer = 0x8111u << 16 | 3901u << 2;

struct CFirmwareCall {
    std::string sNamespace, sPath;
    std::string sMethod;  ///< empty: the instances are asked for, and the path is the class
    std::optional<vxtsim::CWmiObject> oInput;
};
struct CFirmwareReply {
    bool bDone = false;           ///< else the method failed, or the machine says nothing of the class
    uint64_t ullNanoseconds = 0;  ///< of virtual time that it took
    std::optional<vxtsim::CWmiObject> oOutput;
    std::vector<vxtsim::CWmiObject> Instances;
};

/// Has the PC do what the call asks for.
CFirmwareReply g_Answer(vxtsim::CSimWmi& rWmi, const vxtsim::CSimMachine& rMachine, const CFirmwareCall& rCall);

std::vector<uint8_t> g_Pack(CFirmwareCall Call);
std::vector<uint8_t> g_Pack(CFirmwareReply Reply);
/// False for bytes that nobody packed.
bool g_Unpack(std::span<const uint8_t> Bytes, CFirmwareCall& rCall);
bool g_Unpack(std::span<const uint8_t> Bytes, CFirmwareReply& rReply);

}  // namespace vxtdriver
