// A monitor.
#pragma once

#include <vxtapi/device.h>

namespace vxtapi {

/// What to think of a monitor's EDID. Behind the last five nothing of it is told.
enum eEdidVerdict : uint32_t {
    kEdidRight = 0,
    kEdidWrongExtensionSum = 1,
    kEdidCut = 2,           ///< extensions are missing
    kEdidWrongSum = 3,      ///< of the base block, from which nearly everything comes
    kEdidOtherVersion = 4,  ///< not version 1
    kEdidNoHeader = 5,
    kEdidBlank = 6,
    kEdidShort = 7,
    kEdidNone = 8,  ///< the system has none
};

/// What a monitor says of itself. 0 where it does not say.
struct MonitorInfo {
    uint32_t uVerdict;             ///< eEdidVerdict
    uint32_t uVersion, uRevision;  ///< of the EDID: 1, 3
    uint32_t uProduct;
    uint32_t uSerial;
    uint32_t uYear, uWeek;  ///< of its making; of its model where bModelYear is set
    uint32_t uBitsPerColour;
    uint32_t uWidthMm, uHeightMm;  ///< of the picture: of the first mode, else the whole centimetres of the base block
    uint32_t uLowestRefresh, uHighestRefresh;  ///< Hz
    uint32_t uLowestLines, uHighestLines;      ///< kHz
    uint32_t uHighestPixelClock;               ///< MHz
    uint32_t uUnused;
    double dAspectRatio;  ///< width by height, where that is told in place of a size
    uint8_t bDigital;
    uint8_t bModelYear;
    uint8_t bBasicAudio;  ///< eTold: kNotTold where an extension, which would tell, is missing or spoiled
    uint8_t abUnused[5];
};

struct MonitorMode {
    uint32_t uWidth, uHeight;  ///< pixels, of a whole picture
    uint32_t uPixelClock;      ///< kHz
    uint32_t uUnused;
    double dRefresh;  ///< Hz; of half pictures where interlaced
    uint8_t bInterlaced;
    uint8_t bPreferred;  ///< the one to use
    uint8_t bNative;     ///< as the picture's pixels are; told by extensions alone
    uint8_t abUnused[5];
};

/// Device type 8, index 0 upward: one for each monitor of the system's device tree, with the EDID (VESA Enhanced EDID Standard,
/// release A, revision 2; extensions: CTA-861) that the system keeps beside it. Read at start-up.
///
/// GetModel is the monitor's name, else the system's; GetVendor the three letters of its maker; GetDescription a text such
/// as "LCD, 521 x 293 mm, 1920 x 1080".
class CMonitor : public CDevice {
public:
    virtual bool GetMonitorInfo(MonitorInfo* pInfo) = 0;  ///< slot 10: false only for a null pointer
    virtual const wchar_t* GetSerialText() = 0;           ///< slot 11: empty where it does not say, as the next
    virtual const wchar_t* GetInterface() = 0;            ///< slot 12: of a digital one, "HDMI-a"
    virtual const wchar_t* GetDeviceId() = 0;             ///< slot 13: in the system's device tree
    virtual uint32_t GetModeCount() = 0;                  ///< slot 14: those with a timing of their own, at most 10
    virtual bool GetMode(uint32_t uMode, MonitorMode* pMode) = 0;  ///< slot 15: false beyond the last one
    /// Slot 16: the EDID itself, as it came. `ruSize` is the buffer's size and becomes the number of bytes. False, and
    /// nothing written, when the buffer is too small (32768 bytes hold any) or there is none.
    virtual bool GetEdid(uint8_t* pucBytes, uint32_t& ruSize) = 0;

protected:
    ~CMonitor() = default;
};

}  // namespace vxtapi
