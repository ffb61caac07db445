#include "api/log/log.h"

#include <algorithm>
#include <cstdio>
#include <cstring>

#include "api/log/log_checks.h"
#include "platform/clock.h"

namespace vxt {

using platform::CLocalTime;

CLog& g_GetLog() {
    static CLog s_Log;
    return s_Log;
}

namespace {

CCheckObserver s_pObserver = nullptr;

}  // namespace

void g_ObserveChecks(CCheckObserver pObserver) { s_pObserver = pObserver; }

bool g_ReportCheck(const char* pszKind, const char* pszText, int nLine, const char* pszClass, const char* pszFunction,
                   std::string_view sSignature) noexcept {
    const std::string_view sName = g_QualifiedName(sSignature);
    if (s_pObserver) s_pObserver(pszClass ? pszClass : sName);
    if (pszClass)
        g_GetLog().WriteLog(kLogError, "%s(%s) at line %d in %s::%s\n", pszKind, pszText, nLine, pszClass, pszFunction);
    else
        g_GetLog().WriteLog(kLogError, "%s(%s) at line %d in %.*s\n", pszKind, pszText, nLine,
                            static_cast<int>(sName.size()), sName.data());
    return true;
}

bool CLog::Init(const char* pszName, uint32_t uLevelMask, uint32_t uOutputMask, uint32_t uLinesPerFile) {
    if (!pszName) return false;
    const std::lock_guard Guard(m_Lock);
    m_uLineCounter = 0;
    m_File.Release();
    m_szName.fill(0);
    std::strncpy(m_szName.data(), pszName, m_szName.size() - 1);
    m_uLevelMask = uLevelMask;
    m_uOutputMask = uOutputMask;
    m_uLinesPerFile = uLinesPerFile;
    return true;
}

bool CLog::UnInit() {
    const std::lock_guard Guard(m_Lock);
    m_File.Reset();
    return true;
}

bool CLog::WriteLog(uint32_t uLevel, const char* pszFormat, ...) {
    if ((m_uLevelMask & uLevel) == 0) return true;
    va_list Arguments;
    va_start(Arguments, pszFormat);
    _WriteLine(uLevel, pszFormat, Arguments);
    va_end(Arguments);
    return true;
}

void CLog::_WriteLine(uint32_t uLevel, const char* pszFormat, va_list Arguments) {
    const CLocalTime Now = platform::LocalTime();
    char szLine[kLineSize];
    const int nPrefix = std::snprintf(szLine, sizeof(szLine), "%2.2d%2.2d-%2.2d%2.2d%2.2d<%d>: ", Now.nMonth, Now.nDay,
                                      Now.nHour, Now.nMinute, Now.nSecond, static_cast<int>(uLevel));
    const size_t uPrefix = static_cast<size_t>(nPrefix);
    const int nMessage = std::vsnprintf(szLine + uPrefix, sizeof(szLine) - uPrefix, pszFormat, Arguments);
    size_t uLength = kLineSize - 1;  // an encoding error counts as truncation
    if (nMessage >= 0) uLength = std::min(uPrefix + static_cast<size_t>(nMessage), kLineSize - 1);
    szLine[kLineSize - 1] = 0;

    if (szLine[uLength - 1] != '\n' && szLine[uLength - 1] != '\r') {
        if (uLength < kLineSize - 1) ++uLength;
        szLine[uLength - 1] = '\n';  // a full line loses its last character instead
    }
    const std::string_view sLine(szLine, uLength);
    const uint32_t uOutputMask = m_uOutputMask;
    if (uOutputMask & kToStandardOutput) std::fwrite(sLine.data(), 1, sLine.size(), stdout);
    if (uOutputMask & kToStandardError) std::fwrite(sLine.data(), 1, sLine.size(), stderr);
    if (uOutputMask & kToFile) _WriteToFile(sLine, Now);
}

void CLog::_WriteToFile(std::string_view sLine, const CLocalTime& rNow) {
    const std::lock_guard Guard(m_Lock);
    const bool bStartFile = m_uLinesPerFile == 0 ? m_uLineCounter == 0 : m_uLineCounter % m_uLinesPerFile == 0;
    if (bStartFile) _StartFile(rNow);
    if (m_File && platform::WriteCommitted(m_File, sLine.data(), sLine.size()) < sLine.size())
        std::fputs("Warning : error occurs when writing to log file, please check remain capacity of your hard disk!\n",
                   stderr);
    ++m_uLineCounter;  // also without a file: the next rotation tries again
}

void CLog::_StartFile(const CLocalTime& rNow) {
    m_File.Reset();
    char szDay[32], szPath[1024] = "";  // a name is cut at 255 bytes: everything fits
    std::snprintf(szDay, sizeof(szDay), "%d_%2.2d_%2.2d", rNow.nYear, rNow.nMonth, rNow.nDay);
    size_t uLength = 0;
    const auto Left = [&] { return sizeof(szPath) - uLength; };
    for (const char* pszFolder :
         {"./Logs", static_cast<const char*>(m_szName.data()), static_cast<const char*>(szDay)}) {
        uLength += static_cast<size_t>(std::snprintf(szPath + uLength, Left(), "%s%s", uLength ? "/" : "", pszFolder));
        platform::CreateDirectory(szPath);  // each may exist already
    }
    std::snprintf(szPath + uLength, Left(), "/%s_%s_%2.2d_%2.2d_%2.2d_%6.6u.log", m_szName.data(), szDay, rNow.nHour,
                  rNow.nMinute, rNow.nSecond, m_uLineCounter);
    // The name tells the second: what starts within one second shares a file, and nobody's lines are lost.
    m_File = platform::OpenCommittedFile(szPath);
    if (!m_File) std::fputs("Warning : cannot create log file!", stderr);
}

}  // namespace vxt
