// The simulated PC: processors, PCI, memory, ports and SMBus of one machine description, and virtual time.
#pragma once

#include <atomic>
#include <memory>
#include <mutex>
#include <span>

#include "machine_file.h"

namespace vxtsim {

class CSimMachine;

/// Status of a process whose PC has hung: what a shell shows of one that was killed.
inline constexpr int kHungStatus = 137;

/// Behaviour that a dump cannot carry (transitions, done bits, timers). A model is attached by what the machine file
/// declares and is asked before the plain dump answers. Each access is answered by the first model that returns true.
class CSimModel {
public:
    virtual ~CSimModel() = default;
    virtual bool ReadMsr(uint32_t /*uCore*/, uint32_t /*uIndex*/, uint64_t& /*rullValue*/) { return false; }
    /// Read-only registers never get here: see CSimMachine::SetMsrReadOnly.
    virtual bool WriteMsr(uint32_t /*uCore*/, uint32_t /*uIndex*/, uint64_t /*ullValue*/) { return false; }
    /// The access as it comes; when nobody answers one of 2 or 4 bytes, its bytes are asked for one by one.
    virtual bool ReadPort(uint16_t /*usPort*/, uint32_t /*uWidth*/, uint32_t& /*ruValue*/) { return false; }
    virtual bool WritePort(uint16_t /*usPort*/, uint32_t /*uWidth*/, uint32_t /*uValue*/) { return false; }
    /// One aligned dword of configuration space.
    virtual bool ReadPci(CPciAddress, uint32_t /*uOffset*/, uint32_t& /*ruValue*/) { return false; }
    virtual bool WritePci(CPciAddress, uint32_t /*uOffset*/, uint32_t /*uValue*/) { return false; }
    /// These bytes of described memory have been written.
    virtual void WroteMemory(uint64_t /*ullAddress*/, size_t /*uSize*/) {}
    /// Called whenever virtual time has moved.
    virtual void Tick(uint64_t /*ullNanoseconds*/) {}
    /// Called when the PC was left alone for so long, see CSimMachine::Rest.
    virtual void Rest(uint64_t /*ullNanoseconds*/) {}
    /// Bits that the core's arithmetic gets wrong just now; 0: none.
    virtual uint64_t Miscompute(uint32_t /*uCore*/) { return 0; }
    /// Puts what the model keeps beside the machine's own registers into the machine's description, as it will be when
    /// everything under way has ended. What changes that calls CSimMachine::Touch.
    virtual void Describe(CMachineDescription& /*rDescription*/) const {}
};

/// Where the memory behind "map physical memory" lives: native runs hand out made-up addresses that only ReadMapped and
/// WriteMapped understand, the simulated driver under Windows maps real memory into the client. Real memory is filled
/// when it is mapped; of what follows, only the local APIC's timer is kept in step, whenever virtual time moves.
class CMappingProvider {
public:
    virtual ~CMappingProvider() = default;
    /// Returns the address for the client (0: refused) and, through `rpBacking`, the memory that the machine updates.
    virtual uint64_t Map(uint64_t ullPhysical, uint32_t uSize, uint32_t*& rpBacking, uint64_t& rullHandle) = 0;
    virtual void Unmap(uint64_t ullHandle) = 0;
};

/// One running PC. Any thread may call; calls are serialised. Spells its own register numbers: sharing the library's
/// would share its mistakes.
class CSimMachine {
public:
    explicit CSimMachine(CMachineDescription Description);
    ~CSimMachine();
    CSimMachine(const CSimMachine&) = delete;

    const CMachineDescription& Description() const { return m_Description; }
    uint32_t ProcessorCount() const { return m_Description.uCores; }
    /// Unknown leaves answer zero, as the hardware does.
    CCpuidResult Cpuid(uint32_t uCore, uint32_t uLeaf, uint32_t uSubleaf = 0) const;

    // --- what the driver reaches; false is an access the hardware refuses
    bool ReadMsr(uint32_t uCore, uint32_t uIndex, uint64_t& rullValue);  ///< false: unknown MSR (general protection)
    bool WriteMsr(uint32_t uCore, uint32_t uIndex, uint64_t ullValue);
    uint32_t ReadPort(uint16_t usPort, uint32_t uWidth);  ///< unclaimed ports read all ones
    void WritePort(uint16_t usPort, uint32_t uWidth, uint32_t uValue);
    /// Absent functions read all ones and ignore writes. Extended offsets (0x100 and above) need a 4096-byte function.
    void ReadPci(CPciAddress Address, uint32_t uOffset, std::span<uint8_t> Data);
    void WritePci(CPciAddress Address, uint32_t uOffset, std::span<const uint8_t> Data);
    /// Physical memory: described regions, the ECAM window of the MCFG table, the local APIC. The rest reads all ones.
    void ReadMemory(uint64_t ullAddress, std::span<uint8_t> Data);
    void WriteMemory(uint64_t ullAddress, std::span<const uint8_t> Data);
    uint64_t Map(uint64_t ullPhysical, uint32_t uSize, uint64_t& rullHandle);
    bool Unmap(uint64_t ullHandle);

    // --- mapped registers of a native client; an address that is not mapped ends the program, as it would a real one
    uint32_t ReadMapped(uint64_t ullAddress);
    void WriteMapped(uint64_t ullAddress, uint32_t uValue);
    size_t MappingCount() const;
    void SetMappingProvider(CMappingProvider* pProvider);

