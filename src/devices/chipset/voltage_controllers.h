// The voltage (PWM) controllers: every voltage goes through the firmware.
#pragma once

#include <vxtapi/voltage_controller.h>

#include <array>
#include <vector>

#include "devices/framework/device_base.h"
#include "firmware/bios_handler.h"

namespace vxt {

/// Which voltages a class drives.
struct CVoltageRules;

/// A table of voltage functions over a firmware handler, which must outlive the device. Failed checks are logged under the
/// concrete class.
class CPWMController : public CDeviceBase<vxtapi::CVoltageController> {
public:
    bool Init(uint32_t uIndex) override;
    uint32_t GetVoltageCount() override { return static_cast<uint32_t>(m_nVoltageCount); }
    const wchar_t* GetVoltageName(int32_t nIndex) override;
    double GetVoltage(int32_t nIndex) override;
    bool SetVoltage(int32_t nIndex, double dVolts) override;
    bool GetVoltageLimits(int32_t nIndex, vxtapi::FirmwareLimits* pLimits) override;

protected:
    CPWMController(const CVoltageRules& rRules, CQORBIOSHandler& rHandler);
    ~CPWMController() = default;

private:
    struct CFunction {
        uint32_t uID;
        std::array<wchar_t, 64> szName;
        vxtapi::FirmwareLimits Limits;  ///< V, in the order of the firmware's words
    };

    bool _InitFunctionTable();
    const char* LogClass() const;

    const CVoltageRules& m_rRules;
    CQORBIOSHandler& m_rQorBiosHandler;
    int32_t m_nVoltageCount = 0;
    std::vector<CFunction> m_Functions;
};

/// Type 12: every voltage function of the firmware, under the firmware's names.
class CCustomerPWMController final : public CPWMController {
public:
    explicit CCustomerPWMController(CQORBIOSHandler& rHandler);
};

/// Type 11: the voltages that boards have in common, under the names that profiles use.
class CDefaultPWMController final : public CPWMController {
public:
    explicit CDefaultPWMController(CQORBIOSHandler& rHandler);
};

}  // namespace vxt
