#include "../state_file.h"

#include <io.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>

namespace vxtsim {

namespace {

namespace fs = std::filesystem;

bool g_Fail(std::string& rsReason) {
    rsReason = std::strerror(errno);
    return false;
}

bool g_WriteNew(const std::string& sPath, std::string_view sText) {
    FILE* const pFile = std::fopen(sPath.c_str(), "wb");
    if (!pFile) return false;
    const bool bWritten = std::fwrite(sText.data(), 1, sText.size(), pFile) == sText.size() &&
                          std::fflush(pFile) == 0 && _commit(_fileno(pFile)) == 0;
    return std::fclose(pFile) == 0 && bWritten;
}

}  // namespace

CStateFile::~CStateFile() = default;

bool CStateFile::Open(const std::string& sPath, std::string& rsReason) {
    m_sPath = sPath;
    std::error_code Error;
    const uintmax_t ullSize = fs::file_size(sPath, Error);
    m_bEmpty = Error || ullSize == 0;
    if (!Error || Error == std::errc::no_such_file_or_directory) return true;
    rsReason = Error.message();
    return false;
}

bool CStateFile::TryReplace(std::string_view sText, std::string& rsReason) {
    const std::string sNew = m_sPath + ".new";
    return (g_WriteNew(sNew, sText) && std::remove(sNew.c_str()) == 0) || g_Fail(rsReason);
}

bool CStateFile::Replace(std::string_view sText, std::string& rsReason) {
    const std::string sNew = m_sPath + ".new";
    if (!g_WriteNew(sNew, sText)) return g_Fail(rsReason);
    std::error_code Error;
    fs::rename(sNew, m_sPath, Error);  // over the old file, in one step
    rsReason = Error.message();
    m_bEmpty = m_bEmpty && Error;
    return !Error;
}

}  // namespace vxtsim
