#include "platform/file.h"

#include <algorithm>
#include <limits>

#include "platform/windows/windows_api.h"

namespace vxt::platform {

namespace {

/// How much of `uSize` one call takes.
DWORD g_Step(size_t uSize) { return static_cast<DWORD>(std::min<size_t>(uSize, std::numeric_limits<DWORD>::max())); }

/// Names such as CON and paths such as \\.\pipe\NAME open what is no file, and reading it may wait for ever.
CFile g_Open(const wchar_t* pszPath, DWORD dwAccess, DWORD dwSharing, DWORD dwCreation) {
    CFile hFile(
        g_FromHandle(CreateFileW(pszPath, dwAccess, dwSharing, nullptr, dwCreation, FILE_ATTRIBUTE_NORMAL, nullptr)));
    if (hFile && GetFileType(g_ToHandle(hFile.Get())) != FILE_TYPE_DISK) {
        hFile.Reset();
        SetLastError(ERROR_ACCESS_DENIED);
    }
    return hFile;
}

}  // namespace

void CloseFile(uintptr_t uHandle) { CloseHandle(g_ToHandle(uHandle)); }

CFile OpenFileToRead(const wchar_t* pszPath) { return g_Open(pszPath, GENERIC_READ, FILE_SHARE_READ, OPEN_EXISTING); }

bool ReadFile(const CFile& rFile, std::span<std::byte> Data, size_t& ruRead) {
    size_t uRead = 0;
    while (uRead < Data.size()) {
        DWORD dwNow = 0;
        if (!::ReadFile(g_ToHandle(rFile.Get()), Data.data() + uRead, g_Step(Data.size() - uRead), &dwNow, nullptr))
            return false;
        if (dwNow == 0) break;
        uRead += dwNow;
    }
    ruRead = uRead;
    return true;
}

CFile CreateFileToWrite(const wchar_t* pszPath) { return g_Open(pszPath, GENERIC_WRITE, 0, CREATE_ALWAYS); }

bool WriteFile(const CFile& rFile, std::span<const std::byte> Data) {
    const HANDLE hFile = g_ToHandle(rFile.Get());
    while (!Data.empty()) {
        DWORD dwNow = 0;
        if (!::WriteFile(hFile, Data.data(), g_Step(Data.size()), &dwNow, nullptr) || dwNow == 0) return false;
        Data = Data.subspan(dwNow);
    }
    return FlushFileBuffers(hFile) != 0;
}

bool DeleteFile(const wchar_t* pszPath, CFile hFile) {
    hFile.Reset();  // Whoever opens it now has it for himself: then it stays.
    return DeleteFileW(pszPath) != 0;
}

bool ReplaceFile(CFile& rFile, const wchar_t* pszOld, const wchar_t* pszNew) {
    // Whoever opens it now to write has it for himself, and it keeps its name. Moved while it is open to write it could not
    // be opened to read for a moment, under either name.
    rFile.Reset();
    return MoveFileExW(pszOld, pszNew, MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH) != 0;
}

}  // namespace vxt::platform
