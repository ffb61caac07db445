// What one reading through the firmware takes: calls of the operating system, and CPU time beside that of the method call
// alone. On a real PC each call is a round trip to another process, so their number is what counts.
#include <benchmark/benchmark.h>

#include "bench_machine.h"
#include "devices/chipset/clock_generator.h"
#include "firmware/cmos_items.h"
#include "tests/support/devices.h"

namespace {

using namespace vxtbench;

struct CBench {
    CBench() {
        SwitchOn();
        vxt::g_GetFirmwareWmi().Connect(vxt::kFirmwareNamespace);
        vxt::g_GetQORBIOSHandler().Connect(vxt::kFirmwareNamespace);
        vxt::g_GetQORBIOSHandler().Init();
        m_ClockGen.Init(0);
    }
    ~CBench() {
        vxt::g_GetFirmwareWmi().Disconnect();
        vxt::g_GetQORBIOSHandler().Disconnect();
    }

    vxt::CDefaultClockGen m_ClockGen = g_Make<vxt::CDefaultClockGen>();
    vxt::CCMOSItemList m_Items{vxt::g_GetQORBIOS()};
};

using COperation = bool (*)(CBench& rBench);

bool ReadClock(CBench& rBench) { return rBench.m_ClockGen.GetExternalClock() > 0; }
bool SetClock(CBench& rBench) { return rBench.m_ClockGen.SetExternalClock(200.0); }
bool StartClockGen(CBench& rBench) { return rBench.m_ClockGen.Init(0); }
bool ReadItem(CBench& rBench) { return rBench.m_Items.GetItemValue(0) >= 0; }
bool ReadItemList(CBench& rBench) { return rBench.m_Items.Init(); }
/// The method alone, as the handler runs it.
bool CallMethod(CBench&) {
    vxt::platform::WmiValue Value;
    return vxt::g_GetFirmwareWmi().CallMethod(L"QOR_ACPI", L"QueryVersion", nullptr, nullptr, L"Version", &Value);
}

void Firmware(benchmark::State& rState, COperation pOperation) {
    CBench Bench;
    std::vector<std::string> Calls;
    g_GetSystem().m_pTrace = &Calls;
    if (!pOperation(Bench)) rState.SkipWithError("the operation failed");
    g_GetSystem().m_pTrace = nullptr;
    for (auto _ : rState) benchmark::DoNotOptimize(pOperation(Bench));
    rState.counters["system calls"] = static_cast<double>(Calls.size());
    rState.counters["methods"] = static_cast<double>(std::ranges::count(Calls, "ExecuteWmiMethod"));
}

BENCHMARK_CAPTURE(Firmware, CallMethod, CallMethod);
BENCHMARK_CAPTURE(Firmware, ReadClock, ReadClock);
BENCHMARK_CAPTURE(Firmware, SetClock, SetClock);
BENCHMARK_CAPTURE(Firmware, StartClockGen, StartClockGen);
BENCHMARK_CAPTURE(Firmware, ReadItem, ReadItem);
BENCHMARK_CAPTURE(Firmware, ReadItemList, ReadItemList);

}  // namespace
