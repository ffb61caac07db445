// One full reading and one full writing of the memory controller: the driver's requests each takes, and the CPU time of
// the whole beside that of the same requests alone. The difference is what the library adds.
#include <benchmark/benchmark.h>

#include <cstring>
#include <sstream>

#include "bench_machine.h"
#include "devices/memctl/memctl_devices.h"
#include "tests/support/devices.h"

namespace {

using namespace vxtbench;

/// A machine with both channels in use, and its controller.
struct CBench {
    CBench() {
        SwitchOn();
        vxt::g_GetDriverHandler().Init(vxt::g_GetACPITable());
        m_Controller.Init(0);
        m_Controller.GetMemTiming(&m_Timing);
        m_Controller.GetMemConfig(&m_Config);
    }

    ~CBench() { vxt::g_GetDriverHandler().UnInit(); }

    vxt::CBrevikMemoryController m_Controller = g_Make<vxt::CBrevikMemoryController>();
    vxtapi::MemTiming m_Timing;
    vxtapi::MemConfig m_Config;
};

using COperation = bool (*)(CBench& rBench);
bool GetMemTiming(CBench& rBench) { return rBench.m_Controller.GetMemTiming(&rBench.m_Timing); }
bool SetMemTiming(CBench& rBench) { return rBench.m_Controller.SetMemTiming(&rBench.m_Timing); }
bool GetMemConfig(CBench& rBench) { return rBench.m_Controller.GetMemConfig(&rBench.m_Config); }
bool SetMemConfig(CBench& rBench) { return rBench.m_Controller.SetMemConfig(&rBench.m_Config); }

void Whole(benchmark::State& rState, COperation pOperation) {
    CBench Bench;
    const uint64_t ullBefore = g_GetSystem().m_Server.RequestCount();
    for (auto _ : rState) benchmark::DoNotOptimize(pOperation(Bench));
    rState.counters["requests"] = static_cast<double>(g_GetSystem().m_Server.RequestCount() - ullBefore) /
                                  static_cast<double>(rState.iterations());
}

/// A request as the driver gets it.
struct CRequest {
    uint32_t uCode;
    std::vector<uint8_t> Block;
    bool bAnswers;
};

/// From the text that the simulated driver records.
CRequest g_Request(const std::string& sLine) {
    std::istringstream Words(sLine);
    std::string sKind, sData;
    uint64_t ullFirst = 0, ullSecond = 0;
    Words >> sKind >> std::hex >> ullFirst >> ullSecond;
    if (sKind == "rdmsr" || sKind == "wrmsr") {
        CRequest Request{sKind == "rdmsr" ? vxt::protocol::kReadMsr : vxt::protocol::kWriteMsr, {}, sKind == "rdmsr"};
        vxt::protocol::CMsrBlock Block{static_cast<uint32_t>(ullSecond), 0, 0};
        if (!Request.bAnswers) Words >> Block.uLow >> Block.uHigh;
        Request.Block.resize(sizeof(Block));
        std::memcpy(Request.Block.data(), &Block, sizeof(Block));
        return Request;
    }
    CRequest Request{sKind == "memrd" ? vxt::protocol::kReadMemory : vxt::protocol::kWriteMemory, {}, sKind == "memrd"};
    const vxt::protocol::CMemoryHeader Header{ullFirst, static_cast<uint32_t>(ullSecond)};
    Request.Block.resize(sizeof(Header) + Header.uSize);
    std::memcpy(Request.Block.data(), &Header, sizeof(Header));
    Words >> sData;
    for (size_t i = 0; i < sData.size() / 2; ++i)
        Request.Block[sizeof(Header) + i] = static_cast<uint8_t>(std::stoul(sData.substr(2 * i, 2), nullptr, 16));
    return Request;
}

void RequestsAlone(benchmark::State& rState, COperation pOperation) {
    CBench Bench;
    std::vector<std::string> Trace;
    g_GetSystem().m_Server.Record(&Trace);
    pOperation(Bench);
    g_GetSystem().m_Server.Record(nullptr);
    std::vector<CRequest> Requests;
    for (const std::string& sLine : Trace) Requests.push_back(g_Request(sLine));
    const vxt::platform::CDriverChannel hDriver = vxt::platform::OpenDriver(vxt::protocol::kDeviceName);
    uint32_t uReturned = 0;
    for (auto _ : rState)
        for (CRequest& rRequest : Requests) {
            const auto uSize = static_cast<uint32_t>(rRequest.Block.size());
            benchmark::DoNotOptimize(vxt::platform::ControlDriver(hDriver, rRequest.uCode, rRequest.Block.data(), uSize,
                                                                  rRequest.bAnswers ? rRequest.Block.data() : nullptr,
                                                                  rRequest.bAnswers ? uSize : 0, uReturned));
        }
    rState.counters["requests"] = static_cast<double>(Requests.size());
}

BENCHMARK_CAPTURE(Whole, GetMemTiming, GetMemTiming);
BENCHMARK_CAPTURE(RequestsAlone, GetMemTiming, GetMemTiming);
BENCHMARK_CAPTURE(Whole, SetMemTiming, SetMemTiming);
BENCHMARK_CAPTURE(RequestsAlone, SetMemTiming, SetMemTiming);
BENCHMARK_CAPTURE(Whole, GetMemConfig, GetMemConfig);
BENCHMARK_CAPTURE(RequestsAlone, GetMemConfig, GetMemConfig);
BENCHMARK_CAPTURE(Whole, SetMemConfig, SetMemConfig);
BENCHMARK_CAPTURE(RequestsAlone, SetMemConfig, SetMemConfig);

}  // namespace
