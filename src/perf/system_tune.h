// The search for the highest stable processor clock.
#pragma once

#include <vxtapi/clock_generator.h>
#include <vxtapi/cpu.h>
#include <vxtapi/device_manager.h>
#include <vxtapi/system_tune.h>

#include <atomic>
#include <vector>

#include "firmware/bios_handler.h"

namespace vxt {

class CConfigParser;

class CSystemTune final : public vxtapi::CSystemTune {
public:
    /// Both must outlive the object. `rDevices`: what is tuned; `rTestCenter`: what it is tested with. `pConfig` answers the
    /// configuration file, which the first use opens.
    CSystemTune(vxtapi::CDeviceManager& rDevices, vxtapi::CTestCenter& rTestCenter, CConfigParser& (*pConfig)())
        : m_rDevices(rDevices), m_rTestCenter(rTestCenter), m_pConfig(pConfig) {}

    const wchar_t* GetName() override { return L"QORSystemTune"; }
    bool StartTune() override { return AutoTune(true, false, false); }
    void Stop() override { m_bStop = true; }
    int32_t GetStatus() override { return m_nStatus; }
    int32_t GetLastTuneStatus() override;
    double GetReferenceClock() override { return m_dReferenceClock; }
    double GetMultiplier() override { return m_dMultiplier; }
    double GetMemoryClock() override { return m_dMemoryClock; }
    bool AutoTune(uint8_t bCPU, uint8_t bHTLink, uint8_t bMemory) override;
    void SetObserver(vxtapi::CTuneObserver* pObserver) override { m_pObserver = pObserver; }
    bool ForgetLastTune() override;

    // The steps of AutoTune.
    bool TuneCPU();
    bool TuneHTLink() { return true; }  // kept: an empty step
    bool TuneMemory();

    /// Sets the clock of GetReferenceClock and tests it; a step of TuneCPU. Whether a test failed: then a lower clock is set
    /// now. A multiplier may have been gained for the clock.
    bool SetFrequencyAndTest(CQORBIOSHandler* pBIOSHandler);
    /// Of every processor; the first that refuses ends it.
    bool SetCPUMultiplier(double dMultiplier);
    /// `bApply`: goes into the controller's record.
    bool ResetMemory(double dMemoryClock, bool bApply);

private:
    static constexpr const char* LogClass() { return "CSystemTune"; }

    bool _SetRunOnceRegistry();
    bool _ClearRunOnceRegistry();

    template <class TDevice> TDevice* _Device(vxtapi::eDeviceType eType, uint32_t uIndex = 0) {
        return static_cast<TDevice*>(m_rDevices.GetDevice(eType, uIndex));
    }
    vxtapi::CCPU* _Processor() { return _Device<vxtapi::CCPU>(vxtapi::kDeviceCpu); }
    vxtapi::CClockGenerator* _ClockGenerator() { return _Device<vxtapi::CClockGenerator>(vxtapi::kDeviceClockGen); }

    // TuneCPU without its end; each is true when the search counts as finished.
    bool _SearchCPU();
    bool _WalkList(CQORBIOSHandler& rHandler, vxtapi::CClockGenerator& rClkGen);
    bool _WalkFinely(CQORBIOSHandler& rHandler, vxtapi::CClockGenerator& rClkGen);
    bool _WalkUp(CQORBIOSHandler& rHandler, double dStep);
    /// Goes up by `dStep` and tests. False: the walk ends here.
    bool _StepUp(CQORBIOSHandler& rHandler, double dStep);

    // SetFrequencyAndTest without its frame.
    enum class EVerdict { kPassed, kFailed, kUnclear };  ///< the last: failed, and nothing is known to go to
    EVerdict _Test(CQORBIOSHandler& rHandler, vxtapi::CClockGenerator& rClkGen);
    /// Sets the clock and starts its test. False: neither, since a stop is wanted or the firmware has refused it.
    bool _Begin(CQORBIOSHandler& rHandler, uint32_t uDuration);
    /// Gives the reference clock's gain up for a step of the multiplier, where it is worth one.
    void _TradeForMultiplier(CQORBIOSHandler& rHandler, vxtapi::CCPU& rCPU, double dMultiplierStep);
    void _StoreClock(vxtapi::CClockGenerator& rClkGen);

    static double _ReadClock(CQORBIOSHandler& rHandler);  ///< MHz; 0 on failure
    /// Sets the clock of GetReferenceClock and reads it back: some firmware takes a value and keeps its clock.
    bool _SetClock(CQORBIOSHandler& rHandler);
    /// Sets a clock that is not tested; GetReferenceClock is what is in force then.
    bool _GoTo(CQORBIOSHandler& rHandler, double dClock);
    /// To the last clock that passed, or that the search began with.
    void _GoBack(CQORBIOSHandler& rHandler) { _GoTo(rHandler, m_dProven); }
    void _Observe(vxtapi::eTuneState eState, const vxtapi::TestError* pError = nullptr);

    vxtapi::CDeviceManager& m_rDevices;
    vxtapi::CTestCenter& m_rTestCenter;
    CConfigParser& (*const m_pConfig)();
    vxtapi::CTuneObserver* m_pObserver = nullptr;
    std::atomic<double> m_dReferenceClock = 0.0, m_dMultiplier = 0.0, m_dMemoryClock = 0.0;
    std::atomic<bool> m_bStop = false;
    std::atomic<int32_t> m_nStatus = vxtapi::kTuneFinished;
    bool m_bMultiplierRaised = false;
    std::atomic<bool> m_bRunning = false;

    // Of the search that runs.
    vxtapi::FirmwareLimits m_Limits{};
    double m_dProven = 0.0;
    bool m_bFailed = false;
    bool m_bMultiplierEnds = false;  ///< the processor took no higher one
    vxtapi::TunePoint m_Point{};
};

CSystemTune& g_GetSystemTune();

}  // namespace vxt
