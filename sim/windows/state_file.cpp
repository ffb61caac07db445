#include "../state_file.h"

#include <windows.h>

namespace vxtsim {

namespace {

bool g_Fail(std::string& rsReason) {
    char szText[256]{};
    const DWORD dwLength = FormatMessageA(FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS, nullptr,
                                          GetLastError(), 0, szText, sizeof(szText), nullptr);
    rsReason.assign(szText, dwLength);
    rsReason.erase(rsReason.find_last_not_of("\r\n. ") + 1);
    return false;
}

bool g_WriteNew(const std::string& sPath, std::string_view sText) {
    const HANDLE hFile =
        CreateFileA(sPath.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
    if (hFile == INVALID_HANDLE_VALUE) return false;
    DWORD dwWritten = 0;
    const bool bRetCode = WriteFile(hFile, sText.data(), static_cast<DWORD>(sText.size()), &dwWritten, nullptr) &&
                          dwWritten == sText.size() && FlushFileBuffers(hFile);
    CloseHandle(hFile);
    return bRetCode;
}

}  // namespace

CStateFile::~CStateFile() = default;

bool CStateFile::Open(const std::string& sPath, std::string& rsReason) {
    m_sPath = sPath;
    WIN32_FILE_ATTRIBUTE_DATA Found{};
    const bool bIsThere = GetFileAttributesExA(sPath.c_str(), GetFileExInfoStandard, &Found);
    m_bEmpty = Found.nFileSizeHigh == 0 && Found.nFileSizeLow == 0;
    return bIsThere || GetLastError() == ERROR_FILE_NOT_FOUND || g_Fail(rsReason);
}

bool CStateFile::TryReplace(std::string_view sText, std::string& rsReason) {
    const std::string sNew = m_sPath + ".new";
    return (g_WriteNew(sNew, sText) && DeleteFileA(sNew.c_str())) || g_Fail(rsReason);
}

bool CStateFile::Replace(std::string_view sText, std::string& rsReason) {
    const std::string sNew = m_sPath + ".new";
    const bool bRetCode = g_WriteNew(sNew, sText) && MoveFileExA(sNew.c_str(), m_sPath.c_str(),
                                                                 MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH);
    if (bRetCode) m_bEmpty = false;
    return bRetCode || g_Fail(rsReason);
}

}  // namespace vxtsim
