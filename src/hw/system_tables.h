// What the driver start-up asks of the firmware's table reader, which itself reads memory through the driver.
#pragma once

#include <cstdint>
#include <span>

namespace vxt {

/// Key of a system description table: its four signature bytes read as a big-endian number.
constexpr uint32_t g_TableKey(const char (&szSignature)[5]) {
    uint32_t uKey = 0;
    for (int i = 0; i < 4; ++i) uKey = uKey << 8 | static_cast<uint8_t>(szSignature[i]);
    return uKey;
}
static_assert(g_TableKey("MCFG") == 0x4D434647);

class CSystemTables {
public:
    /// Reads all tables. False when there are none or they cannot be trusted.
    virtual bool Init() = 0;
    /// A whole table, header included, owned by the reader until the next Init. False (and one log line) when absent.
    virtual bool GetTable(uint32_t uKey, const uint8_t*& rpTable, uint32_t& ruSize) = 0;

protected:
    ~CSystemTables() = default;
};

}  // namespace vxt
