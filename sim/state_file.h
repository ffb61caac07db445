// A file that one process has to itself and replaces whole. posix/ and windows/ hold one implementation each.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace vxtsim {

/// Whoever is killed at any moment leaves the old or the new file, whole. False comes with the system's reason.
/// On Windows, which is simulated too, there is no lock: who starts it holds the file.
class CStateFile {
public:
    CStateFile() = default;
    CStateFile(const CStateFile&) = delete;
    /// Lets it go; a file that was made and never written is gone.
    ~CStateFile();

    /// Opens and locks a regular file, an empty new one where there is none. Waits for nobody: a file that another
    /// process has open is refused.
    bool Open(const std::string& sPath, std::string& rsReason);
    /// The file that is meant, links resolved. Others may read it.
    const std::string& Path() const { return m_sPath; }
    bool IsEmpty() const { return m_bEmpty; }
    /// Tries what Replace does and leaves no trace: whether the folder can be written and has room.
    bool TryReplace(std::string_view sText, std::string& rsReason);
    /// Puts the text in the file's place once it is on the disk.
    bool Replace(std::string_view sText, std::string& rsReason);

private:
    std::string m_sPath;
    intptr_t m_nFile = -1;  ///< the open file that carries the lock
    bool m_bEmpty = false, m_bMade = false;
};

}  // namespace vxtsim
