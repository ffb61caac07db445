// The family 11h core, where it differs from family 10h.
#include <limits>

#include "devices/cpu/cpu_fixture.h"

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using vxtapi::CPstate;
using vxttest::g_ProcessError;
using vxttest::kMiscControl;
using vxttest::Lines;
using vxttest::Msrs;

constexpr uint32_t kSignature = 0x00200F31, kPower = 0x1F9;

// P-state 0 is the published 2.1 GHz state's fields doubled in clock: FID 13, DID 0, code 28; 1 is published: FID 13,
// DID 1, code 48, 1050 MHz, 0.95 V, as are the voltage limits, codes 28 and 64.
const Msrs kRegisters = {
    {0xC0010061, 0x20},
    {0xC0010062, 0},
    {0xC0010063, 1},
    {0xC0010064, 0x800001000000380D},
    {0xC0010065, 0x800001000000604D},
    {0xC0010066, 0x80000100000080C0},
    {0xC0010069, 0x8000010000006042},
    {0xC0010070, 0x000000000001604D},
    {0xC0010071, uint64_t{64 << 10 | 28 << 3} << 32 | 0x0001604D},
    {0xC0010015, 0x01000000},
};

/// Shows the helper that hosts of the class's heirs use.
struct CTalvorPeek : vxt::CTalvorCPU {
    using CTalvorCPU::_CheckTscFreqSel;
    using CTalvorCPU::CTalvorCPU;
};

struct Family11hCpu : vxttest::CCpuTest<CTalvorPeek> {
    Family11hCpu() { Restart(); }
    void Restart(const std::function<void(Msrs&)>& Change = {}, uint32_t uPower = kPower) {
        Msrs Registers = kRegisters;
        if (Change) Change(Registers);
        StartProcessor(kSignature, uPower, Registers);
    }
};

TEST_F(Family11hCpu, CountsFrequencyIdsFromEight) {
    EXPECT_EQ(m_Cpu.GetCurrentMultiplier(), 5.25);
    EXPECT_EQ(m_Cpu.GetCurrentVoltage(), 0.95);
    EXPECT_THAT(Requests(), ElementsAre("rdmsr 0 C0010071", "rdmsr 0 C0010071"));
    Msr(0xC0010071) = 0;
    EXPECT_EQ(m_Cpu.GetCurrentMultiplier(), 4.0);
    EXPECT_EQ(m_Cpu.GetCurrentVoltage(), 1.55);
}

TEST_F(Family11hCpu, InitTakesThePstateNumberAndTheLimitFromTheLowHalfOfTheStatus) {
    const struct {
        const char* pszCase;
        uint32_t uStatusLow;
        const char* pszDefinition;
        double dStart, dStartVolts, dMaximum;  ///< the last as it was where bits 22:17 are clear: 0 at first
    } kCases[] = {
        // FID 13 ends in 101b: definition 5 is read, whatever the current P-state is.
        {"FID 13", 0x0000604D, "rdmsr 0 C0010069", 2.5, 0.95, 0.0},
        {"FID 8, P-state 0", 0x00006048, "rdmsr 0 C0010064", 10.5, 1.2, 0.0},
        {"FID 9, P-state 1 leaves bits 22:17 clear", 0x00016049, "rdmsr 0 C0010065", 5.25, 0.95, 0.0},
        {"FID 10, bits 22:17 hold 13", 0x001A604A, "rdmsr 0 C0010066", 0.5, 0.75, 10.5},
        {"FID 8, bits 22:17 clear again", 0x00006048, "rdmsr 0 C0010064", 10.5, 1.2, 10.5},
        {"FID 8, bits 22:17 hold 31", 0x003E6048, "rdmsr 0 C0010064", 10.5, 1.2, 19.5},
        {"FID 8, bits 22:17 hold 1", 0x00026048, "rdmsr 0 C0010064", 10.5, 1.2, 4.5},
    };
    for (const auto& [pszCase, uStatusLow, pszDefinition, dStart, dStartVolts, dMaximum] : kCases) {
        SCOPED_TRACE(pszCase);
        Restart([uStatusLow = uStatusLow](Msrs& rMsrs) {
            rMsrs[0xC0010071] = (rMsrs[0xC0010071] & 0xFFFFFFFF00000000) | uStatusLow;
        });
        Requests();
        ASSERT_TRUE(m_Cpu.Init(0));
        EXPECT_THAT(Requests(), ElementsAre("rdmsr 0 C0010071", pszDefinition, "rdmsr 0 C0010064", "map FEE00300 100"));
        EXPECT_EQ(m_Cpu.GetFvInfo().dStartMultiplier, dStart);
        EXPECT_EQ(m_Cpu.GetStartVoltage(), dStartVolts);
        EXPECT_EQ(m_Cpu.GetMaxMultiplier(), dMaximum);
        EXPECT_EQ(m_Cpu.IsMultiplierLimited(), (uStatusLow & 0x007E0000) != 0);
        EXPECT_EQ(m_Cpu.GetFvInfo().dPstate0Multiplier, 10.5);
        EXPECT_EQ(m_Cpu.GetFvInfo().dMaxVoltage, 1.2);
        EXPECT_EQ(m_Cpu.GetFvInfo().dMinVoltage, 0.75);
        EXPECT_TRUE(m_Cpu.UnInit());
    }
}

