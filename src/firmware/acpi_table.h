// The firmware's ACPI tables, copied from physical memory and checked.
#pragma once

#include <cstddef>
#include <map>
#include <memory>

#include "hw/driver_handler.h"
#include "hw/system_tables.h"

namespace vxt {

/// Finds the root pointer in the BIOS area, walks the root tables and keeps one copy per signature. Whatever the firmware
/// says is checked before it is believed: lengths, sums, loops.
class CACPITable final : public CSystemTables {
public:
    struct CTable {
        std::unique_ptr<uint8_t[]> pData;  ///< the whole table, header included
        uint32_t uSize;
    };

    explicit CACPITable(CDriverHandler& rDriverHandler) : m_rDriverHandler(rDriverHandler) {}

    /// Reads all tables. Kept: tables of an earlier Init are still there, so a second one fails and clears them.
    bool Init() override;
    bool GetTable(uint32_t uKey, const uint8_t*& rpTable, uint32_t& ruSize) override;
    /// Reads one table and what it points to.
    bool Parse(uint64_t ullAddress);
    /// Sum of all bytes modulo 256: 0 for an intact structure (and, with a log line, for no data).
    static uint8_t CheckSum(const uint8_t* pData, size_t uSize);
    void Clear();

    /// All tables by signature key, in key order.
    const std::map<uint32_t, CTable>& GetTables() const { return m_TableList; }

private:
    CDriverHandler& m_rDriverHandler;
    std::map<uint32_t, CTable> m_TableList;
    uint32_t m_uRSDPAddress = 0;
};

/// The one table reader of the process.
CACPITable& g_GetACPITable();

}  // namespace vxt
