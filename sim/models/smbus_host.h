// The south bridge's SMBus host controller and the devices on its bus.
#pragma once

#include "../machine.h"

namespace vxtsim {

/// Byte-data transfers at 100 kHz. A device of the machine file answers its registers; an absent address and a register
/// past the device's image end with a device error. Other protocols than byte data fail.
class CSmbusHost final : public CSimModel {
public:
    CSmbusHost(CSimMachine& rMachine, uint16_t usBase)
        : m_rMachine(rMachine), m_usBase(usBase), m_Devices(rMachine.Description().Smbus) {}

    bool ReadPort(uint16_t usPort, uint32_t uWidth, uint32_t& ruValue) override;
    bool WritePort(uint16_t usPort, uint32_t uWidth, uint32_t uValue) override;

    void Describe(CMachineDescription& rDescription) const override;

    uint16_t Base() const { return m_usBase; }
    /// Registers of the device at a 7-bit address; an empty image is no device.
    std::vector<uint8_t>& Device(uint8_t ucAddress) { return m_Devices[ucAddress]; }

    // What can go wrong on a real bus.
    bool m_bNeverCompletes = false;     ///< a started transfer stays busy
    bool m_bAlwaysBusy = false;         ///< somebody else holds the controller
    bool m_bCollides = false;           ///< every transfer ends with a collision
    uint32_t m_uWrongAddressReads = 0;  ///< so many transfers find another address in the controller afterwards
    uint32_t m_uWrongCommandReads = 0;  ///< likewise the command

    static constexpr uint64_t kTransferNanoseconds = 390'000;  ///< four bytes, start, stop and acknowledges

private:
    enum ERegister : uint16_t { kStatus = 0, kControl = 2, kCommand = 3, kAddress = 4, kData0 = 5, kRegisters = 16 };

    bool _IsWriting() const;
    void _Start();
    void _Settle();
    uint8_t _Transfer();

    CSimMachine& m_rMachine;
    uint16_t m_usBase;
    std::map<uint8_t, std::vector<uint8_t>> m_Devices;
    uint8_t m_aucRegisters[kRegisters] = {};
    bool m_bRunning = false;
    uint64_t m_ullDone = 0;
};

}  // namespace vxtsim
