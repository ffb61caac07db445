#include "platform/committed_file.h"

#include <algorithm>
#include <limits>

#include "platform/windows/windows_api.h"

namespace vxt::platform {

void CloseCommittedFile(uintptr_t uHandle) { CloseHandle(g_ToHandle(uHandle)); }

bool CreateDirectory(const char* pszPath) { return CreateDirectoryA(pszPath, nullptr) != 0; }

CCommittedFile OpenCommittedFile(const char* pszPath) {
    // Without the right to write anywhere else, each write goes behind the end that it finds.
    return CCommittedFile(g_FromHandle(CreateFileA(pszPath, FILE_APPEND_DATA, FILE_SHARE_READ | FILE_SHARE_WRITE,
                                                   nullptr, OPEN_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr)));
}

size_t WriteCommitted(const CCommittedFile& rFile, const char* pData, size_t uSize) {
    const HANDLE hFile = g_ToHandle(rFile.Get());
    const DWORD dwSize = static_cast<DWORD>(std::min<size_t>(uSize, std::numeric_limits<DWORD>::max()));
    DWORD dwWritten = 0;
    if (!WriteFile(hFile, pData, dwSize, &dwWritten, nullptr)) return 0;
    // FlushFileBuffers returns when the device has the data: what counts as written has to survive a power cut.
    return FlushFileBuffers(hFile) ? dwWritten : 0;
}

}  // namespace vxt::platform
