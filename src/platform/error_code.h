// The system's error numbers, as far as the layers above test them (Win32 values on every platform).
#pragma once

#include <cstdint>

namespace vxt::platform {

inline constexpr uint32_t kErrorFileNotFound = 2;
inline constexpr uint32_t kErrorPathNotFound = 3;
inline constexpr uint32_t kErrorAccessDenied = 5;
inline constexpr uint32_t kErrorInvalidHandle = 6;
inline constexpr uint32_t kErrorNoMoreItems = 259;
inline constexpr uint32_t kErrorServiceAlreadyRunning = 1056;
inline constexpr uint32_t kErrorServiceCannotAcceptControl = 1061;
inline constexpr uint32_t kErrorServiceDoesNotExist = 1060;
inline constexpr uint32_t kErrorServiceNotActive = 1062;
inline constexpr uint32_t kErrorServiceExists = 1073;
inline constexpr uint32_t kErrorServiceMarkedForDelete = 1072;

/// Error number of the calling thread's last failed call. Ask right after that call: the next one, even a good one, may
/// overwrite it. The registry, text and WMI calls leave it undefined.
uint32_t LastError();

}  // namespace vxt::platform
