// The library's log and, in simulated builds, the machine that everything works on.
#pragma once

#include "common/command.h"

namespace vxtdiag {

/// Lives as long as a command uses the library's classes; sessions with the driver or the firmware stand inside.
class CLibrarySession {
public:
    /// Ends the command when the options do not fit the build, or the machine file cannot be used.
    explicit CLibrarySession(const vxttools::CGlobalOptions& rOptions);
    CLibrarySession(const CLibrarySession&) = delete;
    ~CLibrarySession();

    /// How to find out more, as the end of a message.
    const char* Hint() const { return m_bLog ? "see the log below ./Logs" : "--log tells why"; }

private:
    bool m_bLog;
};

}  // namespace vxtdiag
