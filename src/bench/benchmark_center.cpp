#include "bench/benchmark_center.h"

#include "api/log/log_checks.h"
#include "registers/no_throw.h"

namespace vxt {

bool CBenchmarkCenter::Init() {
    if (!m_pMapBM) m_pMapBM.reset(new (std::nothrow) std::map<uint32_t, std::shared_ptr<vxtapi::CTester>>);
    LOG_PROCESS_ERROR(m_pMapBM);
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
