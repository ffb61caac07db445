// The simulated driver: sizes, codes, refusals, enumeration, trace.
#include "sim/sim_client.h"

namespace vxtsim {
namespace {

constexpr CPciAddress kMiscellaneous{0, 0x18, 3};

/// Every request with a block that is right in all respects.
struct CGoodRequest {
    const char* pszName;
    uint32_t uCode;
    std::vector<uint32_t> Words;
    size_t uIn, uOut, uReturned;
};

std::vector<CGoodRequest> g_GoodRequests() {
    return {
        {"read MSR", 0x81112EE0, {0xC0010071}, 12, 12, 12},
        {"write MSR", 0x81112EE4, {0xC0010062}, 12, 0, 0},
        {"read port", 0x81112EE8, {0x00040080}, 8, 8, 8},
        {"write port", 0x81112EEC, {0x00010080}, 8, 0, 0},
        {"map", 0x81112EF0, {0xFEE00300, 0, 0, 256}, 32, 32, 32},
        {"old configuration read", 0x81112EF8, {0, 0x18, 3, 0, 4, 0}, 24, 24, 24},
        {"old configuration write", 0x81112EFC, {0, 0x18, 3, 0x40, 4, 0}, 24, 0, 0},
        {"configuration read", 0x81112F00, {0, 0x18, 3, 0, 4, 0}, 24, 24, 24},
        {"configuration write", 0x81112F04, {0, 0x18, 3, 0x40, 4, 0}, 24, 0, 0},
        {"memory read", 0x81112F08, {0xE0000, 0, 4, 0}, 16, 16, 16},
        {"memory write", 0x81112F0C, {0xE0000, 0, 4, 0}, 16, 0, 0},
        {"allocate", 0x81112F10, {}, 48, 48, 48},
        {"enumerate", 0x81112F18, {0xE0000000, 0, 0, 0, 0, 64, 64}, 3356, 3356, 3356},
    };
}

CControlReply g_Send(CSimClient& rClient, const CGoodRequest& rRequest, size_t uIn, size_t uOut) {
    std::vector<uint8_t> In(std::max(uIn, rRequest.Words.size() * 4)), Out(uOut);
    if (!rRequest.Words.empty()) std::memcpy(In.data(), rRequest.Words.data(), rRequest.Words.size() * 4);
    In.resize(uIn);
    return rClient.m_Server.Control(rRequest.uCode, 0, In, Out);
}

TEST(DriverProtocol, TakesExactlyTheSizesOfEachRequest) {
    CSimClient Client("family10h-ddr3");
    for (const CGoodRequest& rRequest : g_GoodRequests()) {
        const CControlReply Good = g_Send(Client, rRequest, rRequest.uIn, rRequest.uOut);
        EXPECT_TRUE(Good.bSuccess) << rRequest.pszName;
        EXPECT_EQ(Good.uReturned, rRequest.uReturned) << rRequest.pszName;
        const std::pair<size_t, size_t> WrongSizes[] = {
            {0, rRequest.uOut},
            {rRequest.uIn - 1, rRequest.uOut},
            {rRequest.uIn + 1, rRequest.uOut},
            {rRequest.uIn, rRequest.uOut + 1},
            {rRequest.uIn, rRequest.uOut ? rRequest.uOut - 1 : rRequest.uIn},
            {rRequest.uIn + 1, rRequest.uOut ? rRequest.uOut + 1 : 0}};
        for (const auto& [uIn, uOut] : WrongSizes) {
            const CControlReply Bad = g_Send(Client, rRequest, uIn, uOut);
            EXPECT_FALSE(Bad.bSuccess) << rRequest.pszName << " with " << uIn << " bytes in and " << uOut << " out";
            EXPECT_EQ(Bad.uReturned, 0u) << rRequest.pszName;
        }
    }
}

TEST(DriverProtocol, RefusesUnknownCodesAndBadBlocks) {
    constexpr uint32_t kBig = 0x10000;
    CSimClient Client("family10h-ddr3");
    for (const uint32_t uCode : {0u, 0x81112EDCu, 0x81112EE1u, 0x81112F1Cu, 0x81122EE0u})
        EXPECT_FALSE(Client.Send(uCode, 12, true).bSuccess) << std::hex << uCode;
    for (const uint16_t usWidth : std::initializer_list<uint16_t>{0, 3, 5, 8}) {
        EXPECT_FALSE(Client.Send(0x81112EE8, 8, true, uint16_t{0x80}, usWidth).bSuccess) << usWidth;
        EXPECT_FALSE(Client.Send(0x81112EEC, 8, false, uint16_t{0x80}, usWidth).bSuccess) << usWidth;
    }
    EXPECT_FALSE(Client.Send(0x81112EE8, 8, true, uint16_t{0xFFFF}, uint16_t{2}).bSuccess) << "past the last port";
    EXPECT_TRUE(Client.Send(0x81112EE8, 8, true, uint16_t{0xFFFF}, uint16_t{1}).bSuccess);
    EXPECT_FALSE(Client.Send(0x81112F00, 24, true, 0u, 0u, 0u, 0u, 8u).bSuccess) << "length disagrees";
    EXPECT_FALSE(Client.Send(0x81112F00, 20, true).bSuccess) << "no data";
    EXPECT_FALSE(Client.Send(0x81112F08, 16, true, uint64_t{0}, 0xFFFFFFFFu).bSuccess) << "length disagrees";
    EXPECT_FALSE(Client.Send(0x81112EF0, 32, true, 0xFEE00300u, 0u, 0u, 0u).bSuccess) << "nothing to map";
    EXPECT_FALSE(Client.Send(0x81112F18, 3356, true, uint64_t{0xE0000000}, 0u, 0u, 0u, 65u, 65u).bSuccess)
        << "more than fits";
    EXPECT_FALSE(Client.Send(0x81112F18, 3356, true, uint64_t{0xE0000000}, 0u, 32u, 0u, 64u, 64u).bSuccess)
        << "no such device";
    EXPECT_FALSE(Client.Send(0x81112F18, 3356, true, uint64_t{0xE0000000}, 0u, 0u, 0u, 64u, 15u).bSuccess)
        << "count not set back";
    EXPECT_FALSE(Client.Send(0x81112F04, 24, false, 0u, 32u, 0u, 0u, 4u).bSuccess) << "no such device";
    EXPECT_FALSE(Client.Send(0x81112F0C, 16, false, ~uint64_t{0} - 1, 4u).bSuccess) << "no such address";
    EXPECT_FALSE(Client.Send(0x81112EF0, 32, true, 0u, 0u, 0u, kBig << 12).bSuccess) << "too much to map";
}

TEST(DriverProtocol, AnswersZeroBytesWhereNothingCanBeRead) {
    CSimClient Client("family10h-ddr3");
    const struct {
        const char* pszCase;
        CControlReply Reply;
    } Cases[] = {
        {"bus 256", Client.Send(0x81112F00, 24, true, 256u, 0u, 0u, 0u, 4u)},
        {"device 32", Client.Send(0x81112F00, 24, true, 0u, 32u, 0u, 0u, 4u)},
        {"function 8", Client.Send(0x81112F00, 24, true, 0u, 0u, 8u, 0u, 4u)},
        {"offset 4096", Client.Send(0x81112F00, 24, true, 0u, 0x18u, 0u, 4096u, 4u)},
        {"across the end", Client.Send(0x81112EF8, 24, true, 0u, 0x18u, 0u, 4094u, 4u)},
        {"an address of 49 bits", Client.Send(0x81112F08, 16, true, uint64_t{1} << 48, 4u)},
        {"across the last address", Client.Send(0x81112F08, 16, true, (uint64_t{1} << 48) - 2, 4u)},
        {"across all", Client.Send(0x81112F08, 16, true, ~uint64_t{0} - 1, 4u)},
    };
    for (const auto& [pszCase, Reply] : Cases) {
        EXPECT_TRUE(Reply.bSuccess) << pszCase;
        EXPECT_EQ(Reply.uReturned, 0u) << pszCase;
    }
    EXPECT_EQ(Client.ReadPci({7, 1, 0}, 0), 0xFFFFFFFFu) << "an absent function is an answer, not a refusal";
    EXPECT_EQ(Client.ReadMemory(0x10000000), 0xFFFFFFFFu) << "so is memory that nobody described";
}

TEST(DriverProtocol, MovesRegistersInTheirPlaces) {
    CSimClient Client("family10h-ddr3");
    EXPECT_EQ(Client.ReadMsr(0xC0010064), 0x8000001A3C00200E);
    EXPECT_EQ(Client.At(4), 0x3C00200Eu) << "low half first";
    EXPECT_EQ(Client.At(8), 0x8000001Au);
    EXPECT_EQ(Client.ReadMsr(0x1B), 0xFEE00900u) << "what it says for core 0 alone wins";
    EXPECT_TRUE(Client.WriteMsr(0xC0010015, 0x1122334455667788));
    EXPECT_EQ(Client.ReadMsr(0xC0010015), 0x1122334455667788u);
    Client.m_uCore = 1;
    EXPECT_EQ(Client.ReadMsr(0xC0010015), 0x01000010u) << "each core has its own";
    EXPECT_EQ(Client.ReadMsr(0x1B), 0xFEE00800u) << "what the file says for all cores";
    EXPECT_FALSE(Client.ReadMsr(0xC0010099)) << "general protection";
    EXPECT_FALSE(Client.WriteMsr(0xC0010099, 0));
    Client.m_uCore = 4;
    EXPECT_FALSE(Client.ReadMsr(0xC0010015)) << "no such core";

    EXPECT_EQ(Client.ReadPci(kMiscellaneous, 0), 0x12031022u);
    EXPECT_TRUE(Client.WritePci(kMiscellaneous, 0, 0));
    EXPECT_EQ(Client.ReadPci(kMiscellaneous, 0), 0x12031022u) << "IDs are the chip's own";
    EXPECT_EQ(Client.ReadMemory(0xE0000000 + 0xC3000 + 0xFC), 0x00100F42u) << "the same through memory";
    EXPECT_TRUE(Client.WriteMemory(0xE0000000 + 0xC3000 + 0x84, 0xA1B2C3D4));
    EXPECT_EQ(Client.Send(0x81112F00, 23, true, 0u, 0x18u, 3u, 0x85u, 3u).uReturned, 23u);
    EXPECT_EQ(Client.At(20) & 0xFFFFFF, 0xA1B2C3u) << "unaligned bytes";
}

TEST(DriverProtocol, PortsHaveThreeWidthsAndUnclaimedOnesReadAllOnes) {
    CSimClient Client(g_Parsed("[machine]\n[ports]\n70 = 11 22 33\n"));
    EXPECT_EQ(Client.In(0x70, 1), 0x11u);
    EXPECT_EQ(Client.In(0x70, 2), 0x2211u);
    EXPECT_EQ(Client.In(0x70, 4), 0xFF332211u);
    EXPECT_TRUE(Client.Out(0x71, 0xAABBCCDD, 4));
    EXPECT_EQ(Client.In(0x70, 4), 0xFFCCDD11u);
    EXPECT_EQ(Client.In(0x80, 4), 0xFFFFFFFFu);
    EXPECT_EQ(Client.Send(0x81112EE8, 8, true, uint16_t{0x70}, uint16_t{1}, 0x99999999u).uReturned, 8u);
    EXPECT_EQ(Client.At(4), 0x99999911u) << "only the low part of the value is the port's";
}

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

TEST(DriverProtocol, AnOlderDriverKnowsTheOldCodesOnly) {
    CSimClient Client("family10h-ddr2");
    Client.m_Server.m_bKnowsNewPciRequests = false;
    EXPECT_FALSE(Client.Send(0x81112F00, 24, true, 0u, 0x18u, 3u, 0u, 4u).bSuccess);
    EXPECT_FALSE(Client.Send(0x81112F04, 24, false, 0u, 0x18u, 3u, 0x84u, 4u).bSuccess);
    EXPECT_TRUE(Client.Send(0x81112EFC, 24, false, 0u, 0x18u, 3u, 0x84u, 4u, 5u).bSuccess);
    EXPECT_EQ(Client.Send(0x81112EF8, 24, true, 0u, 0x18u, 3u, 0x84u, 4u).uReturned, 24u);
    EXPECT_EQ(Client.At(20), 5u);
}

TEST(DriverProtocol, TraceTellsEachRequestOnALine) {
    CSimClient Client("family10h-ddr3");
    std::vector<std::string> Trace;
    Client.m_Server.Record(&Trace);
    Client.m_uCore = 2;
    Client.ReadMsr(0xC0010071);
    Client.WriteMsr(0xC0010070, 0x0000000A0000000B);
    Client.In(0xB00), Client.Out(0xCD0, 5), Client.Out(0xCD0, 0x12, 4);
    Client.ReadPci(kMiscellaneous, 0xD4), Client.WritePci(kMiscellaneous, 0x84, 0x01020304);
    Client.ReadMemory(0xE0000), Client.WriteMemory(0xE0000, 0xA0B0C0D);
    Client.MapApicTimer();
    Client.Send(0x81112EF4, 12, false);
    Client.Send(0x81112F10, 48, true), Client.m_Server.Control(0x81112F14, 0, Client.m_Block, {});
    Client.Send(0x81112F18, 3356, true, uint64_t{0xE0000000}, 0u, 0u, 0u, 64u, 64u);
    Client.Send(0x12345678, 12, true);
    const std::vector<std::string> Expected{"rdmsr 2 C0010071",
                                            "wrmsr 2 C0010070 0000000B 0000000A",
                                            "in 1 0B00",
                                            "out 1 0CD0 05",
                                            "out 4 0CD0 00000012",
                                            "pcird 0:18.3 D4 4",
                                            "pciwr 0:18.3 84 4 04030201",
                                            "memrd E0000 4",
                                            "memwr E0000 4 0D0C0B0A",
                                            "map FEE00300 100",
                                            "unmap C",
                                            "alloc",
                                            "free",
                                            "enumpci"};
    EXPECT_EQ(Trace, Expected);
    EXPECT_EQ(Client.m_Server.RequestCount(), Expected.size() + 1);
    EXPECT_EQ(Client.m_Machine.Now(), (Expected.size() + 1) * CDriverServer::kRequestNanoseconds);
}

TEST(Faults, EachKindDoesWhatItSays) {
    const auto Try = [](EFault eFault, auto Request) {
        CSimClient Client("family10h-ddr3");
        CFaultPlan Plan = CFaultPlan::After(0, eFault);
        Client.m_Server.SetFaults(&Plan);
        Request(Client);
        EXPECT_EQ(Plan.Injected(), 1u);
    };
    const auto Read = [](CSimClient& rClient) { return rClient.Send(0x81112F00, 24, true, 0u, 0x18u, 3u, 0xFCu, 4u); };
    const auto Write = [](CSimClient& rClient) {
        return rClient.Send(0x81112F04, 24, false, 0u, 0x18u, 3u, 0x84u, 4u, 7u);
    };
    Try(EFault::kFail, [&](CSimClient& rClient) {
        EXPECT_FALSE(Read(rClient).bSuccess);
        EXPECT_EQ(Read(rClient).uReturned, 24u) << "the next one is good again";
    });
    Try(EFault::kFail, [&](CSimClient& rClient) {
        EXPECT_FALSE(Write(rClient).bSuccess);
        EXPECT_EQ(rClient.ReadPci(kMiscellaneous, 0x84), 0x01E201A1u) << "a failed write does nothing";
    });
    Try(EFault::kZeroLength, [&](CSimClient& rClient) {
        const CControlReply Reply = Read(rClient);
        EXPECT_TRUE(Reply.bSuccess);
        EXPECT_EQ(Reply.uReturned, 0u);
    });
    Try(EFault::kWrongCount, [&](CSimClient& rClient) { EXPECT_EQ(Read(rClient).uReturned, 23u); });
    Try(EFault::kWrongCount, [&](CSimClient& rClient) {
        EXPECT_EQ(Write(rClient).uReturned, 1u);
        EXPECT_EQ(rClient.ReadPci(kMiscellaneous, 0x84), 7u);
    });
    Try(EFault::kDropWrite, [&](CSimClient& rClient) {
        EXPECT_TRUE(Write(rClient).bSuccess);
        EXPECT_EQ(rClient.ReadPci(kMiscellaneous, 0x84), 0x01E201A1u);
    });
    Try(EFault::kAllOnes, [&](CSimClient& rClient) {
        EXPECT_EQ(Read(rClient).uReturned, 24u);
        EXPECT_EQ(rClient.At(20), 0xFFFFFFFFu);
        EXPECT_EQ(rClient.At(12), 0xFCu) << "the question stays";
    });
    Try(EFault::kDelay, [&](CSimClient& rClient) {
        EXPECT_EQ(Read(rClient).uReturned, 24u);
        EXPECT_GE(rClient.m_Machine.Now(), 50'000'000u);
    });
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
