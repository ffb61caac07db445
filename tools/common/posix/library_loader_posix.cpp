#include <dlfcn.h>

#include "common/library_loader.h"

namespace vxttools {

const char* const kLibraryFileName = "libVXTAPI.so";

CLoadedLibrary::~CLoadedLibrary() {
    if (m_pHandle) dlclose(m_pHandle);
}

bool CLoadedLibrary::Open(const std::filesystem::path& rPath, std::string& rsReason) {
    // An absolute path: a bare name would be searched along the system's library folders.
    m_pHandle = dlopen(std::filesystem::absolute(rPath).c_str(), RTLD_NOW | RTLD_LOCAL);
    if (!m_pHandle) rsReason = dlerror();
    return m_pHandle;
}

void* CLoadedLibrary::Find(const char* pszSymbol) const { return dlsym(m_pHandle, pszSymbol); }

}  // namespace vxttools
