// The table reader on a BIOS area and high memory made of the input: root pointer, root tables, whatever they point to.
#include <algorithm>
#include <cstring>

#include "firmware/acpi_table.h"
#include "platform/simulated/simulated_system.h"

using namespace vxt::platform::simulated;

namespace {

constexpr uint32_t kBelieved = 4 << 20, kShort = 256;  ///< bytes of a table
constexpr uint64_t kHigh = 0x10000;                    ///< where 32-bit pointers of the input tend to lie once masked

struct CNoTables final : vxt::CSystemTables {
    bool Init() override { return false; }
    bool GetTable(uint32_t, const uint8_t*&, uint32_t&) override { return false; }
};

/// Every structure the reader meets gets a valid sum, or nothing behind the sums would ever be reached.
__attribute__((no_sanitize("coverage"))) void CompleteSum(std::vector<uint8_t>& rBytes, size_t uBegin, size_t uSize,
                                                          size_t uSum) {
    if (uBegin + uSize > rBytes.size() || uSum >= uSize) return;
    uint8_t ucSum = 0;
    for (size_t i = 0; i < uSize; ++i) ucSum = static_cast<uint8_t>(ucSum + rBytes[uBegin + i]);
    rBytes[uBegin + uSum] = static_cast<uint8_t>(rBytes[uBegin + uSum] - ucSum);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* pData, size_t uSize) {
    static const bool s_bStarted = [] {
        CNoTables None;
        g_Restart({});
        vxtsim::CMachineDescription Description;
        std::string sError;
        if (!vxtsim::g_LoadMachine("family10h-ddr3", Description, sError)) return false;
        Description.Acpi.clear();
        g_Restart(std::move(Description));
        return vxt::g_GetDriverHandler().Init(None);
    }();
    if (!s_bStarted) __builtin_trap();

    constexpr size_t kEnough = 768;  // a dozen tables; more only take time
    uSize = std::min(uSize, kEnough);
    // The first 36 bytes are the root pointer, the rest is memory at kHigh in which tables may start every 64 bytes.
    std::vector<uint8_t> Root(36);
    std::memcpy(Root.data(), pData, std::min<size_t>(uSize, 36));
    // Looking for the pointer in 128 KiB takes most of the time: some inputs do, the others begin at what it points to.
    const bool bFromTheRoot = uSize % 64 == 0;
    if (bFromTheRoot) {
        std::vector<uint8_t>& rArea = g_GetMachine().Memory(0xE0000);
        rArea.resize(0x20000);  // zeros but for the root pointer
        std::memcpy(Root.data(), "RSD PTR ", 8);
        CompleteSum(Root, 0, 20, 8);
        CompleteSum(Root, 0, 36, 32);
        std::ranges::copy(Root, &rArea[0x400]);
    }
    std::vector<uint8_t>& rHigh = g_GetMachine().Memory(kHigh);
    rHigh.assign(pData + std::min<size_t>(uSize, 36), pData + uSize);
    for (size_t uTable = 0; uTable + 36 <= rHigh.size(); uTable += 64) {
        uint32_t uLength = 0;
        std::memcpy(&uLength, &rHigh[uTable + 4], 4);
        // Summing megabytes that are not there takes all the time: a table is short, or longer than any is believed.
        if (uLength <= kBelieved) uLength %= kShort;
        std::memcpy(&rHigh[uTable + 4], &uLength, 4);
        if (uLength >= 36) CompleteSum(rHigh, uTable, uLength, 9);
    }
    vxt::CACPITable Tables(vxt::g_GetDriverHandler());
    uint32_t uRsdt = 0;
    uint64_t ullXsdt = 0;
    std::memcpy(&uRsdt, &Root[16], sizeof(uRsdt));
    std::memcpy(&ullXsdt, &Root[24], sizeof(ullXsdt));
    if (bFromTheRoot ? Tables.Init() : Tables.Parse(uRsdt) || Tables.Parse(ullXsdt))
        for (const auto& [uKey, rTable] : Tables.GetTables())
            if (vxt::CACPITable::CheckSum(rTable.pData.get(), rTable.uSize) != 0) __builtin_trap();
    return 0;
}
