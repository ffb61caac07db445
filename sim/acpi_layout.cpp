#include "acpi_layout.h"

#include <algorithm>
#include <cstddef>
#include <numeric>
#include <string_view>

namespace vxtsim {

namespace {

// Numbers of ACPI 3.0, chapter 5.2.
constexpr uint64_t kRootAddress = 0xFB4C0, kTableAddress = 0xBFEE0000, kTableAlignment = 64;
constexpr size_t kHeaderBytes = 36, kChecksum = 9, kOemId = 10;
constexpr size_t kRootChecksumBytes = 20, kRootBytes = 36, kRootChecksum = 8, kRootExtendedChecksum = 32;
constexpr size_t kFacs = 36, kDsdt = 40, kExtendedFacs = 132, kExtendedDsdt = 140;
constexpr uint8_t kFadtOfAcpi2 = 3;  ///< FADT revision from which firmware also gives 64-bit tables

uint8_t g_Sum(const std::vector<uint8_t>& rTable, size_t uBytes) {
    return static_cast<uint8_t>(std::accumulate(rTable.begin(), rTable.begin() + static_cast<ptrdiff_t>(uBytes), 0u));
}

/// Stores a number; nothing when the table is too short to have the field.
void g_Put(std::vector<uint8_t>& rTable, size_t uOffset, size_t uBytes, uint64_t ullValue) {
    if (uOffset + uBytes > rTable.size()) return;
    for (size_t i = 0; i < uBytes; ++i) rTable[uOffset + i] = static_cast<uint8_t>(ullValue >> (8 * i));
}

void g_Complete(std::vector<uint8_t>& rTable, size_t uChecksum, size_t uBytes) {
    rTable[uChecksum] = 0;
    rTable[uChecksum] = static_cast<uint8_t>(-g_Sum(rTable, uBytes));
}

}  // namespace

uint64_t g_AcpiNumber(const std::vector<uint8_t>& rTable, size_t uOffset, size_t uBytes) {
    uint64_t ullValue = 0;
    for (size_t i = 0; i < uBytes && uOffset + i < rTable.size(); ++i)
        ullValue |= uint64_t{rTable[uOffset + i]} << (8 * i);
    return ullValue;
}

CAcpiLayout g_LayOutAcpi(const std::vector<std::pair<std::string, std::vector<uint8_t>>>& rTables) {
    CAcpiLayout Layout;
    if (rTables.empty()) return Layout;
    uint64_t ullNext = kTableAddress;
    const auto Place = [&](const std::string& sSignature, std::vector<uint8_t> Table) {
        const uint64_t ullAddress = ullNext;
        ullNext += (Table.size() + kTableAlignment - 1) / kTableAlignment * kTableAlignment + kTableAlignment;
        Layout.Addresses.emplace_back(sSignature, ullAddress);
        Layout.Regions.emplace(ullAddress, std::move(Table));
        return ullAddress;
    };
    const auto Find = [&Layout](std::string_view sSignature) -> uint64_t {
        const auto it =
            std::ranges::find_if(Layout.Addresses, [&](const auto& rEntry) { return rEntry.first == sSignature; });
        return it == Layout.Addresses.end() ? 0 : it->second;
    };

    for (const auto& [sSignature, Table] : rTables) Place(sSignature, Table);
    const uint64_t ullFacs = Find("FACS"), ullDsdt = Find("DSDT");
    bool bExtended = false;
    std::vector<uint64_t> Entries;
    for (const auto& [sSignature, ullAddress] : Layout.Addresses) {
        std::vector<uint8_t>& rTable = Layout.Regions.at(ullAddress);
        if (sSignature == "FACP") {
            bExtended |= rTable.size() > 8 && rTable[8] >= kFadtOfAcpi2;
            const bool bValid = rTable.size() > kChecksum && g_Sum(rTable, rTable.size()) == 0;
            if (ullFacs) g_Put(rTable, kFacs, 4, ullFacs), g_Put(rTable, kExtendedFacs, 8, ullFacs);
            if (ullDsdt) g_Put(rTable, kDsdt, 4, ullDsdt), g_Put(rTable, kExtendedDsdt, 8, ullDsdt);
            if (bValid) g_Complete(rTable, kChecksum, rTable.size());
        }
        if (sSignature != "FACS" && sSignature != "DSDT" && sSignature != "RSDT" && sSignature != "XSDT")
            Entries.push_back(ullAddress);
    }

    const std::vector<uint8_t>& rFirst = rTables.front().second;  // names the maker, as in every table
    const auto MakeRoot = [&](const char* pszSignature, size_t uEntryBytes) {
        std::vector<uint8_t> Table(kHeaderBytes + Entries.size() * uEntryBytes);
        for (size_t i = kOemId; i < std::min(kHeaderBytes, rFirst.size()); ++i) Table[i] = rFirst[i];
        std::copy_n(pszSignature, 4, Table.begin());
        g_Put(Table, 4, 4, Table.size());
        Table[8] = 1;
        for (size_t i = 0; i < Entries.size(); ++i)
            g_Put(Table, kHeaderBytes + i * uEntryBytes, uEntryBytes, Entries[i]);
        g_Complete(Table, kChecksum, Table.size());
        return Place(pszSignature, std::move(Table));
    };
    const uint64_t ullRsdt = Find("RSDT") ? Find("RSDT") : MakeRoot("RSDT", 4);
    const uint64_t ullXsdt = Find("XSDT") ? Find("XSDT") : bExtended ? MakeRoot("XSDT", 8) : 0;

    std::vector<uint8_t> Root(ullXsdt ? kRootBytes : kRootChecksumBytes);
    std::copy_n("RSD PTR ", 8, Root.begin());
    for (size_t i = 0; i < 6; ++i) Root[9 + i] = static_cast<uint8_t>(g_AcpiNumber(rFirst, kOemId + i, 1));
    g_Put(Root, 16, 4, ullRsdt);
    if (ullXsdt) Root[15] = 2, g_Put(Root, 20, 4, kRootBytes), g_Put(Root, 24, 8, ullXsdt);
    g_Complete(Root, kRootChecksum, kRootChecksumBytes);
    if (ullXsdt) g_Complete(Root, kRootExtendedChecksum, kRootBytes);
    Layout.Regions.emplace(kRootAddress, std::move(Root));
    Layout.Addresses.emplace_back("RSD PTR ", kRootAddress);
    return Layout;
}

}  // namespace vxtsim
