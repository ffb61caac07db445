// Where a machine's ACPI tables lie in its memory.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <utility>
#include <vector>

namespace vxtsim {

struct CAcpiLayout {
    std::map<uint64_t, std::vector<uint8_t>> Regions;         ///< root pointer and tables by physical address
    std::vector<std::pair<std::string, uint64_t>> Addresses;  ///< where each signature went, in file order
};

/// Lays out the tables of a machine file as firmware does: root pointer in the BIOS area, the rest at the top of low
/// memory. The root tables are made from the others unless the file brings its own; the FACP's pointers are set for the
/// FACS and DSDT that the file brings and stay as dumped otherwise. No tables: nothing at all.
CAcpiLayout g_LayOutAcpi(const std::vector<std::pair<std::string, std::vector<uint8_t>>>& rTables);

/// Little-endian number of `uBytes` bytes; bytes beyond the table count as zero.
uint64_t g_AcpiNumber(const std::vector<uint8_t>& rTable, size_t uOffset, size_t uBytes);

}  // namespace vxtsim
