#include "platform/file.h"

#include <algorithm>
#include <limits>

#include "platform/windows/windows_api.h"

namespace vxt::platform {

namespace {

/// How much of `uSize` one call takes.
DWORD g_Step(size_t uSize) { return static_cast<DWORD>(std::min<size_t>(uSize, std::numeric_limits<DWORD>::max())); }

}  // namespace

void CloseFile(uintptr_t uHandle) { CloseHandle(g_ToHandle(uHandle)); }

CFile OpenFileToRead(const wchar_t* pszPath) {
    return CFile(g_FromHandle(
        CreateFileW(pszPath, GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr)));
}

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

CFile CreateFileToWrite(const wchar_t* pszPath) {
    return CFile(
        g_FromHandle(CreateFileW(pszPath, GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr)));
}

bool WriteFile(const CFile& rFile, std::span<const std::byte> Data) {
    const HANDLE hFile = g_ToHandle(rFile.Get());
    while (!Data.empty()) {
        DWORD dwNow = 0;
        if (!::WriteFile(hFile, Data.data(), g_Step(Data.size()), &dwNow, nullptr) || dwNow == 0) return false;
        Data = Data.subspan(dwNow);
    }
    return FlushFileBuffers(hFile) != 0;
}

bool DeleteFile(const wchar_t* pszPath) { return DeleteFileW(pszPath) != 0; }

bool ReplaceFile(const wchar_t* pszOld, const wchar_t* pszNew) {
    return MoveFileExW(pszOld, pszNew, MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH) != 0;
}

}  // namespace vxt::platform
