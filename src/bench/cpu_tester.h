// The processor tester.
#pragma once

#include <memory>

#include "bench/computation.h"

namespace vxt {

class CCPUTester final : public vxtapi::CCPUTester {
public:
    const wchar_t* GetName() override { return L"CPUTester"; }
    /// Both computations, also behind one that failed; false before Init.
    bool Run() override;
    const wchar_t* GetUnit() override { return nullptr; }
    bool GetReserved() override { return false; }
    bool Init() override;
    bool Uninit() override;
    void Destroy() override { delete this; }
    vxtapi::CComputation* GetIntegerComputation() override { return m_pCPUTesterIC.get(); }
    vxtapi::CComputation* GetFloatingPointComputation() override { return m_pCPUTesterFPC.get(); }

private:
    std::unique_ptr<CIntegerComputation> m_pCPUTesterIC;
    std::unique_ptr<CFloatingPointComputation> m_pCPUTesterFPC;
};

}  // namespace vxt
