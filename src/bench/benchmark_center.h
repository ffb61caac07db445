// The benchmark testers by identifier.
#pragma once

#include <vxtapi/benchmark_center.h>

#include <map>
#include <memory>

namespace vxt {

class CBenchmarkCenter final : public vxtapi::CBenchmarkCenter {
public:
    /// Makes the testers; those that are there already stay.
    bool Init();
    void UnInit();
    vxtapi::CTester* GetTester(uint32_t uTester) override;

private:
    /// The pointers know how to delete what they own.
    std::unique_ptr<std::map<uint32_t, std::shared_ptr<vxtapi::CTester>>> m_pMapBM;
};

CBenchmarkCenter& g_GetBenchmarkCenter();

}  // namespace vxt
