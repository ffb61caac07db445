// What stands behind the simulated kernel driver: one PC, and real memory mapped into its clients.
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <span>
#include <string>

#include "sim/driver_server.h"

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
    explicit CSimulatedPc(vxtsim::CMachineDescription Description);

    vxtsim::CControlReply Control(const CClient& rClient, uint32_t uCode, std::span<const uint8_t> In,
                                  std::span<uint8_t> Out);
    /// Gives back what the opened device still has mapped: its process may have been killed.
    void Close(const void* pFile);

private:
    std::mutex m_Lock;
    CClientMappings m_Mappings;  // outlives the machine, which uses it
    vxtsim::CSimMachine m_Machine;
    vxtsim::CDriverServer m_Server{m_Machine};
};

/// The machine file beside the loaded driver file (same name, extension .machine), else the default machine. What is wrong
/// with it is left beside it too, in a file with the extension .error.
bool g_LoadMachineBesideDriver(vxtsim::CMachineDescription& rDescription, std::string& rsError);

}  // namespace vxtdriver
