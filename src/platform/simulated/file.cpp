#include "platform/file.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>

#include "platform/simulated/simulated_system.h"
#include "platform/simulated/utf8.h"

namespace vxt::platform {

using simulated::CSystemSide;
using simulated::g_GetSystem;

namespace {

// File descriptors cross the seam as descriptor + 1: 0 means none.
int g_Descriptor(const CFile& rFile) { return static_cast<int>(rFile.Get()) - 1; }

std::string g_Path(const wchar_t* pszPath) {
    std::string sPath = simulated::Utf8Text(pszPath);
    std::ranges::replace(sPath, '\\', '/');
    return sPath;
}

/// What errno says, in the system's numbers.
uintptr_t g_Fail() {
    constexpr uint32_t kErrorFailure = 31;  // ERROR_GEN_FAILURE
    const bool bAbsent = errno == ENOENT || errno == ENOTDIR;
    return g_GetSystem().Fail(bAbsent                             ? kErrorFileNotFound
                              : errno == EACCES || errno == EPERM ? kErrorAccessDenied
                                                                  : kErrorFailure);
}

CFile g_Open(const char* pszCall, const wchar_t* pszPath, int nFlags) {
    const CSystemSide SystemSide;
    if (g_GetSystem().Refuses(pszCall)) return {};
    const int nFile = open(g_Path(pszPath).c_str(), nFlags | O_NONBLOCK | O_NOCTTY | O_CLOEXEC, 0666);
    struct stat About {};
    if (nFile >= 0 && (fstat(nFile, &About) != 0 || !S_ISREG(About.st_mode))) {
        close(nFile);
        return CFile(g_GetSystem().Fail(kErrorAccessDenied));
    }
    return CFile(nFile < 0 ? g_Fail() : static_cast<uintptr_t>(nFile) + 1);
}

/// The path still stands for the file that was opened by it.
bool g_IsNamed(const CFile& rFile, const std::string& sPath) {
    struct stat Mine {
    }, Named{};
    return fstat(g_Descriptor(rFile), &Mine) == 0 && stat(sPath.c_str(), &Named) == 0 && Mine.st_dev == Named.st_dev &&
           Mine.st_ino == Named.st_ino;
}

/// Flushes what a name of the folder stands for.
void g_FlushFolder(const std::string& sPath) {
    const size_t uSlash = sPath.rfind('/');
    const int nFolder = open(uSlash == sPath.npos ? "." : sPath.substr(0, uSlash + 1).c_str(), O_RDONLY | O_CLOEXEC);
    if (nFolder < 0) return;
    fsync(nFolder);
    close(nFolder);
}

}  // namespace

void CloseFile(uintptr_t uHandle) { close(static_cast<int>(uHandle) - 1); }

CFile OpenFileToRead(const wchar_t* pszPath) { return g_Open("OpenFileToRead", pszPath, O_RDONLY); }

bool ReadFile(const CFile& rFile, std::span<std::byte> Data, size_t& ruRead) {
    const CSystemSide SystemSide;
    if (g_GetSystem().Refuses("ReadFile")) return false;
    size_t uRead = 0;
    while (uRead < Data.size()) {
        const ssize_t nNow = read(g_Descriptor(rFile), Data.data() + uRead, Data.size() - uRead);
        if (nNow < 0 && errno == EINTR) continue;
        if (nNow < 0) return g_Fail();
        if (nNow == 0) break;
        uRead += static_cast<size_t>(nNow);
    }
    ruRead = uRead;
    return true;
}

CFile CreateFileToWrite(const wchar_t* pszPath) {
    const CSystemSide SystemSide;
    CFile hFile = g_Open("CreateFileToWrite", pszPath, O_WRONLY | O_CREAT | O_NOFOLLOW);
    // Only its owner may empty it, who keeps it until it has another name or none.
    if (hFile && (flock(g_Descriptor(hFile), LOCK_EX | LOCK_NB) != 0 || !g_IsNamed(hFile, g_Path(pszPath)) ||
                  ftruncate(g_Descriptor(hFile), 0) != 0)) {
        g_Fail();
        hFile.Reset();
    }
    return hFile;
}

bool WriteFile(const CFile& rFile, std::span<const std::byte> Data) {
    const CSystemSide SystemSide;
    if (g_GetSystem().Refuses("WriteFile")) return false;
    while (!Data.empty()) {
        const ssize_t nNow = write(g_Descriptor(rFile), Data.data(), Data.size());
        if (nNow < 0 && errno != EINTR) return g_Fail();
        if (nNow > 0) Data = Data.subspan(static_cast<size_t>(nNow));
    }
    return fsync(g_Descriptor(rFile)) == 0 || g_Fail();
}

// The handle is closed at the end: nobody else has the file before its name is gone.
bool DeleteFile(const wchar_t* pszPath, CFile) {
    const CSystemSide SystemSide;
    return !g_GetSystem().Refuses("DeleteFile") && (unlink(g_Path(pszPath).c_str()) == 0 || g_Fail());
}

bool ReplaceFile(CFile& rFile, const wchar_t* pszOld, const wchar_t* pszNew) {
    const CSystemSide SystemSide;
    if (g_GetSystem().Refuses("ReplaceFile")) return false;
    const std::string sNew = g_Path(pszNew);
    struct stat Before {};  // who may read the one that was there may read this one
    if (stat(sNew.c_str(), &Before) == 0) fchmod(g_Descriptor(rFile), Before.st_mode & 0777);
    if (std::rename(g_Path(pszOld).c_str(), sNew.c_str()) != 0) return g_Fail();
    rFile.Reset();
    g_FlushFolder(sNew);
    return true;
}

}  // namespace vxt::platform
