// A profile of 80 settings: opening, asking for all of it, saving; and applying it: requests, and time above them.
#include <benchmark/benchmark.h>
#include <vxtapi/vxtapi.h>

#include <cstring>
#include <filesystem>
#include <memory>

#include "bench_machine.h"

namespace {

using namespace vxtbench;
using namespace vxtapi;

constexpr const wchar_t* kFile = L"./bench-profile.xml";

struct CCloser {
    void operator()(CProfile* pProfile) const { pProfile->Release(); }
};
using CProfilePointer = std::unique_ptr<CProfile, CCloser>;
CProfilePointer Open() { return CProfilePointer(GetProfileSettings()->OpenProfile(kFile)); }

/// What the machine's memory, cores and link are set to now.
void WriteProfile() {
    const CProfilePointer pProfile = Open();
    pProfile->Clear();
    const auto Record = [&](auto& rRecord, const auto& aFields, CDevice& rDevice) {
        for (const ProfileField& rField : aFields) {
            const auto* const pPlace = reinterpret_cast<const std::byte*>(&rRecord) + rField.uOffset;
            double dValue = static_cast<double>(*pPlace);
            if (!rField.bIsFlag) std::memcpy(&dValue, pPlace, sizeof dValue);
            pProfile->SetValue(rDevice.GetTypeName(), rDevice.GetName(), rField.pszKey, dValue);
        }
    };
    auto& rMemory = *static_cast<CMemoryController*>(GetDeviceManager()->GetDevice(kDeviceMemoryController, 0));
    MemTiming Timing{};
    MemConfig Config{};
    rMemory.GetMemTiming(&Timing), rMemory.GetMemConfig(&Config);
    Record(Timing, kProfileTimings, rMemory), Record(Config, kProfileConfiguration, rMemory);
    auto& rCpu = *static_cast<CCPU*>(GetDeviceManager()->GetDevice(kDeviceCpu, 0));
    for (const wchar_t* const pszKey : kProfileMultipliers)
        pProfile->SetValue(kProfileCpuSection, rCpu.GetName(), pszKey, rCpu.GetCurrentMultiplier());
    pProfile->SetValue(kProfileCpuSection, rCpu.GetName(), kProfileCpuVoltage, rCpu.GetCurrentVoltage());
    pProfile->Save();
}

void Start() {
    static const bool s_bStarted = [] {
        SwitchOn();
        const bool bStarted = InitVXTAPI(false);
        WriteProfile();
        return bStarted;
    }();
    benchmark::DoNotOptimize(s_bStarted);
}

void OpenAndAsk(benchmark::State& rState) {
    Start();
    uint32_t uEntries = 0;
    for (auto _ : rState) {
        const CProfilePointer pProfile = Open();
        uEntries = pProfile->GetEntryCount();
        ProfileEntry Entry{};
        for (uint32_t i = 0; i < uEntries; ++i) {
            double dValue = 0;
            pProfile->GetEntry(i, &Entry);
            benchmark::DoNotOptimize(pProfile->GetValue(Entry.pszSection, Entry.pszElement, Entry.pszKey, &dValue));
        }
    }
    rState.counters["settings"] = uEntries;
}
BENCHMARK(OpenAndAsk)->Unit(benchmark::kMicrosecond);

void Save(benchmark::State& rState) {
    Start();
    const CProfilePointer pProfile = Open();
    for (auto _ : rState) benchmark::DoNotOptimize(pProfile->Save());
    rState.counters["bytes"] = static_cast<double>(std::filesystem::file_size("bench-profile.xml"));
}
BENCHMARK(Save)->Unit(benchmark::kMicrosecond);

void Apply(benchmark::State& rState) {
    Start();
    uint64_t ullRequests = 0;
    for (auto _ : rState) {
        const uint64_t ullBefore = g_GetSystem().m_Server.RequestCount();
        benchmark::DoNotOptimize(GetProfileSettings()->ApplySettings(kFile));
        ullRequests = g_GetSystem().m_Server.RequestCount() - ullBefore;
    }
    rState.counters["requests"] = static_cast<double>(ullRequests);
}
BENCHMARK(Apply)->Unit(benchmark::kMicrosecond);

}  // namespace
