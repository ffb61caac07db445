#include "common/progress_line.h"

#include <cstdio>

#include "common/console.h"
#include "common/text.h"

namespace vxttools {

CProgressLine::CProgressLine(bool bQuiet) : m_oColumns(bQuiet ? std::nullopt : g_StderrColumns()) {}

void CProgressLine::Show(std::string sText) {
    if (!m_oColumns) return;
    while (g_Width(sText) >= *m_oColumns) sText.resize(sText.rfind(' ') == sText.npos ? 0 : sText.rfind(' '));
    const size_t uWidth = g_Width(sText), uShown = m_uShown;
    m_uShown = uWidth;
    std::fputs(("\r" + sText + std::string(uShown > uWidth ? uShown - uWidth : 0, ' ') + "\r").c_str(), stderr);
    std::fflush(stderr);
}

}  // namespace vxttools
