// The driver, open as long as the object lives.
#pragma once

#include "library_session.h"

namespace vxtdiag {

class CDriverSession {
public:
    /// Ends the command when the driver cannot be had.
    explicit CDriverSession(const CLibrarySession& rLibrary);
    CDriverSession(const CDriverSession&) = delete;
    ~CDriverSession();
};

}  // namespace vxtdiag
