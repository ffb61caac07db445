// What the system's driver in front of a drive answers to the requests of programs.
#pragma once

#include <cstdint>
#include <span>

#include "sim/machine_file.h"

namespace vxtdriver {

/// Its records are laid out differently for programs of 32 and 64 bits.
inline constexpr uint32_t kAtaPassThrough = 0x4D02C;

/// With what a request is completed: NTSTATUS values.
enum class EDriveStatus : uint32_t {
    kDone = 0,
    kLengthMismatch = 0xC0000004,
    kInvalidParameter = 0xC000000D,
    kUnknownRequest = 0xC0000010,
    kBufferTooSmall = 0xC0000023,
    kDeviceIsGone = 0xC00000C0,
};

/// One request: a buffer holds the input and then the output, as long as the longer of the two.
struct CDriveRequest {
    uint32_t uCode;
    std::span<const uint8_t> In;
    std::span<uint8_t> Out;
    bool b32Bit;  ///< who asks
};

/// `ruReturned` becomes the number of bytes in the output.
EDriveStatus g_AnswerDriveRequest(const vxtsim::CPluggedDevice& rDrive, const CDriveRequest& rRequest,
                                  uint32_t& ruReturned);

}  // namespace vxtdriver
