// The library's log.
#pragma once

#include <cstdint>

namespace vxtapi {

/// Log levels; a line is written when its level is in the level mask (all levels after InitVXTAPI(true)).
enum eLogLevel : uint32_t { kLogError = 1, kLogDiagnostic = 2, kLogInformation = 4 };

/// The one log of the process, obtained from GetLog(). Hosts may add lines of their own. Any thread may write.
class CLog {
public:
    /// Writes one time-stamped line (printf-style, 8-bit text; cut at 1023 characters including the stamp).
    /// Always true, also when the log is off.
    virtual bool WriteLog(uint32_t uLevel, const char* pszFormat, ...) = 0;

protected:
    ~CLog() = default;
};

}  // namespace vxtapi
