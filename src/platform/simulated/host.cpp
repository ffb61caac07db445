// What stays real on the simulated PC: text, files and the wall clock of the machine that runs it.
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <ctime>

#include "platform/clock.h"
#include "platform/committed_file.h"
#include "platform/text.h"

namespace vxt::platform {

CLocalTime LocalTime() {
    const std::time_t Now = std::time(nullptr);
    std::tm Parts{};
    localtime_r(&Now, &Parts);
    return {Parts.tm_year + 1900, Parts.tm_mon + 1, Parts.tm_mday, Parts.tm_hour, Parts.tm_min, Parts.tm_sec};
}

double RunningSeconds() {
    return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count();
}

// File descriptors cross the seam as descriptor + 1: 0 means none.
void CloseCommittedFile(uintptr_t uHandle) { close(static_cast<int>(uHandle - 1)); }

bool CreateDirectory(const char* pszPath) { return mkdir(pszPath, 0777) == 0; }

CCommittedFile OpenCommittedFile(const char* pszPath) {
    return CCommittedFile(static_cast<uintptr_t>(open(pszPath, O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0666) + 1));
}

size_t WriteCommitted(const CCommittedFile& rFile, const char* pData, size_t uSize) {
    const int nFile = static_cast<int>(rFile.Get() - 1);
    const ssize_t nWritten = write(nFile, pData, uSize);
    fsync(nFile);
    return nWritten < 0 ? 0 : static_cast<size_t>(nWritten);
}

size_t WidenText(std::string_view sText, std::span<wchar_t> Wide) {
    if (sText.size() > Wide.size()) return 0;
    std::ranges::transform(sText, Wide.begin(),
                           [](char c) { return static_cast<wchar_t>(static_cast<unsigned char>(c)); });
    return sText.size();
}

std::string NarrowText(std::wstring_view sText) {
    std::string sNarrow(sText.size(), '?');
    std::ranges::transform(sText, sNarrow.begin(), [](wchar_t c) { return c < 0x100 ? static_cast<char>(c) : '?'; });
    return sNarrow;
}

}  // namespace vxt::platform
