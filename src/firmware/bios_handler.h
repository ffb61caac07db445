// The firmware's tunable objects: methods of the WMI class "QOR_ACPI" (see docs/firmware.md).
#pragma once

#include <array>

#include "hw/wmi_handler.h"

namespace vxt {

/// What the firmware says about one of its objects.
struct CFunctionRecord {
    uint32_t uID = 0;
    uint32_t uProperty = 0;          ///< of the three clocks: 1 when there is no list of legal values
    std::array<wchar_t, 64> szID{};  ///< name, cut to fit
};

/// All objects, in the firmware's order.
struct CCapabilityPack {
    int32_t IDCount = 0;
    std::vector<CFunctionRecord> Records;  ///< `IDCount` of them; IDs are 0 where they could not be read
};

/// Failures are logged under this class's name; what the handler below could not do is in the lines before.
class CQORBIOSHandler : public CWmiHandler {
public:
    /// Tells the firmware who calls and lets it initialise. Connect to "root\wmi" first.
    bool Init();
    bool IsAvailable() const { return m_bInitialized; }

    bool GetObjectID(CCapabilityPack& pack);
    /// In the object's unit. 0.0 on failure; silently when the firmware itself refuses.
    double GetValue(uint32_t uID);
    /// The fraction is cut off. False also when the firmware refuses.
    bool SetValue(uint32_t uID, double dValue);
    /// The words that describe an object, as many as there are.
    bool GetInfo(uint32_t uID, std::vector<uint32_t>& rInfo);
    /// List of legal values. `pdValues` has room for `count` numbers; null asks for the count alone, which is the
    /// firmware's word and may be anything.
    bool GetDValues(uint32_t uID, double* pdValues, int32_t& count);
    bool BiosRequest(uint32_t uRequest);

    /// An integer property of the object in an answer; false, and nothing written, when it is anything else.
    bool ReadInteger(const platform::WmiValue& rPack, const wchar_t* pszName, int32_t& rnValue);

private:
    bool m_bInitialized = false;
};

/// The one that the library's devices use; has its own connection.
CQORBIOSHandler& g_GetQORBIOSHandler();

}  // namespace vxt
