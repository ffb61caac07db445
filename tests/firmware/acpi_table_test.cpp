// The table reader on well-formed, odd and hostile firmware.
#include "firmware/acpi_table.h"

#include <gmock/gmock.h>

#include <cstring>

#include "support/simulated_pc.h"

namespace {

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using vxt::g_TableKey;
using vxttest::g_CheckError;
using vxttest::g_ProcessError;
using vxttest::Lines;

constexpr uint64_t kRsdt = 0x7FF00000, kXsdt = 0x7FF01000, kFirst = 0x7FF10000, kSecond = 0x7FF20000,
                   kThird = 0x7FF30000;

using CBytes = std::vector<uint8_t>;

template <class TValue> void Put(CBytes& rBytes, size_t uOffset, TValue Value) {
    if (rBytes.size() < uOffset + sizeof(Value)) rBytes.resize(uOffset + sizeof(Value));
    std::memcpy(&rBytes[uOffset], &Value, sizeof(Value));
}

void CompleteSum(CBytes& rBytes, size_t uSumOffset, size_t uSize) {
    rBytes[uSumOffset] = 0;
    uint8_t ucSum = 0;
    for (size_t i = 0; i < uSize; ++i) ucSum = static_cast<uint8_t>(ucSum + rBytes[i]);
    rBytes[uSumOffset] = static_cast<uint8_t>(-ucSum);
}

/// A table with a valid header over `Body`.
CBytes Table(const char* pszSignature, const CBytes& rBody = {}) {
    CBytes Bytes(36);
    std::memcpy(Bytes.data(), pszSignature, 4);
    Bytes.insert(Bytes.end(), rBody.begin(), rBody.end());
    Put(Bytes, 4, static_cast<uint32_t>(Bytes.size()));
    CompleteSum(Bytes, 9, Bytes.size());
    return Bytes;
}

template <class TEntry> CBytes Root(const char* pszSignature, std::initializer_list<uint64_t> Entries) {
    CBytes Body;
    for (const uint64_t ullEntry : Entries) Put(Body, Body.size(), static_cast<TEntry>(ullEntry));
    return Table(pszSignature, Body);
}

CBytes RootPointer(uint8_t ucRevision, uint64_t ullRsdt, uint64_t ullXsdt) {
    CBytes Bytes(36);
    std::memcpy(Bytes.data(), "RSD PTR ", 8);
    Bytes[15] = ucRevision;
    Put(Bytes, 16, static_cast<uint32_t>(ullRsdt));
    Put(Bytes, 20, uint32_t{36});
    Put(Bytes, 24, ullXsdt);
    CompleteSum(Bytes, 8, 20);
    CompleteSum(Bytes, 32, 36);
    return Bytes;
}

struct CACPITableTest : vxttest::CSimulatedPc {
    vxt::CACPITable m_Tables{vxt::g_GetDriverHandler()};

    /// Runs Init on a machine with exactly this memory; gives the signatures that were kept, in key order.
    Lines Read(const std::map<uint64_t, CBytes>& rMemory, bool bExpected) {
        Start(kDefaultMachine, [&](auto& rMachine) {
            rMachine.Acpi.clear();
            rMachine.Memory.clear();
            rMachine.Memory[0xE0000] = CBytes(0x20000);
            for (const auto& [ullAddress, Bytes] : rMemory) {
                if (ullAddress >= 0xE0000 && ullAddress < 0x100000)
                    std::copy(Bytes.begin(), Bytes.begin() + std::min<size_t>(Bytes.size(), 0x100000 - ullAddress),
                              rMachine.Memory[0xE0000].begin() + static_cast<long>(ullAddress - 0xE0000));
                else
                    rMachine.Memory[ullAddress] = Bytes;
            }
        });
        EXPECT_TRUE(vxt::g_GetDriverHandler().Init(m_None));
        m_Log.Take();
        TakeTrace();
        m_Tables.Clear();
        EXPECT_EQ(m_Tables.Init(), bExpected);
        Lines Signatures;
        for (const auto& [uKey, rTable] : m_Tables.GetTables())
            Signatures.push_back({char(uKey >> 24), char(uKey >> 16), char(uKey >> 8), char(uKey)});
        return Signatures;
    }

