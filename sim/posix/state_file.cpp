#include "../state_file.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <cstdlib>
#include <cstring>

namespace vxtsim {

namespace {

bool g_Fail(std::string& rsReason) {
    rsReason = std::strerror(errno);
    return false;
}

bool g_WriteAll(int nFile, std::string_view sText) {
    while (!sText.empty()) {
        const ssize_t nWritten = write(nFile, sText.data(), sText.size());
        if (nWritten < 0 && errno == EINTR) continue;
        if (nWritten < 0) return false;
        sText.remove_prefix(static_cast<size_t>(nWritten));
    }
    return true;
}

/// Writes the file that is to take another's place and answers it open; -1 with errno: it is gone again.
int g_WriteNew(const std::string& sPath, std::string_view sText, mode_t uMode) {
    const int nFile = open(sPath.c_str(), O_RDWR | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
    if (nFile < 0) return -1;
    if (g_WriteAll(nFile, sText) && fchmod(nFile, uMode) == 0) return nFile;
    const int nError = errno;
    close(nFile);
    unlink(sPath.c_str());
    errno = nError;
    return -1;
}

}  // namespace

CStateFile::~CStateFile() {
    if (m_nFile < 0) return;
    if (m_bMade && m_bEmpty) unlink(m_sPath.c_str());
    close(static_cast<int>(m_nFile));
}

bool CStateFile::Open(const std::string& sPath, std::string& rsReason) {
    for (;;) {
        int nFile = open(sPath.c_str(), O_RDWR | O_CLOEXEC | O_NONBLOCK);
        m_bMade = nFile < 0 && errno == ENOENT;
        if (m_bMade) nFile = open(sPath.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
        if (nFile < 0 && errno == EEXIST) continue;  // made by another process just now
        if (nFile < 0) return g_Fail(rsReason);
        m_nFile = nFile;
        struct stat Opened {
        }, Found{};
        char szPath[PATH_MAX];
        if (!realpath(sPath.c_str(), szPath) || fstat(nFile, &Opened) != 0) return g_Fail(rsReason);
        m_sPath = szPath, m_bEmpty = Opened.st_size == 0;
        if (!S_ISREG(Opened.st_mode)) return rsReason = "no regular file", false;
        if (flock(nFile, LOCK_EX | LOCK_NB) != 0) {
            m_bMade = false;
            rsReason = errno == EWOULDBLOCK ? "another process uses it" : std::strerror(errno);
            return false;
        }
        // Its holder may have replaced it between the two calls: then this is a file that is no longer there.
        if (stat(szPath, &Found) == 0 && Found.st_ino == Opened.st_ino && Found.st_dev == Opened.st_dev) return true;
        close(nFile);
        m_nFile = -1;
    }
}

bool CStateFile::TryReplace(std::string_view sText, std::string& rsReason) {
    const std::string sNew = m_sPath + ".new";
    const int nFile = g_WriteNew(sNew, sText, 0600);
    if (nFile < 0) return g_Fail(rsReason);
    close(nFile);
    return unlink(sNew.c_str()) == 0 || g_Fail(rsReason);
}

bool CStateFile::Replace(std::string_view sText, std::string& rsReason) {
    const std::string sNew = m_sPath + ".new";
    struct stat Old {};
    const bool bRetCode = fstat(static_cast<int>(m_nFile), &Old) == 0;
    const int nFile = bRetCode ? g_WriteNew(sNew, sText, Old.st_mode & 0777) : -1;
    if (nFile < 0) return g_Fail(rsReason);
    // The lock goes over before the name does.
    if (flock(nFile, LOCK_EX | LOCK_NB) != 0 || fsync(nFile) != 0 || rename(sNew.c_str(), m_sPath.c_str()) != 0) {
        g_Fail(rsReason);
        close(nFile);
        unlink(sNew.c_str());
        return false;
    }
    close(static_cast<int>(m_nFile));
    m_nFile = nFile;
    m_bEmpty = false;
    return true;
}

}  // namespace vxtsim
