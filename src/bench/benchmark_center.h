// The benchmark testers by identifier.
#pragma once

#include <vxtapi/benchmark_center.h>

#include <map>
#include <memory>

namespace vxt {

class CBenchmarkCenter final : public vxtapi::CBenchmarkCenter {
public:
    /// Makes the testers; those that are there already stay. False when memory runs out: those made before it did stay.
    bool Init();
    void UnInit();
    vxtapi::CTester* GetTester(uint32_t uTester) override;

private:
    /// Knows how to delete what it owns.
    using CTesterPointer = std::unique_ptr<vxtapi::CTester, void (*)(vxtapi::CTester* pTester)>;

    static constexpr const char* LogClass() { return "CBenchmarkCenter"; }
    template <class TTester> bool _Add(uint32_t uTester);

    std::unique_ptr<std::map<uint32_t, CTesterPointer>> m_pMapBM;
};

CBenchmarkCenter& g_GetBenchmarkCenter();

}  // namespace vxt
