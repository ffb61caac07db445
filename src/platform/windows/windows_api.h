// <windows.h> without the macros that would rename the seam's functions. Include it after the seam's headers.
#pragma once

#include <windows.h>

#undef CreateDirectory
#undef CreateMutex
#undef CreateSemaphore
#undef DeleteFile
#undef GetObject
#undef OpenMutex
#undef OpenSemaphore
#undef OpenService
#undef ReplaceFile
#undef StartService

#include <sddl.h>
#include <winternl.h>

#include <cstdint>
#include <exception>

namespace vxt::platform {

/// Handles cross the seam as numbers with 0 for "none"; CreateFile answers INVALID_HANDLE_VALUE for that instead.
inline uintptr_t g_FromHandle(HANDLE hObject) {
    return hObject == INVALID_HANDLE_VALUE ? 0 : reinterpret_cast<uintptr_t>(hObject);
}
template <class THandle = HANDLE> THandle g_ToHandle(uintptr_t uHandle) { return reinterpret_cast<THandle>(uHandle); }

/// Runs what fills a caller's container: without the memory for it the call fails as any other.
template <class TFill> bool g_Fill(TFill Fill) {
    try {
        Fill();
        return true;
    } catch (const std::exception&) {
        SetLastError(ERROR_NOT_ENOUGH_MEMORY);
        return false;
    }
}

}  // namespace vxt::platform
