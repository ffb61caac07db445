#include <windows.h>

#include <system_error>

#include "common/library_loader.h"

namespace vxttools {

const char* const kLibraryFileName = "VXTAPI.dll";

CLoadedLibrary::~CLoadedLibrary() {
    if (m_pHandle) FreeLibrary(static_cast<HMODULE>(m_pHandle));
}

bool CLoadedLibrary::Open(const std::filesystem::path& rPath, std::string& rsReason) {
    // An absolute path, and its folder first for whatever the library itself needs.
    m_pHandle = LoadLibraryExW(std::filesystem::absolute(rPath).c_str(), nullptr, LOAD_WITH_ALTERED_SEARCH_PATH);
    if (!m_pHandle) rsReason = rPath.string() + ": " + std::system_category().message(static_cast<int>(GetLastError()));
    return m_pHandle;
}

void* CLoadedLibrary::Find(const char* pszSymbol) const {
    return reinterpret_cast<void*>(GetProcAddress(static_cast<HMODULE>(m_pHandle), pszSymbol));
}

}  // namespace vxttools
