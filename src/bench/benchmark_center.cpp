#include "bench/benchmark_center.h"

#include <utility>

#include "api/log/log_checks.h"
#include "bench/cache_tester.h"
#include "bench/cpu_tester.h"
#include "bench/memory_tester.h"
#include "registers/no_throw.h"

namespace vxt {

bool CBenchmarkCenter::Init() {
    if (!m_pMapBM) m_pMapBM.reset(new (std::nothrow) std::map<uint32_t, CTesterPointer>);
    LOG_PROCESS_ERROR(m_pMapBM);
    return _Add<CCPUTester>(vxtapi::kTesterProcessor) && _Add<CMemoryTester>(vxtapi::kTesterMemory) &&
           _Add<CCacheTester>(vxtapi::kTesterCache);
}

template <class TTester> bool CBenchmarkCenter::_Add(uint32_t uTester) {
    const auto LogFunction = [](const char*) { return "Init"; };
    if (m_pMapBM->contains(uTester)) return true;
    auto* const pTester = new (std::nothrow) TTester;
    CTesterPointer pBMTester(pTester, [](vxtapi::CTester* p) { delete static_cast<TTester*>(p); });
    LOG_PROCESS_ERROR(pBMTester);
    bool bRetCode = pTester->Init();
    LOG_PROCESS_ERROR(bRetCode);
    bRetCode = g_NoThrow([&] { m_pMapBM->emplace(uTester, std::move(pBMTester)); });
    LOG_PROCESS_ERROR(bRetCode);
    return true;
}

void CBenchmarkCenter::UnInit() { m_pMapBM.reset(); }

vxtapi::CTester* CBenchmarkCenter::GetTester(uint32_t uTester) {
    if (!m_pMapBM) return nullptr;
    const auto it = m_pMapBM->find(uTester);
    return it == m_pMapBM->end() ? nullptr : it->second.get();
}

CBenchmarkCenter& g_GetBenchmarkCenter() {
    static CBenchmarkCenter s_BenchmarkCenter;
    return s_BenchmarkCenter;
}

}  // namespace vxt
