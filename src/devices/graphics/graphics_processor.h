// The graphics processor, driven through its display driver.
#pragma once

#include <vxtapi/graphics_processor.h>

#include "devices/framework/device_base.h"
#include "devices/framework/wide_text.h"
#include "devices/graphics/graphics_escape.h"
#include "platform/display.h"

namespace vxt {

class CNYXGPU final : public CDeviceBase<vxtapi::CGraphicsProcessor> {
public:
    CNYXGPU();
    /// The adapter number `uIndex` of those whose drivers answer.
    bool Init(uint32_t uIndex) override;
    bool UnInit() override;
    const wchar_t* GetModel() override { return m_Name.Get(); }
    const wchar_t* GetDescription() override { return m_Name.Get(); }

    bool IsIntegrated() override { return m_Identity.uIntegrated != 0; }
    double GetEngineClock() override;
    bool SetEngineClock(double dMHz) override;
    bool GetEngineClockLimits(vxtapi::EngineClockLimits* pLimits) override;

private:
    /// False: this display's driver knows no such escape, or answers something else.
    bool _Identify(const wchar_t* pszDevice);
    /// Request and answer are blocks of graphics_escape.h; the request's header is filled in here.
    template <class TRequest, class TAnswer> bool _Ask(uint32_t uRequest, TRequest& rRequest, TAnswer& rAnswer);
    bool _HasLimits() const { return m_Identity.uHighest != 0; }

    platform::CDisplay m_Display;
    escape::CIdentifyAnswer m_Identity{};
    CWideText<128> m_Name;
};

}  // namespace vxt
