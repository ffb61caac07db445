// A test on a simulated PC: the machine, the system it runs, the traffic to the driver and the log.
#pragma once

#include <gtest/gtest.h>

#include <map>
#include <string>
#include <vector>

#include "platform/simulated/simulated_system.h"

namespace vxttest {

using Lines = std::vector<std::string>;

/// Runs in a folder of its own (kept in memory where the system has such a place) and reads the real log files there.
class CLogCapture {
public:
    CLogCapture();
    ~CLogCapture();

    /// Everything logged since the last call, one line each as "LEVEL TEXT", line numbers replaced by '#'.
    Lines Take();
    /// Level 1 lines only, without the level.
    Lines TakeErrors();
    /// Removes the files, while the log is closed: what is taken next is read from new ones.
    void Forget();

private:
    std::string m_sOldFolder, m_sFolder;
    std::map<std::string, std::string> m_Read;  ///< what each file held the last time
};

/// "LOG_PROCESS_ERROR(EXPRESSION) at line # in FUNCTION", as TakeErrors gives it.
std::string g_ProcessError(const std::string& sExpression, const std::string& sFunction);
std::string g_CheckError(const std::string& sExpression, const std::string& sFunction);
std::string g_ComError(const std::string& sExpression, const std::string& sFunction);

/// Switches a machine on before each test and lets everything go after it.
class CSimulatedPc : public ::testing::Test {
public:
    static constexpr const char* kDefaultMachine = "family10h-ddr3";

    CSimulatedPc() { Start(kDefaultMachine); }
    ~CSimulatedPc() override;

    /// Switches another machine on instead. `Change` may edit its description first.
    void Start(const std::string& sMachine, const std::function<void(vxtsim::CMachineDescription&)>& Change = {});
    void Start(vxtsim::CMachineDescription Description);
    /// The description of an embedded machine.
    static vxtsim::CMachineDescription Describe(const std::string& sMachine);

    vxtsim::CSimMachine& Machine() { return vxt::platform::simulated::g_GetMachine(); }
    vxt::platform::simulated::CSimulatedSystem& System() { return vxt::platform::simulated::g_GetSystem(); }

    /// Starts the driver handler, which everything that touches hardware needs.
    bool StartDriver();

    /// Requests and system calls since the last call.
    Lines TakeTrace();
    /// The requests among them.
    Lines TakeRequests();
    size_t TraceSize() const { return m_Trace.size(); }

    CLogCapture m_Log;

private:
    void _LetGo();

    Lines m_Trace;
};

}  // namespace vxttest