    struct CNoTables final : vxt::CSystemTables {
        bool Init() override { return false; }
        bool GetTable(uint32_t, const uint8_t*&, uint32_t&) override { return false; }
    } m_None;
};

TEST_F(CACPITableTest, TheRootPointerIsFoundOnEverySixteenByteBoundaryAndNowhereElse) {
    const CBytes Pointer = RootPointer(0, kRsdt, 0);
    const CBytes Rsdt = Root<uint32_t>("RSDT", {});
    EXPECT_THAT(Read({{0xE0000, Pointer}, {kRsdt, Rsdt}}, true), ElementsAre("RSDT"));
    EXPECT_THAT(Read({{0xF1230, Pointer}, {kRsdt, Rsdt}}, true), ElementsAre("RSDT"));
    EXPECT_THAT(Read({{0xF1238, Pointer}, {kRsdt, Rsdt}}, false), IsEmpty());
    EXPECT_THAT(m_Log.TakeErrors(),
                ElementsAre(g_ProcessError("m_uRSDPAddress < ACPI_SEARCH_END", "CACPITable::Init")));
    // The last position: its 36 bytes reach beyond the area, into memory of their own.
    CBytes Tail(Pointer.begin() + 16, Pointer.end());
    EXPECT_THAT(Read({{0xFFFF0, Pointer}, {0x100000, Tail}, {kRsdt, Rsdt}}, true), ElementsAre("RSDT"));
}

TEST_F(CACPITableTest, RevisionAndSumsDecideWhichRootTableIsBelieved) {
    const CBytes Rsdt = Root<uint32_t>("RSDT", {kFirst}), Xsdt = Root<uint64_t>("XSDT", {kSecond});
    const CBytes First = Table("APIC"), Second = Table("HPET");
    const auto Machine = [&](const CBytes& rPointer) {
        return std::map<uint64_t, CBytes>{
            {0xF0000, rPointer}, {kRsdt, Rsdt}, {kXsdt, Xsdt}, {kFirst, First}, {kSecond, Second}};
    };
    EXPECT_THAT(Read(Machine(RootPointer(0, kRsdt, kXsdt)), true), ElementsAre("APIC", "RSDT"))
        << "revision 0 has no XSDT";
    EXPECT_THAT(Read(Machine(RootPointer(2, kRsdt, kXsdt)), true), ElementsAre("APIC", "HPET", "RSDT", "XSDT"));
    EXPECT_THAT(Read(Machine(RootPointer(2, 0, kXsdt)), true), ElementsAre("HPET", "XSDT"));
    EXPECT_THAT(Read(Machine(RootPointer(2, 0, 0)), true), IsEmpty());

    CBytes Broken = RootPointer(2, kRsdt, kXsdt);
    Broken[10] ^= 1;  // both sums
    EXPECT_THAT(Read(Machine(Broken), false), IsEmpty());
    Broken = RootPointer(2, kRsdt, kXsdt);
    Broken[33] ^= 1;  // the extended sum only
    EXPECT_THAT(Read(Machine(Broken), false), IsEmpty()) << "what the RSDT gave is forgotten";
    EXPECT_THAT(m_Log.TakeErrors(), ElementsAre(g_ProcessError("ucCheckSum == 0", "CACPITable::Init")));
    Broken[15] = 0;
    CompleteSum(Broken, 8, 20);
    EXPECT_THAT(Read(Machine(Broken), true), ElementsAre("APIC", "RSDT")) << "revision 0 has no extended sum";
}

TEST_F(CACPITableTest, ABadTableIsLeftOutAndTheWalkGoesOn) {
    CBytes Bad = Table("APIC", CBytes(20)), Short = Table("HPET"), Huge = Table("SRAT");
    Bad[40] = 1;
    Put(Short, 4, uint32_t{35});
    Put(Huge, 4, uint32_t{0xFFFFFFFF});
    const std::map<uint64_t, CBytes> Memory{
        {0xF0000, RootPointer(0, kRsdt, 0)},
        {kRsdt, Root<uint32_t>("RSDT", {kFirst, 0, kSecond, 0x12345678, kThird, kThird + 0x100})},
        {kFirst, Bad},
        {kSecond, Short},
        {kThird, Huge},
        {kThird + 0x100, Table("MCFG", CBytes(20))}};
    EXPECT_THAT(Read(Memory, true), ElementsAre("MCFG", "RSDT"));
    EXPECT_THAT(m_Log.TakeErrors(),
                ElementsAre(g_ProcessError("ucCheckSum == 0", "CACPITable::Parse"),
                            g_CheckError("bRetCode", "CACPITable::Parse"),
                            g_ProcessError("uLength >= kHeaderSize && uLength <= kMaximumTable", "CACPITable::Parse"),
                            g_CheckError("bRetCode", "CACPITable::Parse"),  // 35 bytes
                            g_ProcessError("uLength >= kHeaderSize && uLength <= kMaximumTable", "CACPITable::Parse"),
                            g_CheckError("bRetCode", "CACPITable::Parse"),  // nobody answers: all ones
                            g_ProcessError("uLength >= kHeaderSize && uLength <= kMaximumTable", "CACPITable::Parse"),
                            g_CheckError("bRetCode", "CACPITable::Parse")));
}

TEST_F(CACPITableTest, OneTablePerSignatureAndNoEndlessWalk) {
    const std::map<uint64_t, CBytes> Memory{
        {0xF0000, RootPointer(2, kRsdt, kXsdt)},
        {kRsdt, Root<uint32_t>("RSDT", {kRsdt, kFirst, kSecond, kXsdt})},  // itself, two of one name, the other root
        {kXsdt, Root<uint64_t>("XSDT", {kXsdt, kRsdt, kThird})},
        {kFirst, Table("SSDT", {1})},
        {kSecond, Table("SSDT", {2})},
        {kThird, Table("DMAR")}};
    // The XSDT is reached through the RSDT; parsing it once more from the root pointer fails Init.
    EXPECT_THAT(Read(Memory, false), IsEmpty());
    std::map<uint64_t, CBytes> Single = Memory;
    Single[0xF0000] = RootPointer(0, kRsdt, 0);
    EXPECT_THAT(Read(Single, true), ElementsAre("DMAR", "RSDT", "SSDT", "XSDT"));
    const uint8_t* pTable = nullptr;
    uint32_t uSize = 0;
    ASSERT_TRUE(m_Tables.GetTable(g_TableKey("SSDT"), pTable, uSize));
    EXPECT_EQ(uSize, 37u);
    EXPECT_EQ(pTable[36], 1) << "the first one is kept";
}

TEST_F(CACPITableTest, TheXsdtWalkCountsItsStepsIn32BitEntries) {
    // One entry, two steps: the second finds zeros and must not touch memory behind the copy.
    EXPECT_THAT(
        Read({{0xF0000, RootPointer(2, 0, kXsdt)}, {kXsdt, Root<uint64_t>("XSDT", {kFirst})}, {kFirst, Table("APIC")}},
             true),
        ElementsAre("APIC", "XSDT"));
    EXPECT_THAT(m_Log.TakeErrors(), IsEmpty());
    // A root table of absurd length is walked as far as real ones reach.
    CBytes Many(4 * 5000, 0);
    Put(Many, 4 * 4999, static_cast<uint32_t>(kFirst));
    EXPECT_THAT(
        Read({{0xF0000, RootPointer(0, kRsdt, 0)}, {kRsdt, Table("RSDT", Many)}, {kFirst, Table("APIC")}}, true),
        ElementsAre("RSDT"));
    EXPECT_THAT(m_Log.TakeErrors(), ElementsAre(g_CheckError("uSteps <= kMaximumEntries", "CACPITable::Parse")));
}

TEST_F(CACPITableTest, TheFixedTableLeadsToItsTwoTables) {
    CBytes Body(44);
    Put(Body, 0, static_cast<uint32_t>(kSecond));
    Put(Body, 4, static_cast<uint32_t>(kThird));
    CBytes Facs(64);
    std::memcpy(Facs.data(), "FACS@", 5);  // its length, and no sum
    const std::map<uint64_t, CBytes> Memory{{0xF0000, RootPointer(0, kRsdt, 0)},
                                            {kRsdt, Root<uint32_t>("RSDT", {kFirst})},
                                            {kFirst, Table("FACP", Body)},
                                            {kSecond, Facs},
                                            {kThird, Table("DSDT", CBytes(9))}};
    EXPECT_THAT(Read(Memory, true), ElementsAre("DSDT", "FACP", "RSDT"));
    EXPECT_THAT(m_Log.TakeErrors(), ElementsAre(g_ProcessError("ucCheckSum == 0", "CACPITable::Parse"),
                                                g_CheckError("bRetCode", "CACPITable::Parse")));
    // Cut before the pointers: they count as zero.
    std::map<uint64_t, CBytes> Cut = Memory;
    Cut[kFirst] = Table("FACP", CBytes(2, 0));
    EXPECT_THAT(Read(Cut, true), ElementsAre("FACP", "RSDT"));
    EXPECT_THAT(m_Log.TakeErrors(), IsEmpty());
}

TEST_F(CACPITableTest, UnknownTablesAreKeptAndMentioned) {
    EXPECT_THAT(Read({{0xF0000, RootPointer(0, kRsdt, 0)},
                      {kRsdt, Root<uint32_t>("RSDT", {kFirst, kSecond})},
                      {kFirst, Table("OEMB")},
                      {kSecond, Table("APIC")}},
                     true),
                ElementsAre("APIC", "OEMB", "RSDT"));
    EXPECT_THAT(m_Log.Take(), ElementsAre(::testing::MatchesRegex("4 Unknown ACPI table signature [0-9A-F]+")));
    const uint8_t* pTable = nullptr;
    uint32_t uSize = 0;
    EXPECT_FALSE(m_Tables.GetTable(g_TableKey("MCFG"), pTable, uSize));
    EXPECT_EQ(vxt::CACPITable::CheckSum(nullptr, 4), 0);
    EXPECT_THAT(m_Log.TakeErrors(), ElementsAre(g_ProcessError("it != m_TableList.end()", "CACPITable::GetTable"),
                                                g_ProcessError("pData", "CACPITable::CheckSum")));
    EXPECT_FALSE(m_Tables.Init()) << "kept: the tables of an earlier start are in the way";
    EXPECT_THAT(m_Tables.GetTables(), IsEmpty());
}

}  // namespace
