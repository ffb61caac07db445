#include "common/console.h"

#include <cstdio>
#include <cstdlib>

namespace vxttools {
namespace {

std::optional<CTerminal> g_oBorrowed;

CTerminal g_Terminal() { return g_oBorrowed ? *g_oBorrowed : g_OwnTerminal(); }

}  // namespace

void g_BorrowTerminal(const CTerminal& rTerminal) { g_oBorrowed = rTerminal; }
bool g_IsStdinTerminal() { return g_Terminal().bStdin; }
bool g_IsStdoutObedient() { return g_Terminal().bObedient; }
std::optional<size_t> g_StdoutColumns() { return g_Terminal().oStdoutColumns; }
std::optional<size_t> g_StderrColumns() { return g_Terminal().oStderrColumns; }

std::filesystem::path g_ExecutableFolder() { return g_Executable().parent_path(); }

// A byte at a time: what is behind the line is for the next reader. Nobody writes so much that it would matter.
bool g_ReadLine(std::string& rsLine) {
    rsLine.clear();
    for (std::string sByte = g_ReadInput(1); sByte != "\n"; sByte = g_ReadInput(1)) {
        if (sByte.empty()) return !rsLine.empty();
        rsLine += sByte;
    }
    if (rsLine.ends_with('\r')) rsLine.pop_back();
    return true;
}

std::string g_Environment(const char* pszName) {
    const char* pszValue = std::getenv(pszName);
    return pszValue ? pszValue : "";
}

std::filesystem::path g_Path(const std::string& sUtf8) {
    return std::filesystem::path(std::u8string(sUtf8.begin(), sUtf8.end()));
}

std::string g_FileName(const std::string& sUtf8) {
    const std::u8string sName = g_Path(sUtf8).filename().u8string();
    return {sName.begin(), sName.end()};
}

bool g_AskYes(const std::string& sQuestion) {
    std::fputs((sQuestion + " [y/N] ").c_str(), stderr);
    std::string sAnswer;
    if (!g_WaitForInput() || !g_ReadLine(sAnswer)) {
        std::fputc('\n', stderr);  // nobody ended the line
        return false;
    }
    return !g_WasInterrupted() && (sAnswer == "y" || sAnswer == "Y" || sAnswer == "yes");
}

}  // namespace vxttools
