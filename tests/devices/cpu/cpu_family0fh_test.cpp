// Both generations of family 0Fh: what they read, and exactly what they ask of the hardware.
#include <cmath>
#include <limits>

#include "devices/cpu/cpu_fixture.h"
#include "sim/models/fid_vid.h"
#include "sim/models/thermal.h"
#include "support/devices.h"

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using vxttest::g_ProcessError;
using vxttest::kMiscControl;
using vxttest::Lines;

constexpr double kNan = std::numeric_limits<double>::quiet_NaN();
constexpr uint32_t kFirstSignature = 0x00020FB1, kRevisionFSignature = 0x00040F33, kG2Signature = 0x00060FB2;
constexpr uint32_t kRevisionFPower = 0x7F;

struct FirstK8Cpu : vxttest::CCpuTest<vxt::CCorvel64CPU> {
    // Status: published dump of a 2.0 GHz processor. It has no capability bits at all: this generation is not asked.
    FirstK8Cpu() { StartProcessor(kFirstSignature, 0, {{0xC0010041, 0}, {0xC0010042, 0x12060808060C0C0C}}); }
};
struct RevisionFCpu : vxttest::CCpuTest<vxt::CCorvel64X2CPU> {
    // Control and status: published dump of a 2.9 GHz processor.
    RevisionFCpu() { Restart(kRevisionFPower); }
    void Restart(uint32_t uPower, uint32_t uSignature = kRevisionFSignature) {
        StartProcessor(uSignature, uPower, {{0xC0010041, 0x0000000100000815}, {0xC0010042, 0x3106120806150215}});
    }
};

TEST_F(FirstK8Cpu, ReadsWhatTheDumpSays) {
    EXPECT_EQ(m_Cpu.GetCurrentMultiplier(), 10.0);
    EXPECT_EQ(m_Cpu.GetCurrentVoltage(), 1.35);
    EXPECT_THAT(Requests(), ElementsAre("rdmsr 0 C0010042", "rdmsr 0 C0010042"));
    ASSERT_TRUE(m_Cpu.Init(0));
    const vxt::CFvInfo& rInfo = m_Cpu.GetFvInfo();
    EXPECT_EQ(rInfo.dStartMultiplier, 10.0);
    EXPECT_EQ(m_Cpu.GetMaxMultiplier(), 10.0);
    EXPECT_EQ(m_Cpu.GetMaxRampVoltage(), 1.4);
    EXPECT_EQ(m_Cpu.GetStartVoltage(), 1.35);
    EXPECT_EQ(rInfo.dMaxVoltage, 1.4);
    EXPECT_EQ(rInfo.dMinVoltage, 1.1) << "a field of its own in this generation";
    EXPECT_TRUE(m_Cpu.IsMultiplierLimited());
    EXPECT_FALSE(m_Cpu.GetSecondCapability());
    EXPECT_EQ(m_Cpu.GetNominalFrequency(), 2000e6);
}

TEST_F(RevisionFCpu, ReadsWhatTheDumpSays) {
    EXPECT_EQ(m_Cpu.GetCurrentMultiplier(), 14.5);
    EXPECT_EQ(m_Cpu.GetCurrentVoltage(), 1.35);
    ASSERT_TRUE(m_Cpu.Init(0));
    const vxt::CFvInfo& rInfo = m_Cpu.GetFvInfo();
    EXPECT_EQ(rInfo.dStartMultiplier, 5.0);
    EXPECT_EQ(m_Cpu.GetMaxMultiplier(), 14.5);
    EXPECT_EQ(m_Cpu.GetMaxRampVoltage(), 1.4);
    EXPECT_EQ(m_Cpu.GetStartVoltage(), 1.1);
    EXPECT_EQ(rInfo.dMaxVoltage, 1.4);
    EXPECT_EQ(rInfo.dMinVoltage, 1.1) << "the start voltage again";
    EXPECT_TRUE(m_Cpu.GetSecondCapability()) << "moves by half multipliers";
}

TEST_F(RevisionFCpu, TheFourthNumberIsTheStartVoltageWhereTheFirstGenerationReadsAField) {
    constexpr uint64_t kStatus = uint64_t{0x1F << 24 | 0x02 << 16 | 0x0C << 8} << 32;
    Msr(0xC0010042) = kStatus;
    ASSERT_TRUE(m_Cpu.Init(0));
    EXPECT_EQ(m_Cpu.GetFvInfo().dMinVoltage, 1.25);
    EXPECT_EQ(m_Cpu.GetFvInfo().dMaxVoltage, 1.5);
    EXPECT_TRUE(m_Cpu.UnInit());
    StartProcessor(kFirstSignature, 0, {{0xC0010042, kStatus}});
    auto First = g_Make<vxt::CCorvel64CPU>();
    ASSERT_TRUE(First.Init(0));
    EXPECT_EQ(First.GetFvInfo().dMinVoltage, 0.775);
    EXPECT_EQ(First.GetStartVoltage(), 1.25);
    EXPECT_TRUE(First.UnInit());
}