TEST_F(Family11hCpu, AVoltageLimitThatIsNotThereReadsAsNone) {
    Restart([](Msrs& rMsrs) { rMsrs[0xC0010071] = 0x6048; });
    ASSERT_TRUE(m_Cpu.Init(0));
    EXPECT_EQ(m_Cpu.GetFvInfo().dMinVoltage, 0.0);
    EXPECT_EQ(m_Cpu.GetFvInfo().dMaxVoltage, 0.0);
}

TEST_F(Family11hCpu, SetsAMultiplierWithoutRangeCheckAndWithoutWaiting) {
    constexpr double kNan = std::numeric_limits<double>::quiet_NaN();
    const struct {
        const char* pszCase;
        uint64_t ullControl;
        double dMultiplier;
        const char *pszNeighbour, *pszWanted;
    } kCases[] = {
        {"DID 0: 9 is FID 10", 0x1234567800006000, 9.0, "00016000 12345678", "0000600A 12345678"},
        {"P-state 2 goes by 1", 0x0000000000026000, 9.0, "00016000 00000000", "0002600A 00000000"},
        {"P-state 7 goes by 6", 0x00000000FFFFFE3F, 9.0, "FFFEFE3F 00000000", "FFFFFE0A 00000000"},
        {"the divisor stays: 5 by 2 is FID 12", 0x0000000000016040, 5.0, "00006040 00000000", "0001604C 00000000"},
        {"halves are cut before the divisor: 5.25 by 2 is FID 12 too", 0x0000000000016040, 5.25, "00006040 00000000",
         "0001604C 00000000"},
        {"too high: cut to six bits", 0x0000000000006000, 40.0, "00016000 00000000", "00006008 00000000"},
        {"too low: wraps to 3Eh", 0x0000000000006000, 3.0, "00016000 00000000", "0000603E 00000000"},
        {"negative", 0x0000000000006000, -1.0, "00016000 00000000", "00006036 00000000"},
        {"no number at all", 0x0000000000006000, kNan, "00016000 00000000", "00006038 00000000"},
        {"beyond every integer", 0x0000000000006000, 1e300, "00016000 00000000", "00006038 00000000"},
        {"the present one is written too", 0x000000000000600A, 9.0, "0001600A 00000000", "0000600A 00000000"},
    };
    for (const auto& [pszCase, ullControl, dMultiplier, pszNeighbour, pszWanted] : kCases) {
        SCOPED_TRACE(pszCase);
        Msr(0xC0010070) = ullControl;
        EXPECT_TRUE(m_Cpu.SetCurrentMultiplier(dMultiplier));
        EXPECT_THAT(Requests(), ElementsAre("rdmsr 0 C0010070", std::string("wrmsr 0 C0010070 ") + pszNeighbour,
                                            std::string("wrmsr 0 C0010070 ") + pszWanted));
        EXPECT_THAT(m_Log.TakeErrors(), IsEmpty());
    }
}

TEST_F(Family11hCpu, SetsAVoltageWithoutWaiting) {
    EXPECT_TRUE(m_Cpu.SetCurrentVoltage(1.05));
    EXPECT_THAT(Requests(), ElementsAre("rdmsr 0 C0010070", "wrmsr 0 C0010070 0000604D 00000000",
                                        "wrmsr 0 C0010070 0001504D 00000000"));
}

