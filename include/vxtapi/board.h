// The main board.
#pragma once

#include <vxtapi/device.h>

namespace vxtapi {

/// Device type 5, always index 0. Kept: GetModel and GetDescription are "Default Board" and GetVendor is empty whatever the
/// board. The texts are the system's (class Win32_BaseBoard, which has them from SMBIOS type 2), read with the first question
/// for one of them; empty where it has none. Threads: the one that started the library.
class CBoard : public CDevice {
public:
    virtual uint32_t GetFirstNumber() = 0;         ///< slot 10: kept by the object; 0
    virtual uint32_t GetSecondNumber() = 0;        ///< slot 11: likewise
    virtual const wchar_t* GetManufacturer() = 0;  ///< slot 12
    virtual const wchar_t* GetProduct() = 0;       ///< slot 13: the board's name
    virtual const wchar_t* GetBoardVersion() = 0;  ///< slot 14
    virtual const wchar_t* GetSerialNumber() = 0;  ///< slot 15

protected:
    ~CBoard() = default;
};

}  // namespace vxtapi
