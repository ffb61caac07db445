// The south bridge: monitor, fan control, watchdog timer and clock calibration.
#pragma once

#include <vxtapi/south_bridge.h>

#include "devices/chipset/sensor_series.h"
#include "devices/framework/device_base.h"
#include "firmware/cmos_items.h"
#include "hw/pci_function.h"

namespace vxt {

/// What tells one chip from another.
struct CSouthBridgeRules {
    const char* pszClass;
    CDeviceIdentity Identity;
    CSensorSeries Fans, Temperatures, Voltages;
};

/// A south bridge without any operation of its own: every reading is kNoReading, every control false.
class CSouthBridge : public CDeviceBase<vxtapi::CSouthBridge> {
public:
    const wchar_t* GetModel() override { return m_pszModel; }
    const wchar_t* GetDescription() override { return m_pszModel; }

    bool PreparePowerManagement() override { return false; }
    bool IsCTBSupported() override { return false; }
    bool GetCTBState() override { return false; }
    bool SetCTBState(bool) override { return false; }
    uint32_t GetFanControlStatus(int32_t) override { return 0; }
    uint32_t GetTemperatureControlStatus(int32_t) override { return 0; }
    uint32_t GetVoltageControlStatus(int32_t) override { return 0; }
    double GetCurrentFanSpeed(int32_t) override { return kNoReading; }
    bool SetCurrentFanSpeed(int32_t, uint32_t) override { return false; }
    double GetCurrentTemperature(int32_t) override { return kNoReading; }
    double GetCurrentVoltage(int32_t) override { return kNoReading; }
    double GetTemperatureThreshold(int32_t, int32_t) override { return kNoReading; }
    bool EnableWatchDogTimer(bool) override { return false; }
    bool TriggerWatchDogTimer(bool) override { return false; }
    bool GetCurrentFanSpeedPercentage(int32_t, uint32_t*) override { return false; }
    bool SaveFanControl(int32_t, uint32_t*) override { return false; }
    bool RestoreFanControl(int32_t, uint32_t) override { return false; }

protected:
    using CDeviceBase::CDeviceBase;
    ~CSouthBridge() = default;

    const wchar_t* m_pszModel = L"QOR South Bridge Chipset";
};

/// A chip that answers by its rules. Takes no lock: the register pairs are the callers' to keep together.
class CMonitoringSouthBridge : public CSouthBridge {
public:
    bool PreparePowerManagement() override;
    double GetCurrentFanSpeed(int32_t nIndex) override;
    double GetCurrentTemperature(int32_t nIndex) override;
    double GetCurrentVoltage(int32_t nIndex) override;

protected:
    CMonitoringSouthBridge(CDriverHandler& rDriver, const CSouthBridgeRules& rRules);
    ~CMonitoringSouthBridge() = default;

    const char* LogClass() const { return m_rRules.pszClass; }

    CDriverHandler& m_rDriver;
    CPciFunction m_Function;  ///< by which it was found
    CPortPair m_Monitor, m_PowerManagement;

private:
    double _Read(const CSensorSeries& rSeries, int32_t nIndex, const char* pszOperation = __builtin_FUNCTION()) const;

    const CSouthBridgeRules& m_rRules;
};

class CSQ3 final : public CMonitoringSouthBridge {
public:
    explicit CSQ3(CDriverHandler& rDriver);
    bool Init(uint32_t uIndex) override;
};

/// Also its variant SQ4E.
class CSQ4 final : public CMonitoringSouthBridge {
public:
    CSQ4(CDriverHandler& rDriver, CCMOSItemList& rItems);
    bool Init(uint32_t uIndex) override;
    bool IsCTBSupported() override;
    bool GetCTBState() override;
    bool SetCTBState(bool bEnable) override;
    uint32_t GetFanControlStatus(int32_t nIndex) override;
    uint32_t GetTemperatureControlStatus(int32_t nIndex) override;
    uint32_t GetVoltageControlStatus(int32_t nIndex) override;
    bool SetCurrentFanSpeed(int32_t nIndex, uint32_t uPercent) override;
    double GetTemperatureThreshold(int32_t nIndex, int32_t nWhich) override;
    bool EnableWatchDogTimer(bool bEnable) override;
    bool TriggerWatchDogTimer(bool bRun) override;
    bool GetCurrentFanSpeedPercentage(int32_t nIndex, uint32_t* puPercent) override;
    bool SaveFanControl(int32_t nIndex, uint32_t* puState) override;
    bool RestoreFanControl(int32_t nIndex, uint32_t uState) override;

private:
    // Steps of Init and EnableWatchDogTimer; false: a register could not be reached.
    bool _ReadStatus();
    bool _AverageTemperature();
    bool _ReadWatchdogBase();

    CCMOSItemList& m_rItems;
    const wchar_t* m_pszSataMode = L"";  ///< of the function by which it was found
    uint8_t m_ucFanStatus = 0, m_ucTemperatureStatus = 0;
    uint16_t m_usVoltageStatus = 0;
    uint32_t m_uAverageTemperature = 0;  ///< raw, when the device was made ready
    uint32_t m_ulWDTBaseAddress = 0;     ///< physical; 0: not known
};

}  // namespace vxt
