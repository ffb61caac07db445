// The chipset's north bridge: which one it is, and its end of the HyperTransport link to the processor.
#pragma once

#include <vxtapi/north_bridge.h>

#include <array>

#include "devices/framework/device_base.h"
#include "hw/pci_function.h"

namespace vxt {

/// The first chip of the table that the machine has. Takes no lock.
class CNBQ7 final : public CDeviceBase<vxtapi::CNorthBridge> {
public:
    explicit CNBQ7(CDriverHandler& rDriver);
    bool Init(uint32_t uIndex) override;
    const wchar_t* GetModel() override;
    double GetHTMultiplier() override;
    double GetMaxHTMultiplier() override;
    bool SetHTMultiplier(double dMultiplier) override;

private:
    CPciFunction m_Function;
    std::array<wchar_t, 64> m_szModel{};  ///< empty before Init
};

}  // namespace vxt
