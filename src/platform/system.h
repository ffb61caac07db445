// What the operating system tells about itself and its processors.
#pragma once

#include <cstdint>
#include <span>

namespace vxt::platform {

inline constexpr uint32_t kPlatformNt = 2;  ///< platform identifier of the Windows NT family

/// Platform identifier of the running system; 0 on failure.
uint32_t PlatformId();

/// Whether this process needs the 64-bit driver file: a 32-bit process under WOW64, or a 64-bit process.
/// False when the query fails.
bool QueryIsWow64(bool& rbIsWow64);

/// Processors the operating system reports, 1 at least: those of the calling process's group where there are several.
uint32_t ProcessorCount();

/// Path of the host's executable into `Path`, zero-terminated. Returns its length without the zero; 0 on failure, also when
/// it does not fit: `Path` is undefined then.
uint32_t ExecutablePath(std::span<wchar_t> Path);

/// Idle time of each processor since boot, in 100 ns units, advancing with the system's clock ticks. Returns how many
/// entries were filled, the smaller of their number and the processors'; 0 on failure.
uint32_t ProcessorIdleTimes(std::span<uint64_t> IdleTimes);

}  // namespace vxt::platform
