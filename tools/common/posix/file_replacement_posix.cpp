#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <string>
#include <system_error>

#include "common/file_replacement.h"

namespace vxttools {
namespace {

namespace fs = std::filesystem;

[[noreturn]] void g_Throw(int nError) { throw std::system_error(nError, std::generic_category()); }

/// An open file. Close() where its answer matters.
class CDescriptor {
public:
    CDescriptor(const fs::path& rPath, int nFlags, mode_t uMode = 0)
        : m_nDescriptor(open(rPath.c_str(), nFlags | O_WRONLY | O_CLOEXEC, uMode)) {}
    CDescriptor(const CDescriptor&) = delete;
    ~CDescriptor() {
        if (*this) close(m_nDescriptor);
    }
    explicit operator bool() const { return m_nDescriptor >= 0; }
    int Get() const { return m_nDescriptor; }

    void Write(std::string_view sData) const {
        while (!sData.empty()) {
            const ssize_t nWritten = write(m_nDescriptor, sData.data(), sData.size());
            if (nWritten < 0 && errno != EINTR) g_Throw(errno);
            if (nWritten > 0) sData.remove_prefix(static_cast<size_t>(nWritten));
        }
    }

private:
    int m_nDescriptor;
};

/// Where the links lead to, also when there is nothing yet. Empty for what belongs to who opened it, a plain file too:
/// a descriptor by its name (/dev/stdout is a link to /proc/self/fd/1).
fs::path g_FollowLinks(fs::path Path) {
    constexpr int kMostLinks = 40;  // as the kernel
    for (int i = 0; i < kMostLinks; ++i) {
        const std::string sPath = fs::absolute(Path).lexically_normal().string();
        if (sPath.starts_with("/proc/") || sPath.starts_with("/dev/fd/")) return {};
        std::error_code NoLink;
        const fs::path Next = fs::read_symlink(Path, NoLink);
        if (NoLink) return Path;
        Path = Path.parent_path() / Next;
    }
    g_Throw(ELOOP);
}

}  // namespace

CFileReplacement::CFileReplacement(const fs::path& rPath) : m_Target(rPath) {
    struct stat Old = {};
    const bool bOld = stat(rPath.c_str(), &Old) == 0;
    if (!bOld && errno != ENOENT) g_Throw(errno);
    if (bOld && S_ISDIR(Old.st_mode)) g_Throw(EISDIR);
    if (bOld && access(rPath.c_str(), W_OK) != 0) g_Throw(errno);
    const fs::path Plain = g_FollowLinks(rPath);
    if (bOld && (!S_ISREG(Old.st_mode) || Plain.empty())) return;

    m_Target = Plain;
    constexpr mode_t kPermissions = 0666;  // less what the umask takes away
    for (int i = 0;; ++i) {
        m_New = Plain.parent_path() / (".vxt-" + std::to_string(getpid()) + "-" + std::to_string(i) + ".tmp");
        const CDescriptor New(m_New, O_CREAT | O_EXCL, kPermissions);
        if (!New && errno == EEXIST) continue;  // left by a process that was killed
        if (!New) g_Throw(errno);
        if (!bOld) return;
        // The owner first: changing it takes permission bits away. Only the superuser may give a file to another one.
        if (fchown(New.Get(), Old.st_uid, Old.st_gid) != 0)
            (void)!fchown(New.Get(), static_cast<uid_t>(-1), Old.st_gid);
        (void)fchmod(New.Get(), Old.st_mode & 07777);
        return;
    }
}

CFileReplacement::~CFileReplacement() {
    if (!m_New.empty()) unlink(m_New.c_str());
}

void CFileReplacement::Commit(std::string_view sData) {
    const CDescriptor File(m_New.empty() ? m_Target : m_New, m_New.empty() ? O_APPEND : 0);
    if (!File) g_Throw(errno);
    File.Write(sData);
    if (m_New.empty()) return;
    if (fsync(File.Get()) != 0 || rename(m_New.c_str(), m_Target.c_str()) != 0) g_Throw(errno);
    m_New.clear();
    const fs::path Folder = m_Target.parent_path();
    const int nFolder = open(Folder.empty() ? "." : Folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (nFolder < 0) return;  // the contents are on the disk; not every folder that can be written can be read
    (void)fsync(nFolder);     // the name
    close(nFolder);
}

}  // namespace vxttools
