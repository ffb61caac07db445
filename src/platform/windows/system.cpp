#include "platform/system.h"

#include <algorithm>
#include <memory>
#include <new>

#include "platform/windows/windows_api.h"

namespace vxt::platform {

static_assert(kPlatformNt == VER_PLATFORM_WIN32_NT);

uint32_t PlatformId() {
    OSVERSIONINFOW Version{};
    Version.dwOSVersionInfoSize = sizeof(Version);
    return GetVersionExW(&Version) ? Version.dwPlatformId : 0;  // the platform is right even where the version is not
}

bool QueryIsWow64(bool& rbIsWow64) {
    BOOL bIsWow64 = sizeof(void*) == 8;  // IsWow64Process says no to a 64-bit process
    if (!bIsWow64 && !IsWow64Process(GetCurrentProcess(), &bIsWow64)) return false;
    rbIsWow64 = bIsWow64;
    return true;
}

uint32_t ProcessorCount() {
    SYSTEM_INFO Info{};
    GetSystemInfo(&Info);
    return Info.dwNumberOfProcessors;
}

uint32_t ExecutablePath(std::span<wchar_t> Path) {
    const DWORD dwLength = GetModuleFileNameW(nullptr, Path.data(), static_cast<DWORD>(Path.size()));
    return dwLength < Path.size() ? dwLength
                                  : 0;  // the full size means a path cut short, on older systems without its zero
}

uint32_t ProcessorIdleTimes(std::span<uint64_t> IdleTimes) {
    using CRecord = SYSTEM_PROCESSOR_PERFORMANCE_INFORMATION;
    const std::unique_ptr<CRecord[]> pProcessors(new (std::nothrow) CRecord[IdleTimes.size()]);
    if (!pProcessors) return 0;
    ULONG ulSize = 0;
    // Answers one record for each processor that there is and that fits.
    const NTSTATUS lStatus = NtQuerySystemInformation(SystemProcessorPerformanceInformation, pProcessors.get(),
                                                      static_cast<ULONG>(IdleTimes.size() * sizeof(CRecord)), &ulSize);
    if (!NT_SUCCESS(lStatus)) return 0;
    const size_t uCount = std::min<size_t>(IdleTimes.size(), ulSize / sizeof(CRecord));
    std::transform(pProcessors.get(), pProcessors.get() + uCount, IdleTimes.begin(),
                   [](const CRecord& rProcessor) { return static_cast<uint64_t>(rProcessor.IdleTime.QuadPart); });
    return static_cast<uint32_t>(uCount);
}

}  // namespace vxt::platform