TEST_F(RevisionFCpu, AMaximumCodeOf2AhMeansNoLimitAndAMultiplierOf25) {
    const struct {
        uint64_t ullStatus;
        double dMaximum;
        bool bLimited;
    } kCases[] = {
        {0x002A0000, 25.0, false}, {0x002B0000, 25.5, true}, {0x00290000, 24.5, true}, {0x003F0000, 35.5, true}};
    for (const auto& [ullStatus, dMaximum, bLimited] : kCases) {
        Msr(0xC0010042) = ullStatus;
        ASSERT_TRUE(m_Cpu.Init(0));
        EXPECT_EQ(m_Cpu.GetMaxMultiplier(), dMaximum) << std::hex << ullStatus;
        EXPECT_EQ(m_Cpu.IsMultiplierLimited(), bLimited) << std::hex << ullStatus;
    }
}

TEST_F(FirstK8Cpu, StartsATransitionAndDoesNotWaitForIt) {
    const struct {
        const char* pszCase;
        bool bVoltage;
        double dValue;
        const char* pszWritten;
    } kCases[] = {
        {"multiplier", false, 5.0, "FFFFFFC2 A5A5A5A5"},
        {"highest code", false, 35.5, "FFFFFFFF A5A5A5A5"},
        {"within the tolerance", false, 4.000009, "FFFFFFC0 A5A5A5A5"},
        {"between two codes: written as it was", false, 4.25, "FFFFFFFF A5A5A5A5"},
        {"far too high", false, 1e300, "FFFFFFFF A5A5A5A5"},
        {"not a number", false, kNan, "FFFFFFFF A5A5A5A5"},
        {"voltage", true, 1.1, "FFFFF2FF A5A5A5A5"},
        {"halfway: the first in the table", true, 1.3375, "FFFFE8FF A5A5A5A5"},
        {"code 32 is cut to five bits", true, 0.755, "FFFFE0FF A5A5A5A5"},
        {"code 62 is cut to five bits", true, 0.38, "FFFFFEFF A5A5A5A5"},
        {"off", true, 0.0, "FFFFFFFF A5A5A5A5"},
        {"too high", true, 1.6, "FFFFFFFF A5A5A5A5"},
    };
    for (const auto& [pszCase, bVoltage, dValue, pszWritten] : kCases) {
        SCOPED_TRACE(pszCase);
        Msr(0xC0010041) = 0xA5A5A5A5FFFEFFFF;  // the start bit is clear
        EXPECT_TRUE(bVoltage ? m_Cpu.SetCurrentVoltage(dValue) : m_Cpu.SetCurrentMultiplier(dValue));
        EXPECT_THAT(Requests(), ElementsAre("rdmsr 0 C0010041", std::string("wrmsr 0 C0010041 ") + pszWritten));
        EXPECT_THAT(m_Log.TakeErrors(), IsEmpty());
    }
}

TEST_F(RevisionFCpu, StartsATransitionAndWaitsForItsEnd) {
    const struct {
        const char* pszCase;
        bool bVoltage;
        double dValue;
        const char* pszWritten;
    } kCases[] = {
        {"multiplier", false, 5.0, "FFFFFFC2 FFF00001"},
        {"not in the table: written as it was", false, 5.2, "FFFFFFFF FFF00001"},
        {"voltage", true, 1.35, "FFFFC8FF FFF00001"},
        {"halfway: the first in the table", true, 1.3375, "FFFFC8FF FFF00001"},
        {"six bits: 0.755 is code 32", true, 0.755, "FFFFE0FF FFF00001"},
        {"code 62", true, 0.38, "FFFFFEFF FFF00001"},
        {"not in the table: written as it was", true, 2.0, "FFFFFFFF FFF00001"},
    };
    auto& rModel = Machine().Plug<vxtsim::CFidVid>(true);
    rModel.m_ullDelay = 12'000;  // a request takes 5 us: pending for two reads after the write
    for (const auto& [pszCase, bVoltage, dValue, pszWritten] : kCases) {
        SCOPED_TRACE(pszCase);
        Msr(0xC0010041) = 0xFFFFFFFFFFFEFFFF;
        EXPECT_TRUE(bVoltage ? m_Cpu.SetCurrentVoltage(dValue) : m_Cpu.SetCurrentMultiplier(dValue));
        EXPECT_THAT(Requests(), ElementsAre("rdmsr 0 C0010041", std::string("wrmsr 0 C0010041 ") + pszWritten,
                                            "rdmsr 0 C0010042", "rdmsr 0 C0010042", "rdmsr 0 C0010042"));
        EXPECT_THAT(m_Log.TakeErrors(), IsEmpty());
    }
}

