// The family 10h core: what it reads, and exactly what it asks of the hardware.
#include <cmath>
#include <limits>

#include "devices/cpu/cpu_fixture.h"
#include "sim/models/pstates.h"
#include "sim/models/smbus_host.h"
#include "sim/models/thermal.h"

namespace {

using ::testing::ElementsAre;
using ::testing::ElementsAreArray;
using ::testing::IsEmpty;
using vxtapi::CPstate;
using vxttest::g_CheckError;
using vxttest::g_ProcessError;
using vxttest::kMiscControl;
using vxttest::Lines;
using vxttest::Msrs;

constexpr double kNan = std::numeric_limits<double>::quiet_NaN(), kInfinity = std::numeric_limits<double>::infinity();
constexpr uint32_t kSignature = 0x00100F42, kPower = 0x1F9;

// A dump that the owner of a 3.0 GHz processor published; 0070, 0015 and 1023 are usual values.
const Msrs kDump = {
    {0xC0010061, 0x30},
    {0xC0010062, 0},
    {0xC0010063, 0},
    {0xC0010064, 0x8000001A3C00200E},
    {0xC0010065, 0x800001C33C003007},
    {0xC0010066, 0x800001B63C004002},
    {0xC0010067, 0x800001723C005840},
    {0xC0010068, 0x0000000040000000},
    {0xC0010070, 0x000000003C00200E},
    {0xC0010071, 0x008000033C00200E},
    {0xC0010015, 0x0000000001000018},
    {0xC0011023, 0x0000000000200021},
};
// Function 3 through the configuration window.
constexpr const char* kRead84 = "memrd E00C3084 4";
constexpr const char* kReadD4 = "memrd E00C30D4 4";

struct Family10hCpu : vxttest::CCpuTest<vxt::CBrevikCPU> {
    Family10hCpu() { Restart(); }
    void Restart(const std::function<void(Msrs&)>& Change = {}, uint32_t uPower = kPower) {
        Msrs Registers = kDump;
        if (Change) Change(Registers);
        StartProcessor(kSignature, uPower, Registers);
        Machine().SetPciDword(kMiscControl, 0xD4, 0xC3312F05);
    }
};

TEST_F(Family10hCpu, ReadsTheClocksAndVoltagesOfTheDump) {
    EXPECT_EQ(m_Cpu.GetCurrentMultiplier(), 15.0);
    EXPECT_EQ(m_Cpu.GetCurrentVoltage(), 1.35);
    EXPECT_EQ(m_Cpu.GetCurrentNBVoltage(), 1.175);
    EXPECT_EQ(m_Cpu.GetCurrentNBMultiplier(), 9.0);
    EXPECT_EQ(m_Cpu.GetMaxPstate(), 3u);
    EXPECT_EQ(m_Cpu.GetCurPstate(), 0u);
    EXPECT_THAT(Requests(), ElementsAre("rdmsr 0 C0010071", "rdmsr 0 C0010071", "rdmsr 0 C0010071", kReadD4,
                                        "rdmsr 0 C0010061", "rdmsr 0 C0010063"));
}

TEST_F(Family10hCpu, DividesTheClockWithoutRoundingAndShowsOffAsNoVoltage) {
    const struct {
        uint64_t ullStatus;
        double dMultiplier, dVolts, dNbVolts;
    } kCases[] = {
        {0x20A6010440004003, 9.5, 1.15, 1.15},    // another published dump: FID 3, codes 32
        {0x000000000000008D, 3.625, 1.55, 1.55},  // FID 13, DID 2: a quarter of 14.5
        {0xF8000000F800F83F, 39.5, 0.0, 0.0},     // codes 124: the first that switches off
        {0x00000000F600F600, 8.0, 0.0125, 0.0125}, {0x00000000FE00FE00, 8.0, 0.0, 0.0},
    };
    for (const auto& [ullStatus, dMultiplier, dVolts, dNbVolts] : kCases) {
        Msr(0xC0010071) = ullStatus;
        EXPECT_DOUBLE_EQ(m_Cpu.GetCurrentMultiplier(), dMultiplier) << std::hex << ullStatus;
        EXPECT_DOUBLE_EQ(m_Cpu.GetCurrentVoltage(), dVolts) << std::hex << ullStatus;
        EXPECT_DOUBLE_EQ(m_Cpu.GetCurrentNBVoltage(), dNbVolts) << std::hex << ullStatus;
    }
}

TEST_F(Family10hCpu, DecodesEveryPstateUpToTheLast) {
    // A published list of one processor's five P-states: fields, MHz and volts as an independent tool printed them.
    const struct {
        uint32_t uFid, uDid, uVid;
        double dMHz, dVolts;
    } kCases[] = {{16, 0, 10, 3200, 1.425},
                  {11, 0, 20, 2700, 1.3},
                  {4, 0, 22, 2000, 1.275},
                  {12, 1, 26, 1400, 1.225},
                  {0, 1, 30, 800, 1.175}};
    Msr(0xC0010061) = 0x40;
    CPstate Pstate;
    for (uint32_t i = 0; i < 5; ++i) {
        SCOPED_TRACE(i);
        const auto& [uFid, uDid, uVid, dMHz, dVolts] = kCases[i];
        Msr(0xC0010064 + i) = uint64_t{0x80000000 | i % 4 << 8} << 32 | 0x3C000000 | uVid << 9 | uDid << 6 | uFid;
        Pstate.dUnused = 99;
        ASSERT_TRUE(m_Cpu.GetPstate(i, &Pstate));
        EXPECT_EQ(Pstate.dCpuFid, uFid);
        EXPECT_EQ(Pstate.dCpuDid, uDid);
        EXPECT_EQ(Pstate.dCpuVid, uVid);
        EXPECT_EQ(Pstate.dNbDid, 0);
        EXPECT_EQ(Pstate.dNbVid, 30);
        EXPECT_EQ(Pstate.dIddDiv, i % 4);
        EXPECT_EQ(Pstate.dPstateEn, 1);
        EXPECT_TRUE(Pstate.bPstateEn);
        EXPECT_EQ(Pstate.dUnused, 0);
        EXPECT_EQ(Pstate.dCoreFrequency, dMHz);
        EXPECT_DOUBLE_EQ(Pstate.dCoreVoltage, dVolts);
        EXPECT_EQ(Pstate.dNbFrequency, 1800);
        EXPECT_DOUBLE_EQ(Pstate.dNbVoltage, 1.175);
    }
    Requests();
    EXPECT_FALSE(m_Cpu.GetPstate(5, &Pstate));
    EXPECT_THAT(Requests(), ElementsAre("rdmsr 0 C0010061"));
    EXPECT_THAT(m_Log.TakeErrors(), ElementsAre(g_ProcessError("uStateIndex <= PstateLimitReg.m_sReg.PstateMaxVal",
                                                               "CBrevikCPU::GetPstate")));
    EXPECT_FALSE(m_Cpu.GetPstate(0, nullptr));
    EXPECT_THAT(m_Log.TakeErrors(), ElementsAre(g_ProcessError("pPstate", "CBrevikCPU::GetPstate")));
}

TEST_F(Family10hCpu, CutsThePstateClockToWholeHundreds) {
    Msr(0xC0010064) = 0x0000000000400000 | 0x8D;  // FID 13, DID 2, half the north-bridge clock, disabled
    CPstate Pstate;
    ASSERT_TRUE(m_Cpu.GetPstate(0, &Pstate));
    EXPECT_EQ(Pstate.dCoreFrequency, 700) << "29 / 4 is cut to 7 before it is multiplied";
    EXPECT_EQ(Pstate.dNbFrequency, 900);
    EXPECT_EQ(Pstate.dPstateEn, 0);
    EXPECT_FALSE(Pstate.bPstateEn);
}

TEST_F(Family10hCpu, AFailedNorthBridgeReadCountsAsZeroAndIsReported) {
    System().FailAfter(1);  // after pinning the thread
    Machine().RemovePci(kMiscControl);
    EXPECT_EQ(m_Cpu.GetCurrentNBMultiplier(), 31 + 4.0) << "the driver's own request answers: an absent function";
    System().m_RequestFaults = vxtsim::CFaultPlan::After(0, vxtsim::EFault::kFail, true);
    m_Log.Take();
    EXPECT_EQ(m_Cpu.GetCurrentNBMultiplier(), 4.0);
    EXPECT_EQ(m_Log.TakeErrors().back(), g_CheckError("bRetCode", "CBrevikCPU::GetCurrentNBMultiplier"));
}

TEST_F(Family10hCpu, InitKnowsTheRatedClockAndTheStartVoltage) {
    const struct {
        const char* pszCase;
        uint64_t ullStatus;
        double dMaximum, dStartVolts;
        bool bLimited;
    } kCases[] = {
        {"no limit: P-state 0 tells", 0x008000033C00200E, 15.0, 1.0, false},
        {"limit of a 2.2 GHz part", 0x28AC00C13C00200E, 11.0, 1.25, true},
        {"starts in a P-state that does not exist", 0x28AC00C73C00200E, 11.0, 0.0, true},
    };
    for (const auto& [pszCase, ullStatus, dMaximum, dStartVolts, bLimited] : kCases) {
        SCOPED_TRACE(pszCase);
        Restart([ullStatus = ullStatus](Msrs& rMsrs) { rMsrs[0xC0010071] = ullStatus; });
        EXPECT_TRUE(m_Cpu.Init(0));
        EXPECT_EQ(m_Cpu.GetMaxMultiplier(), dMaximum);
        EXPECT_DOUBLE_EQ(m_Cpu.GetStartVoltage(), dStartVolts);
        EXPECT_EQ(m_Cpu.GetMaxRampVoltage(), 0.0);
        EXPECT_EQ(m_Cpu.IsMultiplierLimited(), bLimited);
        EXPECT_EQ(m_Cpu.GetNominalFrequency(), dMaximum * 200e6);
        EXPECT_TRUE(m_Cpu.UnInit());
    }
}

TEST_F(Family10hCpu, InitJudgesTheTimeStampCounterAndAcceptsAnUnsteadyOne) {
    const struct {
        uint64_t ullHwcr;
        uint32_t uPower;
        bool bSteady;
    } kCases[] = {{0x01000018, kPower, true}, {0x00000018, kPower, false}, {0x01000018, kPower & ~0x100u, false}};
    for (const auto& [ullHwcr, uPower, bSteady] : kCases) {
        Restart([ullHwcr = ullHwcr](Msrs& rMsrs) { rMsrs[0xC0010015] = ullHwcr; }, uPower);
        EXPECT_TRUE(m_Cpu.Init(0));
        EXPECT_EQ(m_Cpu.HasSteadyTsc(), bSteady) << std::hex << ullHwcr << " " << uPower;
        EXPECT_TRUE(m_Cpu.UnInit());
    }
}

TEST_F(Family10hCpu, SetsAMultiplierThroughANeighbouringPstate) {
    const struct {
        const char* pszCase;
        uint64_t ullControl;
        double dMultiplier;
        const char *pszNeighbour, *pszWanted;
    } kCases[] = {
        {"P-state 0 goes by 1", 0x123456783C00200E, 16.0, "3C01200E 12345678", "3C002010 12345678"},
        {"P-state 2 goes by 1", 0x000000003C02200E, 8.0, "3C01200E 00000000", "3C022000 00000000"},
        {"highest", 0x000000003C00200E, 31.0, "3C01200E 00000000", "3C00202E 00000000"},
        {"divided by 2: 4 is FID 0", 0x000000003C00200E, 4.0, "3C01200E 00000000", "3C002040 00000000"},
        {"divided by 2: 7.75", 0x000000003C00200E, 7.75, "3C01200E 00000000", "3C00204F 00000000"},
        {"divided by 16: the lowest", 0x000000003C00200E, 0.5, "3C01200E 00000000", "3C002100 00000000"},
        {"half a step too much is rounded down", 0x000000003C00200E, 10.75, "3C01200E 00000000", "3C002005 00000000"},
    };
    for (const auto& [pszCase, ullControl, dMultiplier, pszNeighbour, pszWanted] : kCases) {
        SCOPED_TRACE(pszCase);
        Restart([ullControl = ullControl](Msrs& rMsrs) { rMsrs[0xC0010070] = ullControl; });
        Requests();
        EXPECT_TRUE(m_Cpu.SetCurrentMultiplier(dMultiplier));
        // A transition takes 200 us: the read right after the write still shows the old P-state.
        EXPECT_THAT(Requests(),
                    ElementsAre("rdmsr 0 C0010070", std::string("wrmsr 0 C0010070 ") + pszNeighbour, "rdmsr 0 C0010071",
                                "rdmsr 0 C0010071", std::string("wrmsr 0 C0010070 ") + pszWanted, "rdmsr 0 C0010071",
                                "rdmsr 0 C0010071"));
        EXPECT_THAT(m_Log.TakeErrors(), IsEmpty());
    }
    EXPECT_EQ(m_Cpu.GetCurrentMultiplier(), 10.5);
}

TEST_F(Family10hCpu, RefusesAMultiplierBeforeAnythingIsWritten) {
    const char* const kTooHigh = "FidVidControl.m_sControl.CpuFid < 0x2F";
    const char* const kTooLow = "FidVidControl.m_sControl.CpuDid <= 4";
    const struct {
        double dMultiplier;
        const char* pszExpression;
    } kCases[] = {
        {31.5, kTooHigh},  {1e300, kTooHigh},          {kInfinity, kTooHigh},       {0.49, kTooLow},
        {1e-300, kTooLow}, {0.0, "dMultiplier > 0.0"}, {-4.0, "dMultiplier > 0.0"}, {kNan, "dMultiplier > 0.0"},
    };
    for (const auto& [dMultiplier, pszExpression] : kCases) {
        EXPECT_FALSE(m_Cpu.SetCurrentMultiplier(dMultiplier)) << dMultiplier;
        EXPECT_THAT(Writes(), IsEmpty()) << dMultiplier;
        EXPECT_THAT(m_Log.TakeErrors(), ElementsAre(g_ProcessError(pszExpression, "CBrevikCPU::SetCurrentMultiplier")));
    }
    EXPECT_TRUE(m_Cpu.SetCurrentMultiplier(15.0)) << "already there";
    EXPECT_THAT(Requests(), ElementsAre("rdmsr 0 C0010070"));
}

TEST_F(Family10hCpu, GivesUpOnATransitionThatNeverEnds) {
    Machine().Plug<vxtsim::CPstates>(16u).m_bStuck = true;
    Requests();
    EXPECT_FALSE(m_Cpu.SetCurrentMultiplier(16.0));
    Lines Expected(1002, "rdmsr 0 C0010071");
    Expected[0] = "rdmsr 0 C0010070", Expected[1] = "wrmsr 0 C0010070 3C01200E 00000000";
    EXPECT_THAT(Requests(), ElementsAreArray(Expected));
    EXPECT_THAT(m_Log.TakeErrors(), ElementsAre(g_ProcessError("nCounter < 1000", "CBrevikCPU::SetCurrentMultiplier")));
}

TEST_F(Family10hCpu, SetsAVoltageThroughTheSameTwoSteps) {
    const struct {
        double dVolts;
        const char* pszWanted;
    } kCases[] = {
        {1.35, "3C00200E"}, {1.3375, "3C00220E"}, {1.3438, "3C00200E"},  // nearest code wins
        {1.55, "3C00000E"}, {0.0125, "3C00F60E"}, {0.0, "3C00200E"},     // off is never asked for
        {1.56, "3C00200E"}, {-1.0, "3C00200E"},   {kNan, "3C00200E"},    // not in the table: as it was
    };
    for (const auto& [dVolts, pszWanted] : kCases) {
        Restart();
        Requests();
        EXPECT_TRUE(m_Cpu.SetCurrentVoltage(dVolts)) << dVolts;
        EXPECT_THAT(Writes(), ElementsAre("wrmsr 0 C0010070 3C01200E 00000000",
                                          std::string("wrmsr 0 C0010070 ") + pszWanted + " 00000000"))
            << dVolts;
        EXPECT_THAT(m_Log.TakeErrors(), IsEmpty());
    }
    Machine().Plug<vxtsim::CPstates>(16u).m_bStuck = true;
    EXPECT_FALSE(m_Cpu.SetCurrentVoltage(1.2));
    EXPECT_THAT(m_Log.TakeErrors(), ElementsAre(g_ProcessError("nCounter < 1000", "CBrevikCPU::SetCurrentVoltage")));
}

TEST_F(Family10hCpu, AsksForAPstateUpToTheLast) {
    Msr(0xC0010062) = 0xA5A5A5A5FFFFFFF8;
    EXPECT_TRUE(m_Cpu.SetCurPstate(3));
    EXPECT_THAT(Requests(), ElementsAre("rdmsr 0 C0010061", "rdmsr 0 C0010062", "wrmsr 0 C0010062 FFFFFFFB A5A5A5A5"));
    EXPECT_FALSE(m_Cpu.SetCurPstate(4));
    EXPECT_THAT(Requests(), ElementsAre("rdmsr 0 C0010061"));
    EXPECT_THAT(m_Log.TakeErrors(), ElementsAre(g_ProcessError("uStateIndex <= PstateLimitReg.m_sReg.PstateMaxVal",
                                                               "CBrevikCPU::SetCurPstate")));
    Machine().Advance(1'000'000);
    EXPECT_EQ(m_Cpu.GetCurPstate(), 3u);
    EXPECT_EQ(m_Cpu.GetCurrentMultiplier(), 4.0);
}

TEST_F(Family10hCpu, WritesADefinitionBackThroughTheFieldsThatItWasReadFrom) {
    CPstate Pstate;
    ASSERT_TRUE(m_Cpu.GetPstate(1, &Pstate));
    Requests();
    EXPECT_TRUE(m_Cpu.SetPstate(1, &Pstate));
    EXPECT_THAT(Requests(), ElementsAre("rdmsr 0 C0010061", "rdmsr 0 C0010065", "wrmsr 0 C0010065 3C003007 800001C3"));

    // Every field moves alone; derived numbers and the boolean are ignored; the definition's other bits stay.
    const struct {
        double CPstate::*pSlot;
        double dValue;
        const char* pszWritten;
    } kCases[] = {
        {&CPstate::dCpuFid, 63, "3C00303F 800001C3"},     {&CPstate::dCpuDid, 7, "3C0031C7 800001C3"},
        {&CPstate::dCpuVid, 127, "3C00FE07 800001C3"},    {&CPstate::dNbDid, 1, "3C403007 800001C3"},
        {&CPstate::dNbVid, 127, "FE003007 800001C3"},     {&CPstate::dIddDiv, 2, "3C003007 800002C3"},
        {&CPstate::dPstateEn, 0, "3C003007 000001C3"},    {&CPstate::dCoreFrequency, 1, "3C003007 800001C3"},
        {&CPstate::dCoreVoltage, 1, "3C003007 800001C3"},
    };
    for (const auto& [pSlot, dValue, pszWritten] : kCases) {
        Msr(0xC0010065) = 0x800001C33C003007;
        CPstate Changed = Pstate;
        Changed.*pSlot = dValue;
        Changed.bPstateEn = false;
        EXPECT_TRUE(m_Cpu.SetPstate(1, &Changed));
        EXPECT_THAT(Writes(), ElementsAre(std::string("wrmsr 0 C0010065 ") + pszWritten));
    }
}

TEST_F(Family10hCpu, RefusesADefinitionThatDoesNotFitBeforeAnythingIsWritten) {
    const struct {
        double CPstate::*pSlot;
        double dValue;
        const char* pszExpression;
    } kCases[] = {
        {&CPstate::dCpuFid, 64, "pPstate->dCpuFid == PstateReg.m_sReg.CpuFid"},
        {&CPstate::dCpuFid, -1, "pPstate->dCpuFid == PstateReg.m_sReg.CpuFid"},
        {&CPstate::dCpuFid, 1.5, "pPstate->dCpuFid == PstateReg.m_sReg.CpuFid"},
        {&CPstate::dCpuFid, kNan, "pPstate->dCpuFid == PstateReg.m_sReg.CpuFid"},
        {&CPstate::dCpuDid, 8, "pPstate->dCpuDid == PstateReg.m_sReg.CpuDid"},
        {&CPstate::dCpuVid, 128, "pPstate->dCpuVid == PstateReg.m_sReg.CpuVid"},
        {&CPstate::dNbDid, 2, "pPstate->dNbDid == PstateReg.m_sReg.NbDid"},
        {&CPstate::dNbVid, kInfinity, "pPstate->dNbVid == PstateReg.m_sReg.NbVid"},
        {&CPstate::dIddDiv, 4, "pPstate->dIddDiv == PstateReg.m_sReg.IddDiv"},
        {&CPstate::dPstateEn, 2, "pPstate->dPstateEn == PstateReg.m_sReg.PstateEn"},
    };
    CPstate Pstate;
    ASSERT_TRUE(m_Cpu.GetPstate(0, &Pstate));
    for (const auto& [pSlot, dValue, pszExpression] : kCases) {
        CPstate Changed = Pstate;
        Changed.*pSlot = dValue;
        EXPECT_FALSE(m_Cpu.SetPstate(0, &Changed));
        EXPECT_THAT(m_Log.TakeErrors(), ElementsAre(g_ProcessError(pszExpression, "CBrevikCPU::SetPstate")));
    }
    EXPECT_FALSE(m_Cpu.SetPstate(4, &Pstate));
    EXPECT_FALSE(m_Cpu.SetPstate(0, nullptr));
    EXPECT_THAT(m_Log.TakeErrors(), ElementsAre(g_ProcessError("uStateIndex <= PstateLimitReg.m_sReg.PstateMaxVal",
                                                               "CBrevikCPU::SetPstate"),
                                                g_ProcessError("pPstate", "CBrevikCPU::SetPstate")));
    EXPECT_THAT(Writes(), IsEmpty());
}

TEST_F(Family10hCpu, ReadsTheTwoHalvesOfTheBoostSwitch) {
    const struct {
        uint32_t uRegister84;
        uint64_t ullHwcr;
        bool bSupported, bEnabled;
    } kCases[] = {
        {0x1FFFFFFF, 0xFFFFFFFFFFFFFFF7, true, true},
        {0x20000000, 0x8, false, false},
        {0x80000000, 0x0, false, true},
        {0x00000000, 0x8, true, false},
    };
    for (const auto& [uRegister84, ullHwcr, bExpectedSupported, bExpectedEnabled] : kCases) {
        Machine().SetPciDword(kMiscControl, 0x84, uRegister84);
        Msr(0xC0010015) = ullHwcr;
        bool bSupported = !bExpectedSupported, bEnabled = !bExpectedEnabled;
        EXPECT_TRUE(m_Cpu.GetBoostState(&bSupported, &bEnabled));
        EXPECT_EQ(bSupported, bExpectedSupported) << std::hex << uRegister84;
        EXPECT_EQ(bEnabled, bExpectedEnabled) << std::hex << ullHwcr;
        EXPECT_THAT(Requests(), ElementsAre(kRead84, "rdmsr 0 C0010015"));
    }
    bool bOutput = true;
    EXPECT_FALSE(m_Cpu.GetBoostState(&bOutput, nullptr));
    EXPECT_FALSE(m_Cpu.GetBoostState(nullptr, &bOutput));
    EXPECT_THAT(Requests(), IsEmpty());
}

TEST_F(Family10hCpu, WritesTheTwoHalvesOfTheBoostSwitch) {
    const struct {
        bool bFirst, bSecond;
        const char *psz84, *pszCache, *pszHwcr;
    } kCases[] = {
        {true, true, "FFFFFF1F", "FFFFFFFC FFFFFFFF", "FFFFFFF7 FFFFFFFF"},
        {true, false, "FFFFFF1F", "FFFFFFFF FFFFFFFF", "FFFFFFFF FFFFFFFF"},
        {false, true, "FFFFFFBF", "FFFFFFFC FFFFFFFF", "FFFFFFF7 FFFFFFFF"},
        {false, false, "FFFFFFBF", "FFFFFFFF FFFFFFFF", "FFFFFFFF FFFFFFFF"},
    };
    for (const auto& [bFirst, bSecond, psz84, pszCache, pszHwcr] : kCases) {
        Machine().SetPciDword(kMiscControl, 0x84, 0xFFFFFFFF);
        Msr(0xC0011023) = Msr(0xC0010015) = ~uint64_t{0};
        EXPECT_TRUE(m_Cpu.SetBoostState(bFirst, bSecond));
        EXPECT_THAT(Requests(), ElementsAre(kRead84, std::string("memwr E00C3084 4 ") + psz84, "rdmsr 0 C0011023",
                                            std::string("wrmsr 0 C0011023 ") + pszCache, "rdmsr 0 C0010015",
                                            std::string("wrmsr 0 C0010015 ") + pszHwcr));
    }
    Machine().SetPciDword(kMiscControl, 0x84, 0);
    Msr(0xC0011023) = Msr(0xC0010015) = 0;
    EXPECT_TRUE(m_Cpu.SetBoostState(false, false));
    EXPECT_THAT(Writes(), ElementsAre("memwr E00C3084 4 000000A0", "wrmsr 0 C0011023 00000002 00000000",
                                      "wrmsr 0 C0010015 00000008 00000000"));
}

TEST_F(Family10hCpu, TakesTheTemperatureFromTheProcessorElseFromItsSmbusSensor) {
    const auto Temperature = [this] { return static_cast<const double*>(m_Cpu.GetThermTrip()); };
    Machine().SetPciDword(kMiscControl, 0xA4, 0x2A7FFFFF | 0x00200000);  // 0x153 eighths
    ASSERT_TRUE(Temperature());
    EXPECT_EQ(*Temperature(), 42.375);
    EXPECT_THAT(Requests(), ElementsAre("memrd E00C30A4 4", "memrd E00C30A4 4"));

    Machine().SetPciDword(kMiscControl, 0xA4, 0x001FFFFF);
    EXPECT_FALSE(Temperature()) << "no sensor answers on the bus";
    EXPECT_THAT(m_Log.TakeErrors(), ElementsAre(g_ProcessError("bRetCode", "CBrevikCPU::_ReadSBTSIRegister"),
                                                g_ProcessError("bRetCode", "CBrevikCPU::GetThermTrip")));
    auto& rSmbus = Machine().Plug<vxtsim::CSmbusHost>(vxt::g_GetDriverHandler().GetSMBusBase());
    std::vector<uint8_t>& rSensor = rSmbus.Device(0x4C);  // 98h as a 7-bit address
    rSensor.assign(0x20, 0xFF);
    rSensor[0x01] = 55, rSensor[0x10] = 0xBF;
    ASSERT_TRUE(Temperature());
    EXPECT_EQ(*Temperature(), 55.625);
}

TEST_F(Family10hCpu, WithoutHardwarePstatesTheGatedOperationsTouchNothing) {
    Restart({}, kPower & ~0x80u);
    TakeTrace();
    EXPECT_EQ(m_Cpu.GetCurrentMultiplier(), 0.0);
    EXPECT_THAT(TakeTrace(), ElementsAre("SetThreadAffinity")) << "the core itself is asked what it can do";
    EXPECT_EQ(m_Cpu.GetCurrentVoltage(), 0.0);
    EXPECT_EQ(m_Cpu.GetCurrentNBVoltage(), 0.0);
    EXPECT_FALSE(m_Cpu.SetCurrentMultiplier(10.0));
    EXPECT_FALSE(m_Cpu.SetCurrentVoltage(1.2));
    EXPECT_FALSE(m_Cpu.Init(0));
    EXPECT_THAT(Requests(), IsEmpty());
}

}  // namespace
