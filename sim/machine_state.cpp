#include "machine_state.h"

#include "machine.h"

namespace vxtsim {

bool CMachineState::_Load(const std::string& sMachine, CMachineDescription& rMachine, std::string& rsError) const {
    if (m_File.IsEmpty()) {
        const std::string sName = sMachine.empty() ? kDefaultMachine : sMachine;
        const bool bRetCode = g_LoadMachine(sName, rMachine, rsError);
        rMachine.sStateOf = sName, rMachine.ullStateDigest = 0;
        return bRetCode;
    }
    const auto Fail = [&](const std::string& sText) {
        rsError = m_sName + ": " + sText;
        return false;
    };
    if (!g_LoadMachineFile(m_File.Path(), m_sName, rMachine, rsError)) return false;
    if (rMachine.sStateOf.empty()) return Fail("a machine file and no state of a PC: it is not written to");
    if (sMachine.empty()) return true;
    CMachineDescription Named;
    if (!g_LoadMachine(sMachine, Named, rsError)) return false;
    const uint64_t ullMade = rMachine.ullStateDigest ? rMachine.ullStateDigest : g_Digest(rMachine);
    if (g_Digest(Named) == ullMade) return true;
    return Fail(sMachine != rMachine.sStateOf ? "the state of " + rMachine.sStateOf + ", not of " + sMachine
                                              : "the state of " + sMachine + " before that file changed");
}

bool CMachineState::Open(const std::string& sPath, const std::string& sMachine, CMachineDescription& rMachine,
                         std::string& rsError) {
    m_sName = sPath, m_sMachine = sMachine;
    std::string sReason;
    if (!m_File.Open(sPath, sReason)) {
        rsError = m_sName + ": " + sReason;
        return false;
    }
    if (!_Load(sMachine, rMachine, rsError)) return false;
    const bool bNew = rMachine.ullStateDigest == 0;
    if (bNew) rMachine.ullStateDigest = g_Digest(rMachine);
    m_Kept = CSimMachine(rMachine).Describe();  // as it will be told again, in the one form that can be compared
    const std::string sText = g_FormatMachine(m_Kept);
    if (bNew ? m_File.Replace(sText, sReason) : m_File.TryReplace(sText, sReason)) return true;
    rsError = m_sName + ": the PC's state cannot be kept there: " + sReason;
    return false;
}

bool CMachineState::Reset(const CSimMachine& rMachine, CMachineDescription& rAnew, std::string& rsError) {
    const std::lock_guard Lock(m_Lock);
    CMachineDescription Now = rMachine.Describe(), Made;
    std::string sReason;
    const std::string& rsMachine = m_sMachine.empty() ? Now.sStateOf : m_sMachine;
    if (!g_LoadMachine(rsMachine, Made, sReason) || g_Digest(Made) != Now.ullStateDigest) {
        rsError = m_sName + ": stays as it is: " + (sReason.empty() ? rsMachine + " has changed" : sReason);
        return false;
    }
    Made.sStateOf = Now.sStateOf, Made.ullStateDigest = Now.ullStateDigest, Made.Registry = std::move(Now.Registry);
    rAnew = std::move(Made);
    m_Kept = CSimMachine(rAnew).Describe();
    m_ullChanges = 0;  // of the next machine
    if (m_File.Replace(g_FormatMachine(m_Kept), sReason)) return true;
    rsError = m_sName + ": the PC's state could not be kept: " + sReason;
    return false;
}

bool CMachineState::Keep(const CSimMachine& rMachine, std::string& rsError) {
    const std::lock_guard Lock(m_Lock);
    const uint64_t ullChanges = rMachine.Changes();
    if (ullChanges == m_ullChanges || rMachine.HasHung()) return true;
    CMachineDescription Now = rMachine.Describe();
    std::string sReason;
    if (Now != m_Kept && !m_File.Replace(g_FormatMachine(Now), sReason)) {
        rsError = m_sName + ": the PC's state could not be kept: " + sReason;
        return false;
    }
    m_Kept = std::move(Now);
    m_ullChanges = ullChanges;
    return true;
}

}  // namespace vxtsim
