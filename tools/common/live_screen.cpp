#include "common/live_screen.h"

#include <cstdio>
#include <sstream>
#include <vector>

#include "common/output.h"

namespace vxttools {
namespace {

// Control sequences of ECMA-48, and DEC's private modes: 1049 the second screen, 25 the cursor, 7 going on in the next line
// behind the last column, which would make a line that is too long take two.
constexpr CScreenWords kWords{.pszTake = "\033[?1049h\033[?25l\033[?7l", .pszGiveBack = "\033[?7h\033[?25h\033[?1049l"};
constexpr const char* kHome = "\033[H";
constexpr const char* kClearLine = "\033[K";   // behind the cursor
constexpr const char* kClearBelow = "\033[J";  // and everything below it

constexpr CTerminalSize kUsual{80, 24};  ///< of a terminal that does not tell

CTerminalSize g_SizeNow() {
    const CTerminalSize Size = g_StdoutSize().value_or(kUsual);
    return {Size.uColumns, Size.uRows ? Size.uRows : kUsual.uRows};
}

std::vector<std::string> g_Lines(const std::string& sText) {
    std::vector<std::string> Lines;
    std::istringstream Text(sText);
    for (std::string sLine; std::getline(Text, sLine);) Lines.push_back(sLine);
    return Lines;
}

}  // namespace

CLiveScreen::CLiveScreen() {
    static char acPicture[1u << 16];  // stdout holds on to it until the process ends
    std::setvbuf(stdout, acPicture, _IOFBF, sizeof acPicture);
    g_HoldScreen(&kWords);
    g_Print(kWords.pszTake);
}

CLiveScreen::~CLiveScreen() {
    std::fputs(kWords.pszGiveBack, stdout);  // nobody is left to hear of a terminal that is gone
    std::fflush(stdout);
    g_HoldScreen(nullptr);
}

void CLiveScreen::Draw(const CPicture& rPicture) {
    m_Size = g_SizeNow();
    std::vector<std::string> Lines = g_Lines(rPicture(m_Size.uColumns));
    if (Lines.size() > m_Size.uRows) {
        const size_t uShown = m_Size.uRows - 1;
        const std::string sMore = "... " + std::to_string(Lines.size() - uShown) + " more lines";
        Lines.resize(uShown);
        Lines.push_back(sMore);
    }
    std::string sFrame = kHome;
    for (size_t i = 0; i < Lines.size(); ++i) sFrame += (i ? "\r\n" : "") + Lines[i] + kClearLine;
    g_Print(sFrame + kClearBelow + kHome);  // a remark that comes between two pictures does not scroll
}

void CLiveScreen::Follow(const CPicture& rPicture) {
    if (g_WentOn() || g_SizeNow() != m_Size) Draw(rPicture);
}

}  // namespace vxttools
