// The processor's HyperTransport links.
#pragma once

#include <vxtapi/device.h>

namespace vxtapi {

/// One link as its capability block holds it (HyperTransport I/O Link 3.0, 7.5). Widths in bits; -1.0 for a reserved
/// code. Flags are one byte each: 0 or 1 when read; any number but 0 is on when set. Natural alignment, the same under
/// every compiler.
struct HTConfig {
    /// Link control bits 1, 2, 3, 6, 7, 8, 9, 11, 12, 13, 14, 15. Kept: bit 8 always reads 0
    uint8_t abControl[12];
    double dMaxInWidth;         ///< what the hardware can
    uint8_t bMaxInFlowControl;  ///< doubleword flow control
    double dMaxOutWidth;
    uint8_t bMaxOutFlowControl;
    double dInWidth;  ///< what is set
    uint8_t bInFlowControl;
    double dOutWidth;
    uint8_t bOutFlowControl;
    uint32_t uRevisionMinor;
    uint32_t uRevisionMajor;
    double dFrequency;     ///< link clock in units of 200 MHz
    double dMaxFrequency;  ///< highest the hardware can; 0: it does not say
};

/// Device type 1, always index 0; its links are numbered 0 to 3 (K8: 0 to 2).
class CHTLink : public CDevice {
public:
    virtual bool GetHTConfig(uint32_t uLink, HTConfig* pConfig) = 0;  ///< slot 10
    /// Slot 11. Values that the hardware cannot express leave their field as it was and are no error. Families 10h and
    /// 11h above 1000 MHz (value 5): prepares the processor for a fast link, a step that stays applied if a later fails.
    /// Width and frequency take effect at the next warm reset or link disconnect.
    virtual bool SetHTConfig(uint32_t uLink, const HTConfig* pConfig) = 0;

protected:
    ~CHTLink() = default;
};

}  // namespace vxtapi
