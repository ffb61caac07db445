// One dynamic library, loaded at run time.
#pragma once

#include <filesystem>
#include <string>

namespace vxttools {

/// File name under which VXTAPI ships on this system.
extern const char* const kLibraryFileName;

class CLoadedLibrary {
public:
    CLoadedLibrary() = default;
    CLoadedLibrary(const CLoadedLibrary&) = delete;
    ~CLoadedLibrary();

    /// False with the system's reason.
    bool Open(const std::filesystem::path& rPath, std::string& rsReason);
    /// Null when the library lacks it.
    void* Find(const char* pszSymbol) const;

private:
    void* m_pHandle = nullptr;
};

}  // namespace vxttools
