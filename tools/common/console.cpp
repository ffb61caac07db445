#include "common/console.h"

#include <cstdio>
#include <cstdlib>
#include <iostream>

namespace vxttools {

std::string g_Environment(const char* pszName) {
    const char* pszValue = std::getenv(pszName);
    return pszValue ? pszValue : "";
}

std::filesystem::path g_Path(const std::string& sUtf8) {
    return std::filesystem::path(std::u8string(sUtf8.begin(), sUtf8.end()));
}

bool g_AskYes(const std::string& sQuestion) {
    std::fputs((sQuestion + " [y/N] ").c_str(), stderr);
    std::string sAnswer;
    if (!g_WaitForInput() || !std::getline(std::cin, sAnswer)) {
        std::fputc('\n', stderr);  // nobody ended the line
        return false;
    }
    if (sAnswer.ends_with('\r')) sAnswer.pop_back();
    return !g_WasInterrupted() && (sAnswer == "y" || sAnswer == "Y" || sAnswer == "yes");
}

}  // namespace vxttools
