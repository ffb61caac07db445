// The driver, open as long as the object lives.
#pragma once

#include "common/findings.h"
#include "library_session.h"

namespace vxtdiag {

class CDriverSession {
public:
    /// Ends the command when the driver cannot be had.
    explicit CDriverSession(const CLibrarySession& rLibrary);
    CDriverSession(const CDriverSession&) = delete;
    ~CDriverSession();

    /// Whether anything on the way to the hardware went wrong up to now: then what it was to read is missing somewhere.
    vxttools::CFindings Findings() const;
};

}  // namespace vxtdiag
