// What the library adds to the driver's requests: counts per start-up step, CPU time per register access, memory.
#include <benchmark/benchmark.h>
#include <unistd.h>
#include <vxtapi/vxtapi.h>

#include "bench_machine.h"

namespace {

using namespace vxtbench;

uint64_t Requests() { return g_GetSystem().m_Server.RequestCount(); }

double ResidentKiB() {
    long nTotal = 0, nResident = 0;
    if (std::FILE* const pFile = std::fopen("/proc/self/statm", "r")) {
        if (std::fscanf(pFile, "%ld %ld", &nTotal, &nResident) != 2) nResident = 0;
        std::fclose(pFile);
    }
    return static_cast<double>(nResident) * static_cast<double>(sysconf(_SC_PAGESIZE)) / 1024;
}

/// Driver requests of each step of a whole start, and the memory it takes.
void StartUp(benchmark::State& rState) {
    uint64_t ullDriver = 0, ullTables = 0, ullAll = 0;
    double dKiB = 0;
    for (auto _ : rState) {
        rState.PauseTiming();
        SwitchOn();
        vxt::g_GetDriverHandler().Init(vxt::g_GetACPITable());
        ullDriver = Requests();
        vxt::g_GetACPITable().Clear();
        vxt::g_GetACPITable().Init();
        ullTables = Requests() - ullDriver;
        SwitchOn();
        const double dBefore = ResidentKiB();
        rState.ResumeTiming();
        benchmark::DoNotOptimize(InitVXTAPI(false));
        rState.PauseTiming();
        dKiB = std::max(dKiB, ResidentKiB() - dBefore);
        ullAll = Requests();
        UnInitVXTAPI();
        rState.ResumeTiming();
    }
    rState.counters["requests: tables"] = static_cast<double>(ullTables);
    rState.counters["requests: driver handler"] = static_cast<double>(ullDriver);
    rState.counters["requests: whole start"] = static_cast<double>(ullAll);
    rState.counters["KiB: grown by the start"] = dKiB;
    rState.counters["KiB: process"] = ResidentKiB();
}
BENCHMARK(StartUp)->Unit(benchmark::kMicrosecond)->Iterations(20);

/// Requests that listing all PCI functions takes: through the enumeration block, and function by function.
void PciList(benchmark::State& rState) {
    SwitchOn();
    if (!rState.range(0)) {
        vxtsim::CMachineDescription Description = g_GetMachine().Description();
        std::erase_if(Description.Acpi, [](const auto& rTable) { return rTable.first == "MCFG"; });
        g_Restart(std::move(Description));
    }
    vxt::g_GetDriverHandler().Init(vxt::g_GetACPITable());
    uint64_t ullRequests = 0;
    for (auto _ : rState) {
        const uint64_t ullBefore = Requests();
        benchmark::DoNotOptimize(vxt::g_GetDriverHandler().InitPCIHeader());
        ullRequests = Requests() - ullBefore;
    }
    rState.counters["requests"] = static_cast<double>(ullRequests);
}
BENCHMARK(PciList)->ArgName("ecam")->Arg(1)->Arg(0)->Unit(benchmark::kMicrosecond);

// One register access through the driver handler, and the bare device-control call that it costs.
constexpr uint32_t kStatusMsr = 0xC0010071;

void RegisterAccess(benchmark::State& rState) {
    SwitchOn();
    vxt::CDriverHandler& rHandler = vxt::g_GetDriverHandler();
    rHandler.Init(vxt::g_GetACPITable());
    uint32_t uLow = 0, uHigh = 0;
    for (auto _ : rState) benchmark::DoNotOptimize(rHandler.RDMSR(kStatusMsr, uLow, uHigh));
}
BENCHMARK(RegisterAccess);

void BareControlCall(benchmark::State& rState) {
    SwitchOn();
    vxt::g_GetDriverHandler().Init(vxt::g_GetACPITable());
    const vxt::platform::CDriverChannel hDriver = vxt::platform::OpenDriver(vxt::protocol::kDeviceName);
    vxt::protocol::CMsrBlock Block{kStatusMsr, 0, 0};
    uint32_t uReturned = 0;
    for (auto _ : rState)
        benchmark::DoNotOptimize(vxt::platform::ControlDriver(hDriver, vxt::protocol::kReadMsr, &Block, sizeof(Block),
                                                              &Block, sizeof(Block), uReturned));
}
BENCHMARK(BareControlCall);

void PciAccess(benchmark::State& rState) {
    SwitchOn();
    vxt::CDriverHandler& rHandler = vxt::g_GetDriverHandler();
    rHandler.Init(vxt::g_GetACPITable());
    uint32_t uValue = 0;
    for (auto _ : rState) benchmark::DoNotOptimize(rHandler.GetPCIConfig(0, 24, 3, 0xD4, &uValue, sizeof(uValue)));
}
BENCHMARK(PciAccess);

}  // namespace
