// What stands behind the simulated kernel driver: one PC, and real memory mapped into its clients.
#pragma once

#include <chrono>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <span>
#include <string>

#include "drive_request.h"
#include "plugged_devices.h"
#include "sim/driver_server.h"
#include "sim/machine_state.h"
#include "sim/wmi.h"

namespace vxtdriver {

/// Who sent a request.
struct CClient {
    uint32_t uProcess, uThread;
    const void* pFile;  ///< the opened device; what it mapped goes when it is closed
};

/// Maps sections into clients, so that a client reads and writes "device registers" without a request. As on a real PC,
/// everyone who maps the same registers sees the same memory.
class CClientMappings final : public vxtsim::CMappingProvider {
public:
    CClientMappings();
    ~CClientMappings() override;

    /// The client of the requests that follow.
    void SetClient(const CClient& rClient) { m_Client = rClient; }
    uint64_t Map(uint64_t ullPhysical, uint32_t uSize, uint32_t*& rpBacking, uint64_t& rullHandle) override;
    void Unmap(uint64_t ullHandle) override;
    /// A mapping of that opened device; 0 when it has none.
    uint64_t FindMapping(const void* pFile) const;

private:
    struct CRegisters;
    struct CMapping;
    std::shared_ptr<CRegisters> _FindRegisters(uint64_t ullPhysical, uint32_t uSize) const;

    CClient m_Client{};
    uint64_t m_ullNextHandle = 1;
    std::map<uint64_t, std::unique_ptr<CMapping>> m_Mappings;
};

/// Serves the driver protocol, one request at a time.
class CSimulatedPc {
public:
    /// Null: nothing is kept of it.
    CSimulatedPc(vxtsim::CMachineDescription Description, std::unique_ptr<vxtsim::CMachineState> pState);

    vxtsim::CControlReply Control(const CClient& rClient, uint32_t uCode, std::span<const uint8_t> In,
                                  std::span<uint8_t> Out);
    /// The machine's devices, drives among them, whether they are there or not.
    const std::vector<vxtsim::CPluggedDevice>& Devices() const { return m_Devices; }
    /// A request to a drive, by its place among the devices. `ruReturned` becomes the number of bytes in the output.
    EDriveStatus ControlDrive(size_t uDevice, const CClient& rClient, uint32_t uCode, std::span<const uint8_t> In,
                              std::span<uint8_t> Out, uint32_t& ruReturned);
    /// Gives back what the opened device still has mapped: its process may have been killed.
    void Close(const void* pFile);

private:
    /// From one power-on to the next.
    struct CRunning {
        explicit CRunning(vxtsim::CMachineDescription Description) : Machine(std::move(Description)) {}
        vxtsim::CSimMachine Machine;
        vxtsim::CDriverServer Server{Machine};
        vxtsim::CSimWmi Wmi{Machine};
        CPluggedDevices Devices{Machine.Description().Devices};
    };

    vxtsim::CControlReply _Serve(const CClient& rClient, uint32_t uCode, std::span<const uint8_t> In,
                                 std::span<uint8_t> Out);
    /// The management server's requests, see firmware_call.h.
    vxtsim::CControlReply _RunFirmware(const void* pFile, std::span<const uint8_t> In, std::span<uint8_t> Out);
    vxtsim::CControlReply _TakeAnswer(const void* pFile, std::span<uint8_t> Out);
    /// The end-to-end library's requests, see silicon_call.h. Whoever hears of a hang resets the PC.
    vxtsim::CControlReply _AskSilicon(uint32_t uThread, std::span<const uint8_t> In, std::span<uint8_t> Out);
    vxtsim::CSimMachine& _Machine() { return m_pRunning->Machine; }
    /// What happens to the machine before a request is served, and after.
    void _Begin(const CClient& rClient);
    void _End();
    void _SwitchOn(vxtsim::CMachineDescription Description);
    void _Reset();

    /// A pause since the last request is time in which fans and temperatures live; anything up to 100 ms is only how long
    /// programs run, and at most a minute counts.
    void _LetPausePass();

    const std::vector<vxtsim::CPluggedDevice> m_Devices;
    std::mutex m_Lock;
    CClientMappings m_Mappings;  // outlives the machine, which uses it
    std::unique_ptr<CRunning> m_pRunning;
    std::map<const void*, std::vector<uint8_t>> m_Answers;  ///< of the firmware, by opened device
    std::unique_ptr<vxtsim::CMachineState> m_pState;
    std::string m_sStateError;
    std::chrono::steady_clock::time_point m_LastRequest = std::chrono::steady_clock::now();  ///< its end
};

/// The PC that the files beside the loaded driver file describe; they have its name and another extension.
/// .machine: the machine file; without it the default machine.
/// .keep: the PC's state is kept. Its first line is the path of the state file, the second the name or path of the
/// machine, empty when the state tells.
/// Null when they cannot be used: g_LeaveError has said why.
std::unique_ptr<CSimulatedPc> g_MakePcBesideDriver();

/// A driver has no screen and its status is one number: leaves the text beside it, in a file with the extension .error.
void g_LeaveError(const std::string& sError);

}  // namespace vxtdriver
