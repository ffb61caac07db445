// The process-wide log: time-stamped lines in a rotating set of files below ./Logs.
#pragma once

#include <vxtapi/log.h>

#include <array>
#include <atomic>
#include <cstdarg>
#include <mutex>
#include <string_view>

#include "platform/clock.h"
#include "platform/committed_file.h"

namespace vxt {

using vxtapi::kLogDiagnostic;
using vxtapi::kLogError;
using vxtapi::kLogInformation;

class CLog final : public vxtapi::CLog {
public:
    // Output mask bits.
    static constexpr uint32_t kToStandardOutput = 1, kToStandardError = 2, kToFile = 4;

    /// Names the log (its sub-directory and file prefix, cut at 255 bytes) and opens it for the levels of the mask.
    /// A new file is started every `uLinesPerFile` lines (0: never after the first). False only for a null name.
    /// Kept: an open file is forgotten, not continued; call UnInit first to close it.
    bool Init(const char* pszName, uint32_t uLevelMask, uint32_t uOutputMask, uint32_t uLinesPerFile);
    /// Closes the file. The masks stay as they are.
    bool UnInit();

    bool WriteLog(uint32_t uLevel, const char* pszFormat, ...) override __attribute__((format(printf, 3, 4)));

private:
    static constexpr size_t kLineSize = 1024;  ///< with the terminating zero

    void _WriteLine(uint32_t uLevel, const char* pszFormat, va_list Arguments);
    void _WriteToFile(std::string_view sLine, const platform::CLocalTime& rNow);
    void _StartFile(const platform::CLocalTime& rNow);

    std::array<char, 256> m_szName{};
    uint32_t m_uLineCounter = 0;
    uint32_t m_uLinesPerFile = 0;
    std::atomic<uint32_t> m_uLevelMask = 0;  ///< zero until Init: everything is dropped
    std::atomic<uint32_t> m_uOutputMask = 0;
    std::mutex m_Lock;  ///< guards everything but the masks, which writers look at before they take it
    platform::CCommittedFile m_File;
};

/// The one log of the process.
CLog& g_GetLog();

}  // namespace vxt