TEST_F(RevisionFCpu, WaitsWithoutLimitUntilAReadFails) {
    Machine().Plug<vxtsim::CFidVid>(true).m_bStuck = true;
    System().m_RequestFaults = vxtsim::CFaultPlan::After(5000);
    EXPECT_FALSE(m_Cpu.SetCurrentMultiplier(5.0));
    EXPECT_EQ(Requests().size(), 5000u);
    EXPECT_EQ(m_Log.TakeErrors().back(), g_ProcessError("bRetCode", "CCorvel64X2CPU::SetCurrentMultiplier"));
}

TEST_F(RevisionFCpu, WithoutBothControlsNothingIsTouched) {
    for (const uint32_t uPower : {0x00u, 0x02u, 0x04u, 0x79u, 0x7Bu, 0x7Du}) {
        SCOPED_TRACE(uPower);
        Restart(uPower);
        Requests();
        EXPECT_EQ(m_Cpu.GetCurrentMultiplier(), 0.0);
        EXPECT_EQ(m_Cpu.GetCurrentVoltage(), 0.0);
        EXPECT_FALSE(m_Cpu.SetCurrentMultiplier(5.0));
        EXPECT_FALSE(m_Cpu.SetCurrentVoltage(1.1));
        EXPECT_FALSE(m_Cpu.Init(0));
        EXPECT_EQ(m_Log.TakeErrors(), Lines{g_ProcessError("bRetCode", "CCorvel64X2CPU::Init")});
        EXPECT_THAT(Requests(), IsEmpty());
    }
    Restart(0x06);
    EXPECT_EQ(m_Cpu.GetCurrentMultiplier(), 14.5) << "the two alone are enough";
    ASSERT_TRUE(m_Cpu.Init(0));
    EXPECT_FALSE(m_Cpu.GetSecondCapability());
}

TEST_F(FirstK8Cpu, ReadsASignedThermalOffset) {
    const struct {
        uint32_t uRegister;
        int32_t nOffset;
    } kCases[] = {{0x00000000, 0},  {0x00001F00, 31}, {0x00003F00, 63},
                  {0x01000500, -5}, {0xFEFFC1FF, 1},  {0x01003F00, -63}};
    for (const auto& [uRegister, nOffset] : kCases) {
        Machine().SetPciDword(kMiscControl, 0xE4, uRegister);
        const auto* const pnOffset = static_cast<const int32_t*>(m_Cpu.GetThermTrip());
        ASSERT_TRUE(pnOffset);
        EXPECT_EQ(*pnOffset, nOffset) << std::hex << uRegister;
    }
    System().m_RequestFaults = vxtsim::CFaultPlan::After(0, vxtsim::EFault::kFail, true);
    EXPECT_EQ(m_Cpu.GetThermTrip(), nullptr);
    EXPECT_EQ(m_Log.TakeErrors().back(), g_ProcessError("bRetCode", "CCorvel64CPU::GetThermTrip"));
}

TEST_F(RevisionFCpu, SelectsItsOwnCoresSensorAndKeepsTheUnsignedTemperature) {
    auto& rSensors = Machine().Plug<vxtsim::CThermalSelect>();
    const struct {
        uint32_t uCore;
        int nCelsius;
        const char* pszWritten;
        double dCelsius;
    } kCases[] = {
        {0, 41, "020394A5", 41.0},
        {1, 38, "060394A5", 38.0},
        {2, 20, "020394A5", 20.0},  // the lowest bit of the index selects
        {0, 0, "020394A5", 0.0},
        {0, -1, "020394A5", 4294967295.0},
        {1, -49, "060394A5", 4294967247.0},
    };
    for (const auto& [uCore, nCelsius, pszWritten, dCelsius] : kCases) {
        ASSERT_TRUE(m_Cpu.Init(uCore));
        for (const uint32_t uAnyCore : {0u, 1u})
            rSensors.SetCelsius(uAnyCore, 0, 99), rSensors.SetCelsius(uAnyCore, 1, 99);
        rSensors.SetCelsius(uCore, 0, nCelsius);
        Machine().SetPciDword(kMiscControl, 0xE4, 0xA5000346);  // core 1, second sensor
        Requests();
        const auto* const pdCelsius = static_cast<const double*>(m_Cpu.GetThermTrip());
        ASSERT_TRUE(pdCelsius);
        EXPECT_EQ(*pdCelsius, dCelsius) << uCore;
        EXPECT_THAT(Requests(), ElementsAre("pcird 0:18.3 E4 4", std::string("pciwr 0:18.3 E4 4 ") + pszWritten,
                                            "pcird 0:18.3 E4 4"));
    }
}

TEST_F(RevisionFCpu, LaterModelsReadNoTemperature) {
    Restart(kRevisionFPower, kG2Signature);
    Machine().SetPciDword(kMiscControl, 0xE4, 0x0041A03E);
    ASSERT_TRUE(m_Cpu.Init(0));
    const auto* const pdCelsius = static_cast<const double*>(m_Cpu.GetThermTrip());
    ASSERT_TRUE(pdCelsius);
    EXPECT_EQ(*pdCelsius, 0.0);
}

}  // namespace