    /// Switches it off and on: everything is as the description says, virtual time starts again, plugged models and
    /// mappings are gone. Much faster than a new machine.
    void PowerCycle();

    // --- the running PC as a description
    /// What a machine file of this PC would say now: registers, memory, firmware, clock. Transitions under way have ended
    /// there. Time, timers and mappings are no part of it: a PC that is made of it starts those anew.
    CMachineDescription Describe() const;
    /// Goes up whenever Describe may tell something else; an access that changes nothing leaves it alone where that can be
    /// seen cheaply.
    uint64_t Changes() const { return m_ullChanges; }
    void Touch() { ++m_ullChanges; }
    /// The firmware is now like this.
    void SetFirmware(const CFirmwareDescription& rFirmware);

    // --- the registry, which lies on a disk: a power cycle changes nothing there. Names are "key\\path!value".
    bool HasRegistryKey(const std::string& sKeyAndMark) const;  ///< any value's name begins so
    /// The text of its line in a machine file; nothing: there is no such value.
    std::optional<std::string> RegistryValue(const std::string& sName) const;
    /// Nothing takes the value away.
    void SetRegistryValue(const std::string& sName, std::optional<std::string> oText);

    // --- virtual time
    uint64_t Now() const;  ///< ns since power-on
    void Advance(uint64_t ullNanoseconds);
    /// Nobody has asked the PC for anything for so long: what is slow (fans, temperatures, the watchdog) has gone on. What
    /// programs measure time by stands still, so that a program which the system holds up amid a measurement sees none of it.
    void Rest(uint64_t ullNanoseconds);
    /// ns since power-on with those for which it was left alone: by these devices come and go.
    uint64_t Uptime() const;

    // --- the clock that cores and APIC timers are derived from; the description tells it at power-on
    double ReferenceMHz() const;
    /// From now on. A clock beyond 1 to 1000 MHz is none that a board can make: the old one stays.
    void SetReferenceClock(double dMHz);

    // --- what the cores do, as a share of time from 0 to 1; the description tells it at power-on and Describe forgets it
    double Load(uint32_t uCore) const;  ///< now; 0 of a core that is not there
    void SetLoad(uint32_t uCore, double dLoad);
    /// Since power-on, where SetLoad did not change it.
    double AverageLoad(uint32_t uCore) const;

    // --- cores that run faster than they are good for
    /// Bits that the core's arithmetic gets wrong just now; 0: none, or no such core. Whoever computes asks every few
    /// milliseconds.
    uint64_t Miscompute(uint32_t uCore);
    /// Times that passing time brought an error due, whether a computation has met it by now or not.
    uint64_t ErrorsDue() const { return m_ullErrorsDue; }
    void BringErrorDue() { ++m_ullErrorsDue; }
    /// A core's clock has brought everything to a stop; only a power cycle helps. The machine itself goes on answering: who
    /// runs it looks here whenever time has passed.
    bool HasHung() const { return m_bHung; }
    /// In words; empty as long as it has not hung.
    std::string HangReason() const;
    void Hang(const std::string& sReason);  ///< the first reason counts

    // --- the workbench: plain state behind the models, for tests and tools
    uint64_t& Msr(uint32_t uCore, uint32_t uIndex);  ///< creates it when absent; the core must exist
    bool HasMsr(uint32_t uCore, uint32_t uIndex) const;
    void RemoveMsr(uint32_t uCore, uint32_t uIndex);
    void SetMsrReadOnly(uint32_t uIndex);  ///< the driver's writes are refused on every core
    uint32_t PciDword(CPciAddress Address, uint32_t uOffset) const;
    void SetPciDword(CPciAddress Address, uint32_t uOffset, uint32_t uValue);
    void RemovePci(CPciAddress Address);
    std::vector<uint8_t>& Memory(uint64_t ullAddress);  ///< the described region that begins there; created when absent
    /// Where the first ACPI table of this signature lies in memory ("RSD PTR " is the root pointer); 0 when there is
    /// none.
    uint64_t AcpiAddress(std::string_view sSignature) const;
    /// Attaches a model; the last one attached is asked first. Returns it.
    template <class TModel, class... TArguments> TModel& Plug(TArguments&&... Arguments) {
        auto pModel = std::make_unique<TModel>(*this, std::forward<TArguments>(Arguments)...);
        TModel& rModel = *pModel;
        m_Models.insert(m_Models.begin(), std::move(pModel));
        return rModel;
    }
    /// The attached model of this class; null when there is none.
    template <class TModel> TModel* Model() const {
        for (const auto& pModel : m_Models)
            if (const auto pFound = dynamic_cast<TModel*>(pModel.get())) return pFound;
        return nullptr;
    }

private:
    struct CState;
    double _FullLoad(uint32_t uCore) const;
    double _SwingAngle() const;  ///< since power-on; loads swing
    template <class TValue> void _Store(TValue& rPlace, TValue Value) {
        if (rPlace != Value) Touch();
        rPlace = Value;
    }

    CMachineDescription m_Description;
    std::unique_ptr<CState> m_pState;
    std::unique_ptr<const CState> m_pAtPowerOn;  ///< to go back to; from the first power cycle on
    std::vector<std::unique_ptr<CSimModel>> m_Models;
    mutable std::recursive_mutex m_Lock;
    uint64_t m_ullNow = 0;
    std::atomic<uint64_t> m_ullChanges = 0, m_ullErrorsDue = 0;
    std::atomic<bool> m_bHung = false;
    std::string m_sHangReason;
    double m_dReferenceMHz;
};

}  // namespace vxtsim
