#include <windows.h>

#include <system_error>

#include "common/append_file.h"

namespace vxttools {
namespace {

[[noreturn]] void g_Throw(DWORD dwError) {
    if (dwError == ERROR_SHARING_VIOLATION)
        throw std::system_error(std::make_error_code(std::errc::device_or_resource_busy));
    throw std::system_error(static_cast<int>(dwError), std::system_category());
}
void g_Check(BOOL bDone) {
    if (!bDone) g_Throw(GetLastError());
}

HANDLE g_Handle(intptr_t nFile) { return reinterpret_cast<HANDLE>(nFile); }

void g_MoveTo(intptr_t nFile, uint64_t ullOffset) {
    LARGE_INTEGER Offset;
    Offset.QuadPart = static_cast<LONGLONG>(ullOffset);
    g_Check(SetFilePointerEx(g_Handle(nFile), Offset, nullptr, FILE_BEGIN));
}

}  // namespace

/// Whoever else wants to write is refused by the share mode: it lets others only read and delete.
CAppendFile::CAppendFile(const std::filesystem::path& rPath)
    : m_nFile(reinterpret_cast<intptr_t>(CreateFileW(rPath.c_str(), GENERIC_READ | GENERIC_WRITE,
                                                     FILE_SHARE_READ | FILE_SHARE_DELETE, nullptr, OPEN_ALWAYS,
                                                     FILE_ATTRIBUTE_NORMAL, nullptr))) {
    if (g_Handle(m_nFile) == INVALID_HANDLE_VALUE) g_Throw(GetLastError());
    const DWORD dwType = GetFileType(g_Handle(m_nFile));
    m_bPlain = dwType == FILE_TYPE_DISK;
    if (dwType != FILE_TYPE_PIPE) return;
    CloseHandle(g_Handle(m_nFile));
    g_Throw(ERROR_INVALID_PARAMETER);
}

CAppendFile::~CAppendFile() { CloseHandle(g_Handle(m_nFile)); }

uint64_t CAppendFile::Size() const {
    LARGE_INTEGER Size;
    g_Check(GetFileSizeEx(g_Handle(m_nFile), &Size));
    return static_cast<uint64_t>(Size.QuadPart);
}

std::string CAppendFile::Read(uint64_t ullOffset, size_t uSize) const {
    std::string sData(uSize, '\0');
    g_MoveTo(m_nFile, ullOffset);
    DWORD dwRead = 0;
    g_Check(ReadFile(g_Handle(m_nFile), sData.data(), static_cast<DWORD>(uSize), &dwRead, nullptr));
    sData.resize(dwRead);
    return sData;
}

void CAppendFile::Truncate(uint64_t ullSize) {
    g_MoveTo(m_nFile, ullSize);
    g_Check(SetEndOfFile(g_Handle(m_nFile)));
}

void CAppendFile::Append(std::string_view sData) {
    if (m_bPlain) g_MoveTo(m_nFile, Size());
    while (!sData.empty()) {
        DWORD dwWritten = 0;
        g_Check(WriteFile(g_Handle(m_nFile), sData.data(), static_cast<DWORD>(sData.size()), &dwWritten, nullptr));
        if (dwWritten == 0) g_Throw(ERROR_DISK_FULL);
        sData.remove_prefix(dwWritten);
    }
}

void CAppendFile::Sync() {
    if (m_bPlain) g_Check(FlushFileBuffers(g_Handle(m_nFile)));
}

}  // namespace vxttools
