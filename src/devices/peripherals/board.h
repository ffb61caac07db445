// The main board: the smallest device.
#pragma once

#include <vxtapi/board.h>

#include "devices/framework/device_base.h"
#include "devices/framework/wide_text.h"
#include "hw/wmi_handler.h"

namespace vxt {

inline constexpr CDeviceIdentity kBoardIdentity{.eType = vxtapi::kDeviceBoard,
                                                .pszName = L"Board",
                                                .uVersion = 20071101,
                                                .pszModel = L"Default Board",
                                                .pszDescription = L"Default Board"};

/// There is one board in every machine; what the system tells of it is read when somebody asks.
class CDefaultBoard final : public CDeviceBase<vxtapi::CBoard> {
public:
    /// Over a connection to kSystemNamespace, which must outlive the device.
    explicit CDefaultBoard(CWmiHandler& rWmi) : CDeviceBase(kBoardIdentity), m_rWmi(rWmi) {}
    bool Init(uint32_t uIndex) override { return uIndex == 0; }

    // Two numbers kept by the object; nothing sets them.
    uint32_t GetFirstNumber() override { return m_auNumbers[0]; }
    uint32_t GetSecondNumber() override { return m_auNumbers[1]; }
    const wchar_t* GetManufacturer() override { return _Read().Manufacturer.Get(); }
    const wchar_t* GetProduct() override { return _Read().Product.Get(); }
    const wchar_t* GetBoardVersion() override { return _Read().Version.Get(); }
    const wchar_t* GetSerialNumber() override { return _Read().SerialNumber.Get(); }

private:
    struct CTexts {
        CWideText<127> Manufacturer, Product, Version, SerialNumber;
    };
    /// The texts, read when they were not yet; empty as long as the system has none.
    const CTexts& _Read();

    CWmiHandler& m_rWmi;
    uint32_t m_auNumbers[2] = {};
    bool m_bRead = false;
    CTexts m_Texts;
};

}  // namespace vxt
