// The simulated driver where one step is not enough: handles, enumeration, plans of faults.
#include "sim/sim_client.h"

namespace vxtsim {
namespace {

TEST(DriverProtocol, UnmapTakesThreeLengths) {
    CSimClient Client("family10h-ddr3");
    ASSERT_NE(Client.MapApicTimer(), 0u);
    const std::vector<uint8_t> Block = Client.m_Block;
    const auto Unmap = [&](std::span<const uint8_t> Bytes) {
        return Client.m_Server.Control(0x81112EF4, 0, Bytes, {}).bSuccess;
    };
    EXPECT_TRUE(Unmap(std::span(Block).first(12)));
    EXPECT_EQ(Client.m_Machine.MappingCount(), 1u) << "the short form names no mapping";
    EXPECT_FALSE(Unmap(std::span(Block).first(28)));
    EXPECT_TRUE(Unmap(Block));
    EXPECT_EQ(Client.m_Machine.MappingCount(), 0u);
    EXPECT_FALSE(Unmap(Block)) << "twice";

    ASSERT_TRUE(Client.Send(0x81112F10, 48, true).bSuccess);
    const std::vector<uint8_t> First = Client.m_Block;
    const uint64_t ullFirst = Client.At<uint64_t>(32);
    ASSERT_TRUE(Client.Send(0x81112F10, 48, true).bSuccess);
    EXPECT_NE(Client.At<uint64_t>(32), ullFirst);
    EXPECT_EQ(Client.m_Server.AllocationCount(), 2u);
    EXPECT_TRUE(Unmap(First)) << "an allocation by the unmap code";
    EXPECT_TRUE(Client.m_Server.Control(0x81112F14, 0, Client.m_Block, {}).bSuccess);
    EXPECT_FALSE(Client.m_Server.Control(0x81112F14, 0, Client.m_Block, {}).bSuccess) << "twice";
    EXPECT_EQ(Client.m_Server.AllocationCount(), 0u);
}

TEST(DriverProtocol, EnumerationResumesWhereTheBlockWasFull) {
    CSimClient Client("family10h-ddr3");
    for (uint8_t ucDevice = 0; ucDevice < 32; ++ucDevice)
        for (uint8_t ucFunction = 0; ucFunction < 4; ++ucFunction)
            Client.m_Machine.SetPciDword({9, ucDevice, ucFunction}, 0, 0x00010000u * ucDevice + 0x7777);
    Client.m_Machine.SetPciDword({64, 0, 0}, 0, 0x00017777);  // beyond the buses that are looked at
    std::map<CPciAddress, uint32_t> Found;
    ASSERT_TRUE(Client.Send(0x81112F18, 3356, true, uint64_t{0xE0000000}, 0u, 0u, 0u, 64u, 64u).bSuccess);
    std::vector<uint32_t> Counts;
    for (;;) {
        Counts.push_back(Client.At(24));
        for (size_t uRecord = 28; uRecord < 28 + Counts.back() * 52; uRecord += 52) {
            const CPciAddress Address{static_cast<uint8_t>(Client.At(uRecord)),
                                      static_cast<uint8_t>(Client.At(uRecord + 4)),
                                      static_cast<uint8_t>(Client.At(uRecord + 8))};
            EXPECT_TRUE(Found.emplace(Address, Client.At(uRecord + 12)).second) << "a function comes once";
        }
        if (Client.At(8) == 64) break;
        const uint32_t uCount = 64;
        std::memcpy(&Client.m_Block[24], &uCount, 4);
        ASSERT_EQ(Client.m_Server.Control(0x81112F18, 0, Client.m_Block, Client.m_Block).uReturned, 3356u);
    }
    EXPECT_EQ(Counts, (std::vector<uint32_t>{64, 64, 15}));
    EXPECT_EQ(Found.size(), Client.m_Machine.Description().Pci.size() + 128);
    EXPECT_EQ(Found.at({0, 0x14, 0}), 0x43851002u);
    EXPECT_EQ(Found.at({9, 31, 3}), 0x001F7777u);
}

TEST(Faults, PlansAreRepeatable) {
    CFaultPlan Forever = CFaultPlan::After(2, EFault::kAllOnes, true);
    const std::vector<EFault> Expected{EFault::kNone, EFault::kNone, EFault::kAllOnes, EFault::kAllOnes};
    for (const EFault eFault : Expected) EXPECT_EQ(Forever.Next(), eFault);

    CFaultPlan First, Second, Other;
    std::string sError;
    ASSERT_TRUE(CFaultPlan::Parse("seed=7,rate=30,kinds=fail+delay", First, sError)) << sError;
    Second = First;
    ASSERT_TRUE(CFaultPlan::Parse("seed=8,rate=30,kinds=fail+delay", Other, sError)) << sError;
    int nDifferent = 0;
    for (int i = 0; i < 1000; ++i) {
        const EFault eFault = First.Next();
        EXPECT_EQ(Second.Next(), eFault);
        EXPECT_TRUE(eFault == EFault::kNone || eFault == EFault::kFail || eFault == EFault::kDelay);
        nDifferent += Other.Next() != eFault;
    }
    EXPECT_GT(First.Injected(), 200u);
    EXPECT_LT(First.Injected(), 400u);
    EXPECT_GT(nDifferent, 100);

    CFaultPlan None;
    for (int i = 0; i < 100; ++i) EXPECT_EQ(None.Next(), EFault::kNone);
}

TEST(Faults, ARemarkSaysWhatWasAskedAndWhatBecameOfIt) {
    const struct {
        void (*pAsk)(CSimClient& rClient);
        EFault eFault;
        const char* pszRemark;  ///< empty: the kind does nothing to this request
    } kCases[] = {
        {[](CSimClient& r) { r.m_uCore = 2, r.ReadMsr(0xC0010071); }, EFault::kAllOnes,
         "read of MSR C0010071 on core 2 answered all ones"},
        {[](CSimClient& r) { r.WriteMsr(0xC0010062, 2); }, EFault::kDropWrite,
         "write of MSR C0010062 on core 2, 00000000 00000002, was dropped"},
        {[](CSimClient& r) { r.In(0xCF8, 4); }, EFault::kFail, "read of port 0CF8h failed"},
        {[](CSimClient& r) { r.Out(0x80, 0x12); }, EFault::kDelay, "write of port 0080h, 12, came 50 ms late"},
        {[](CSimClient& r) { r.ReadMemory(0xFEE00390); }, EFault::kZeroLength,
         "read of memory FEE00390h returned no data"},
        {[](CSimClient& r) {
             r.ReadPci({0, 24, 3}, 0xA0);
         },
         EFault::kWrongCount, "read of PCI 00:18.3 offset A0h returned a wrong count of bytes"},
        {[](CSimClient& r) {
             r.WritePci({0, 24, 3}, 0xA0, 0x04030201);
         },
         EFault::kDropWrite, "write of PCI 00:18.3 offset A0h, 01020304, was dropped"},
        {[](CSimClient& r) { r.MapApicTimer(); }, EFault::kFail, "mapping of memory FEE00300h failed"},
        {[](CSimClient& r) { r.ReadMsr(0xC0010071); }, EFault::kDropWrite, ""},
        {[](CSimClient& r) { r.WriteMsr(0xC0010062, 2); }, EFault::kAllOnes, ""},
        {[](CSimClient& r) { r.Out(0x80, 0x12); }, EFault::kZeroLength, ""},
    };
    CSimClient Client("family10h-ddr3");
    std::string sRemarks;
    Client.m_Server.ReportFaults([&](const std::string& sRemark) { sRemarks += sRemark; });
    for (const auto& [pAsk, eFault, pszRemark] : kCases) {
        CFaultPlan Plan = CFaultPlan::After(0, eFault);
        Client.m_Server.SetFaults(&Plan);
        sRemarks.clear();
        pAsk(Client);
        EXPECT_EQ(sRemarks, pszRemark);
    }
    EXPECT_EQ(Client.m_Server.FailureCount(), 5u) << "without what was dropped or came late";
}

TEST(Faults, AWrongWordIsNamed) {
    constexpr struct {
        const char* pszText;
        const char* pszError;
    } kCases[] = {
        {"", "expected seed=, rate= or kinds=, found nothing"},
        {"speed=1", "expected seed=, rate= or kinds=, found speed=1"},
        {"seed=x", "expected seed=0 to seed=4294967295, found seed=x"},
        {"seed=99999999999999999999", "expected seed=0 to seed=4294967295, found seed=99999999999999999999"},
        {"seed=1,rate=101", "expected rate=0 to rate=100, found rate=101"},
        {"seed=1,kinds=fail+explode", "expected fail, zero, count, drop, ones or delay, found explode"},
        {"kinds=", "expected fail, zero, count, drop, ones or delay, found nothing"},
    };
    for (const auto& [pszText, pszError] : kCases) {
        CFaultPlan Plan;
        std::string sError;
        EXPECT_FALSE(CFaultPlan::Parse(pszText, Plan, sError)) << pszText;
        EXPECT_EQ(sError, pszError);
    }
}

}  // namespace
}  // namespace vxtsim
