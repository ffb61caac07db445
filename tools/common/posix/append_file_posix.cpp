#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <system_error>

#include "common/append_file.h"

namespace vxttools {
namespace {

int g_Checked(int nResult) {
    if (nResult < 0) throw std::system_error(errno, std::generic_category());
    return nResult;
}

/// Looks before it opens: to open a pipe would wait for its reader.
int g_Open(const std::filesystem::path& rPath) {
    struct stat Old = {};
    if (stat(rPath.c_str(), &Old) == 0 && !S_ISREG(Old.st_mode) && !S_ISCHR(Old.st_mode))
        throw std::system_error(S_ISDIR(Old.st_mode) ? EISDIR : EINVAL, std::generic_category());
    constexpr mode_t kPermissions = 0666;  // less what the umask takes away
    return g_Checked(open(rPath.c_str(), O_RDWR | O_APPEND | O_CREAT | O_CLOEXEC | O_NOCTTY, kPermissions));
}

}  // namespace

CAppendFile::CAppendFile(const std::filesystem::path& rPath) : m_nFile(g_Open(rPath)) {
    struct stat Opened = {};
    m_bPlain = fstat(static_cast<int>(m_nFile), &Opened) == 0 && S_ISREG(Opened.st_mode);
    if (!m_bPlain || flock(static_cast<int>(m_nFile), LOCK_EX | LOCK_NB) == 0) return;
    const int nError = errno == EWOULDBLOCK ? EBUSY : errno;
    close(static_cast<int>(m_nFile));
    throw std::system_error(nError, std::generic_category());
}

CAppendFile::~CAppendFile() { close(static_cast<int>(m_nFile)); }

uint64_t CAppendFile::Size() const {
    struct stat Now = {};
    g_Checked(fstat(static_cast<int>(m_nFile), &Now));
    return static_cast<uint64_t>(Now.st_size);
}

std::string CAppendFile::Read(uint64_t ullOffset, size_t uSize) const {
    std::string sData(uSize, '\0');
    size_t uRead = 0;
    while (uRead < uSize) {
        const ssize_t nRead = pread(static_cast<int>(m_nFile), sData.data() + uRead, uSize - uRead,
                                    static_cast<off_t>(ullOffset + uRead));
        if (nRead < 0 && errno == EINTR) continue;
        if (g_Checked(static_cast<int>(nRead)) == 0) break;
        uRead += static_cast<size_t>(nRead);
    }
    sData.resize(uRead);
    return sData;
}

void CAppendFile::Truncate(uint64_t ullSize) {
    g_Checked(ftruncate(static_cast<int>(m_nFile), static_cast<off_t>(ullSize)));
}

void CAppendFile::Append(std::string_view sData) {
    while (!sData.empty()) {
        const ssize_t nWritten = write(static_cast<int>(m_nFile), sData.data(), sData.size());
        if (nWritten < 0 && errno == EINTR) continue;
        sData.remove_prefix(static_cast<size_t>(g_Checked(static_cast<int>(nWritten))));
    }
}

void CAppendFile::Sync() {
    if (m_bPlain) g_Checked(fdatasync(static_cast<int>(m_nFile)));
}

}  // namespace vxttools
