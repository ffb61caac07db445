// The board firmware's management interface, connected as long as the object lives. Needs no driver.
#pragma once

#include "library_session.h"

namespace vxtdiag {

class CFirmwareSession {
public:
    CFirmwareSession();
    CFirmwareSession(const CFirmwareSession&) = delete;
    ~CFirmwareSession();

    /// The machine's firmware can be tuned: its class exists.
    bool IsThere() const { return m_bIsThere; }
    bool HasObjects() const { return m_bHasObjects; }    ///< it let the object interface be initialised
    bool HasCommands() const { return m_bHasCommands; }  ///< it told the version and codes of its commands
    /// Ends the command when there is no such firmware.
    void Require(const CLibrarySession& rLibrary) const;

private:
    bool m_bConnected = false, m_bIsThere = false, m_bHasObjects = false, m_bHasCommands = false;
};

}  // namespace vxtdiag
