// One look at every sensor of the default machine: port accesses, and CPU time above the bare requests.
#include <benchmark/benchmark.h>

#include "bench_machine.h"
#include "devices/chipset/f71882.h"
#include "devices/chipset/it8716f.h"
#include "devices/chipset/south_bridge.h"
#include "firmware/cmos_items.h"

namespace {

using namespace vxtbench;

/// Readings of a device once each; `uBytes` registers are behind them, two port accesses each.
template <class TDevice, class TReadings>
void Sweep(benchmark::State& rState, TDevice& rDevice, uint64_t ullBytes, TReadings Readings) {
    if (!rDevice.Init(0)) return rState.SkipWithError("this machine has no such chip");
    uint64_t ullRequests = 0;
    for (auto _ : rState) {
        const uint64_t ullBefore = g_GetSystem().m_Server.RequestCount();
        Readings();
        ullRequests = g_GetSystem().m_Server.RequestCount() - ullBefore;
    }
    rState.counters["port accesses"] = static_cast<double>(ullRequests);
    rState.counters["least"] = static_cast<double>(2 * ullBytes);
}

void SouthBridge(benchmark::State& rState) {
    SwitchOn();
    vxt::g_GetDriverHandler().Init(vxt::g_GetACPITable());
    vxt::CSQ4 Bridge(vxt::g_GetDriverHandler(), vxt::g_GetCMOSItemList());
    // Three tachometers, four temperatures and eight voltages of two bytes, three duties.
    Sweep(rState, Bridge, 2 * (3 + 4 + 8) + 3, [&] {
        uint32_t uPercent = 0;
        for (int32_t i = 0; i < 3; ++i) benchmark::DoNotOptimize(Bridge.GetCurrentFanSpeed(i));
        for (int32_t i = 0; i < 3; ++i) benchmark::DoNotOptimize(Bridge.GetCurrentFanSpeedPercentage(i, &uPercent));
        for (int32_t i = 0; i < 4; ++i) benchmark::DoNotOptimize(Bridge.GetCurrentTemperature(i));
        for (int32_t i = 0; i < 8; ++i) benchmark::DoNotOptimize(Bridge.GetCurrentVoltage(i));
    });
}
BENCHMARK(SouthBridge);

void Fintek(benchmark::State& rState) {
    SwitchOn();
    vxt::g_GetDriverHandler().Init(vxt::g_GetACPITable());
    vxt::CF71882 Chip(vxt::g_GetDriverHandler());
    Sweep(rState, Chip, 3 + 3 + 8, [&] {
        uint32_t uPercent = 0;
        for (int32_t i = 0; i < 3; ++i) benchmark::DoNotOptimize(Chip.GetCurrentFanSpeedPercentage(i, &uPercent));
        for (int32_t i = 0; i < 3; ++i) benchmark::DoNotOptimize(Chip.GetCurrentTemperature(i));
        for (int32_t i = 0; i < 8; ++i) benchmark::DoNotOptimize(Chip.GetCurrentVoltage(i));
    });
}
BENCHMARK(Fintek);

void Ite(benchmark::State& rState) {
    SwitchOn("desktop-a");
    vxt::g_GetDriverHandler().Init(vxt::g_GetACPITable());
    vxt::CIT8716F Chip(vxt::g_GetDriverHandler());
    // Three tachometers of two bytes; two bytes for each duty, the first tells whether there is one.
    Sweep(rState, Chip, 2 * 3 + 2 * 3, [&] {
        uint32_t uPercent = 0;
        for (int32_t i = 0; i < 3; ++i) benchmark::DoNotOptimize(Chip.GetCurrentFanSpeed(i));
        for (int32_t i = 0; i < 3; ++i) benchmark::DoNotOptimize(Chip.GetCurrentFanSpeedPercentage(i, &uPercent));
    });
}
BENCHMARK(Ite);

/// The bare requests that a sweep of the bridge consists of.
void BarePortAccesses(benchmark::State& rState) {
    SwitchOn();
    vxt::CDriverHandler& rHandler = vxt::g_GetDriverHandler();
    rHandler.Init(vxt::g_GetACPITable());
    uint8_t ucValue = 0;
    for (auto _ : rState)
        for (int i = 0; i < 33; ++i) {
            benchmark::DoNotOptimize(rHandler.WritePort(0xCD0, uint8_t{0x46}));
            benchmark::DoNotOptimize(rHandler.ReadPort(0xCD1, ucValue));
        }
}
BENCHMARK(BarePortAccesses);

}  // namespace
