// The state of a simulated PC, kept in a file from one process to the next.
//
// The file is a machine file: it can be looked at, compared and be the machine of another PC. It tells of the running PC,
// not of one that was switched off and on: registers, memory and firmware are as they were left, whatever a reset would do.
#pragma once

#include <mutex>

#include "machine_file.h"
#include "state_file.h"

namespace vxtsim {

class CSimMachine;

/// One process's hold on the file. Any thread may call Keep.
class CMachineState {
public:
    /// Takes hold of the file and tells the machine to switch on. A file that is not there yet is made, of the machine
    /// of this name or file. An existing one has to be that machine's state; where no name is given (empty) it tells the
    /// machine itself, and a new one is the state of the default machine. False with the error in one line, the file's
    /// name first.
    bool Open(const std::string& sPath, const std::string& sMachine, CMachineDescription& rMachine,
              std::string& rsError);

    /// Writes the file if the PC has changed since. Costs a comparison of two numbers where nothing was written to the PC;
    /// where something was, a description of the whole PC, and a file on the disk if that differs. What a PC that hangs holds
    /// is lost.
    bool Keep(const CSimMachine& rMachine, std::string& rsError);

    /// The PC hung and somebody pressed its reset button: the file tells of the machine that it was made of, switched on anew,
    /// with the registry of now. `rAnew` is that one. False with the error: that machine is not there any more, and the file
    /// stays as it is, or it could not be written.
    bool Reset(const CSimMachine& rMachine, CMachineDescription& rAnew, std::string& rsError);

private:
    bool _Load(const std::string& sMachine, CMachineDescription& rMachine, std::string& rsError) const;

    std::string m_sName;     ///< the file as the user calls it
    std::string m_sMachine;  ///< where Open was to find the machine; empty: the file tells
    CStateFile m_File;
    std::mutex m_Lock;  ///< the two below
    CMachineDescription m_Kept;
    uint64_t m_ullChanges = 0;  ///< the machine's count when it was last looked at
};

}  // namespace vxtsim
