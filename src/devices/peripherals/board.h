// The main board: the smallest device.
#pragma once

#include "devices/framework/device_base.h"

namespace vxt {

inline constexpr CDeviceIdentity kBoardIdentity{.eType = vxtapi::kDeviceBoard,
                                                .pszName = L"Board",
                                                .uVersion = 20071101,
                                                .pszModel = L"Default Board",
                                                .pszDescription = L"Default Board"};

/// There is one board in every machine, and nothing about it is read from hardware.
class CDefaultBoard final : public CDeviceBase<CDevice> {
public:
    CDefaultBoard() : CDeviceBase(kBoardIdentity) {}
    bool Init(uint32_t uIndex) override { return uIndex == 0; }

    // Two numbers kept by the object; nothing sets them yet.
    virtual uint32_t GetFirstNumber() { return m_auNumbers[0]; }
    virtual uint32_t GetSecondNumber() { return m_auNumbers[1]; }

private:
    uint32_t m_auNumbers[2] = {};
};

}  // namespace vxt