TEST_F(Family11hCpu, SharesThePstateDefinitionsOfFamily10h) {
    CPstate Pstate;
    EXPECT_EQ(m_Cpu.GetMaxPstate(), 2u);
    ASSERT_TRUE(m_Cpu.GetPstate(1, &Pstate));
    EXPECT_EQ(Pstate.dCpuFid, 13);
    EXPECT_EQ(Pstate.dCpuDid, 1);
    EXPECT_EQ(Pstate.dCoreFrequency, 1000) << "1050 MHz, cut to whole hundreds";
    EXPECT_EQ(Pstate.dCoreVoltage, 0.95);
    EXPECT_EQ(Pstate.dNbFrequency, 0) << "this family's north bridge has a clock of its own";
    EXPECT_FALSE(m_Cpu.GetPstate(3, &Pstate));
    EXPECT_EQ(m_Log.TakeErrors().back(),
              g_ProcessError("uStateIndex <= PstateLimitReg.m_sReg.PstateMaxVal", "CTalvorCPU::GetPstate"));
    EXPECT_EQ(m_Cpu.GetCurPstate(), 1u);
    EXPECT_TRUE(m_Cpu.SetCurPstate(2));
}

TEST_F(Family11hCpu, HasNoNorthBridgeClockAndNoBoostSwitch) {
    bool bSupported = true, bEnabled = true;
    EXPECT_EQ(m_Cpu.GetCurrentNBMultiplier(), 0.0);
    EXPECT_EQ(m_Cpu.GetCurrentNBVoltage(), 0.0);
    EXPECT_FALSE(m_Cpu.GetBoostState(&bSupported, &bEnabled));
    EXPECT_FALSE(bSupported || bEnabled);
    EXPECT_FALSE(m_Cpu.SetBoostState(true, true));
    EXPECT_THAT(Requests(), IsEmpty());
}

TEST_F(Family11hCpu, ReadsItsTemperature) {
    Machine().SetPciDword(kMiscControl, 0xA4, 0x2A7FFFFF);
    const auto* const pdCelsius = static_cast<const double*>(m_Cpu.GetThermTrip());
    ASSERT_TRUE(pdCelsius);
    EXPECT_EQ(*pdCelsius, 42.375);
    Machine().SetPciDword(kMiscControl, 0xA4, 0);
    ASSERT_TRUE(m_Cpu.GetThermTrip());
    EXPECT_EQ(*pdCelsius, 0.0) << "no second sensor is asked";
}

TEST_F(Family11hCpu, WithoutHardwarePstatesNothingIsTouched) {
    Restart({}, kPower & ~0x80u);
    Requests();
    EXPECT_EQ(m_Cpu.GetCurrentMultiplier(), 0.0);
    EXPECT_EQ(m_Cpu.GetCurrentVoltage(), 0.0);
    EXPECT_FALSE(m_Cpu.SetCurrentMultiplier(9.0));
    EXPECT_FALSE(m_Cpu.SetCurrentVoltage(1.0));
    EXPECT_FALSE(m_Cpu.Init(0));
    EXPECT_THAT(Requests(), IsEmpty());
}

TEST_F(Family11hCpu, TheTimeStampCounterIsSteadyWhenTheFrequencySelectSaysSo) {
    EXPECT_FALSE(m_Cpu._CheckTscFreqSel()) << "before Init nobody knows the family";
    EXPECT_THAT(Requests(), IsEmpty());
    ASSERT_TRUE(m_Cpu.Init(0));
    EXPECT_TRUE(m_Cpu._CheckTscFreqSel());
    Msr(0xC0010015) = 0xFFFFFFFFFEFFFFFF;
    EXPECT_FALSE(m_Cpu._CheckTscFreqSel());
    Machine().RemoveMsr(0, 0xC0010015);
    EXPECT_FALSE(m_Cpu._CheckTscFreqSel());
    EXPECT_EQ(m_Log.TakeErrors().back(), g_ProcessError("bRetCode", "CTalvorCPU::_CheckTscFreqSel"));
}

}  // namespace
