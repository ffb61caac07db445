#include <windows.h>

#include <algorithm>
#include <string>
#include <system_error>

#include "common/file_replacement.h"

namespace vxttools {
namespace {

[[noreturn]] void g_Throw(DWORD dwError) { throw std::system_error(static_cast<int>(dwError), std::system_category()); }

/// An open file; Close() where its answer matters.
class CFile {
public:
    CFile(const std::filesystem::path& rPath, DWORD dwAccess, DWORD dwDisposition)
        : m_hFile(CreateFileW(rPath.c_str(), dwAccess, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                              dwDisposition, FILE_ATTRIBUTE_NORMAL, nullptr)) {}
    CFile(const CFile&) = delete;
    ~CFile() {
        if (*this) CloseHandle(m_hFile);
    }
    explicit operator bool() const { return m_hFile != INVALID_HANDLE_VALUE; }
    HANDLE Get() const { return m_hFile; }

    void Write(std::string_view sData) const {
        constexpr size_t kMost = 1u << 20;  // a console takes less than 64 KB at once and says how much it took
        while (!sData.empty()) {
            DWORD dwWritten = 0;
            if (!WriteFile(m_hFile, sData.data(), static_cast<DWORD>(std::min(sData.size(), kMost)), &dwWritten,
                           nullptr))
                g_Throw(GetLastError());
            sData.remove_prefix(dwWritten);
        }
    }

private:
    HANDLE m_hFile;
};

/// The file itself where the path leads over a link.
std::filesystem::path g_FinalPath(const CFile& rFile, const std::filesystem::path& rPath) {
    std::wstring sPath(32768, L'\0');  // the longest path there is
    const DWORD dwLength =
        GetFinalPathNameByHandleW(rFile.Get(), sPath.data(), static_cast<DWORD>(sPath.size()), FILE_NAME_NORMALIZED);
    if (dwLength == 0 || dwLength >= sPath.size()) return rPath;
    sPath.resize(dwLength);
    return sPath;
}

}  // namespace

CFileReplacement::CFileReplacement(const std::filesystem::path& rPath) : m_Target(rPath) {
    const bool bPipe = rPath.native().starts_with(L"\\\\.\\");  // its other side would see it come and go
    if (bPipe) return;
    const CFile Old(rPath, GENERIC_WRITE, OPEN_EXISTING);
    if (!Old && GetLastError() != ERROR_FILE_NOT_FOUND) g_Throw(GetLastError());
    if (Old && GetFileType(Old.Get()) != FILE_TYPE_DISK) return;  // NUL, CON
    if (Old) m_Target = g_FinalPath(Old, rPath);
    for (int i = 0;; ++i) {
        m_New = m_Target.parent_path() /
                (".vxt-" + std::to_string(GetCurrentProcessId()) + "-" + std::to_string(i) + ".tmp");
        if (CFile(m_New, GENERIC_WRITE, CREATE_NEW)) return;
        if (GetLastError() != ERROR_FILE_EXISTS) g_Throw(GetLastError());
    }
}

CFileReplacement::~CFileReplacement() {
    if (!m_New.empty()) DeleteFileW(m_New.c_str());
}

void CFileReplacement::Commit(std::string_view sData) {
    {
        const CFile File(m_New.empty() ? m_Target : m_New, GENERIC_WRITE, OPEN_EXISTING);
        if (!File) g_Throw(GetLastError());
        File.Write(sData);
        if (m_New.empty()) return;
        if (!FlushFileBuffers(File.Get())) g_Throw(GetLastError());
    }
    // ReplaceFile keeps the old file's permissions and attributes; where there is none, the new one only gets its name.
    const bool bReplaced = ReplaceFileW(m_Target.c_str(), m_New.c_str(), nullptr, 0, nullptr, nullptr);
    if (!bReplaced && GetLastError() != ERROR_FILE_NOT_FOUND) g_Throw(GetLastError());
    if (!bReplaced && !MoveFileExW(m_New.c_str(), m_Target.c_str(), MOVEFILE_WRITE_THROUGH)) g_Throw(GetLastError());
    m_New.clear();
}

}  // namespace vxttools
