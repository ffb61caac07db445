// The driver, open as long as the object lives.
#pragma once

#include "common/command_line.h"

namespace vxtdiag {

class CDriverSession {
public:
    /// Ends the command when the driver cannot be had.
    explicit CDriverSession(const vxttools::CGlobalOptions& rOptions);
    CDriverSession(const CDriverSession&) = delete;
    ~CDriverSession();
};

}  // namespace vxtdiag
