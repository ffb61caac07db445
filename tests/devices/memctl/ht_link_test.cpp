// The processor's HyperTransport links: what each register bit means, and the steps to a fast link.
#include <cstring>
#include <limits>

#include "devices/memctl/memctl_devices.h"
#include "sim/models/link_phy.h"
#include "support/devices.h"
#include "support/simulated_pc.h"
#include "support/text_cases.h"

namespace {

using ::testing::ElementsAre;
using ::testing::ElementsAreArray;
using ::testing::IsEmpty;
using vxtapi::HTConfig;
using vxtsim::CLinkPhy;
using vxttest::g_ProcessError;
using vxttest::Lines;

constexpr vxtsim::CPciAddress kLinks{0, 24, 0};
constexpr uint32_t kOnes = 0xFFFFFFFF;
constexpr double kNan = std::numeric_limits<double>::quiet_NaN(), kInfinity = std::numeric_limits<double>::infinity();

// Which bit of the control word each flag of the record is: twelve control bits, then the four of flow control.
constexpr uint32_t kFlagBits[] = {1, 2, 3, 6, 7, 8, 9, 11, 12, 13, 14, 15, 19, 23, 27, 31};
constexpr uint32_t kOtherBits = 0x77770431;

std::vector<uint8_t*> g_Flags(HTConfig& rConfig) {
    std::vector<uint8_t*> Flags;
    for (uint8_t& rucFlag : rConfig.abControl) Flags.push_back(&rucFlag);
    Flags.insert(Flags.end(), {&rConfig.bMaxInFlowControl, &rConfig.bMaxOutFlowControl, &rConfig.bInFlowControl,
                               &rConfig.bOutFlowControl});
    return Flags;
}

/// Widths in and out, frequency and its maximum, revision.
std::string g_Numbers(const HTConfig& rConfig) {
    return vxttest::g_Text(rConfig.dInWidth, rConfig.dOutWidth, rConfig.dFrequency, rConfig.dMaxFrequency,
                           rConfig.uRevisionMajor, rConfig.uRevisionMinor);
}

// The numbers of the record: register of link 0, low bit, and the value of each code.
const std::vector<double> kWidths = {8, 16, -1, 32, 2, 4, -1, -1},
                          kFrequencies = {1, -1, 2, -1, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, -1};
struct CField {
    double HTConfig::*pValue;
    uint32_t uRegister, uLow;
    const std::vector<double>& rValues;
};
const CField kFields[] = {
    {&HTConfig::dMaxInWidth, 0x84, 16, kWidths},    {&HTConfig::dMaxOutWidth, 0x84, 20, kWidths},
    {&HTConfig::dInWidth, 0x84, 24, kWidths},       {&HTConfig::dOutWidth, 0x84, 28, kWidths},
    {&HTConfig::dFrequency, 0x88, 8, kFrequencies},
};

struct HtLink : vxttest::CSimulatedPc {
    struct CFamily {
        const char* pszClass;
        uint16_t usDevice;
        uint32_t uLinks;
        bool bFast;
        vxtapi::CHTLink& rLink;
        const wchar_t* pszModel;
    };

    /// A board without a configuration window (each access is one request, and nothing stands in for it) or with one.
    void Boot(const CFamily& rFamily, const char* pszMachine = kDefaultMachine) {
        Start(pszMachine, [&](vxtsim::CMachineDescription& rMachine) {
            std::memcpy(&rMachine.Pci.at(kLinks)[2], &rFamily.usDevice, 2);
        });
        ASSERT_TRUE(StartDriver());
        ASSERT_TRUE(rFamily.rLink.Init(0));
        EXPECT_THAT(TakeTrace(), IsEmpty()) << "the driver's list tells where the links are";
    }
    uint32_t Register(uint32_t uOffset) { return Machine().PciDword(kLinks, uOffset); }
    void SetRegister(uint32_t uOffset, uint32_t uValue) { Machine().SetPciDword(kLinks, uOffset, uValue); }
    void SetLink(uint32_t uLink, uint32_t uControl, uint32_t uFrequency) {
        SetRegister(0x84 + 0x20 * uLink, uControl), SetRegister(0x88 + 0x20 * uLink, uFrequency);
    }
    CLinkPhy& Phy() { return *Machine().Model<CLinkPhy>(); }

    vxt::CHTLink m_K8 = g_Make<vxt::CHTLink>();
    vxt::CBrevikHTLink m_10h = g_Make<vxt::CBrevikHTLink>();
    vxt::CTalvorHTLink m_11h = g_Make<vxt::CTalvorHTLink>();
    const CFamily m_aFamilies[3] = {
        {"CHTLink", 0x1100, 3, false, m_K8, L"HyperTransport(TM) Link Controller"},
        {"CBrevikHTLink", 0x1200, 4, true, m_10h, L"HyperTransport(TM) 3 Link Controller"},
        {"CTalvorHTLink", 0x1300, 4, true, m_11h, L"QOR Family 11h Processor HyperTransport(TM) 3 Link Controller"},
    };
};

// --- finding the links ---

TEST_F(HtLink, EachMachineHasTheLinksOfItsProcessorAndNoOther) {
    const struct {
        const char* pszMachine;
        size_t uFamily;
        const char* pszRead;
    } kMachines[] = {
        {"k8-first", 0, "16 16 4 5 1 2"},         {"k8-revf-dual", 0, "16 16 5 5 1 2"},
        {"family10h-ddr2", 1, "16 16 5 5 1 2"},   {"family10h-ddr3", 1, "16 16 10 10 3 0"},
        {"family11h-mobile", 2, "16 16 8 8 3 0"},
    };
    for (const auto& [pszMachine, uFamily, pszRead] : kMachines) {
        SCOPED_TRACE(pszMachine);
        Start(pszMachine);
        ASSERT_TRUE(StartDriver());
        for (size_t i = 0; i < 3; ++i) {
            const CFamily& rFamily = m_aFamilies[i];
            EXPECT_EQ(rFamily.rLink.Init(0), i == uFamily);
            const std::string sLine = g_ProcessError("bRetCode", rFamily.pszClass + std::string("::Init"));
            EXPECT_EQ(m_Log.TakeErrors(), i == uFamily ? Lines{} : Lines{sLine});
            EXPECT_FALSE(rFamily.rLink.Init(1)) << "one device drives all links";
            EXPECT_THAT(m_Log.TakeErrors(), IsEmpty());
        }
        vxtapi::CHTLink& rLink = m_aFamilies[uFamily].rLink;
        EXPECT_EQ(rLink.GetIndex(), 0u);
        EXPECT_STREQ(rLink.GetModel(), m_aFamilies[uFamily].pszModel);
        HTConfig Config;
        ASSERT_TRUE(rLink.GetHTConfig(0, &Config));
        EXPECT_EQ(g_Numbers(Config), pszRead);
    }
}

TEST_F(HtLink, RefusesLinksThatTheFamilyDoesNotHaveAndNoRecord) {
    for (const CFamily& rFamily : m_aFamilies) {
        SCOPED_TRACE(rFamily.pszClass);
        Boot(rFamily);
        const std::string sClass = rFamily.pszClass, sCheck = "uIndex < " + std::to_string(rFamily.uLinks);
        HTConfig Config;
        for (const uint32_t uLink : {rFamily.uLinks, kOnes}) {
            EXPECT_FALSE(rFamily.rLink.GetHTConfig(uLink, &Config));
            EXPECT_FALSE(rFamily.rLink.SetHTConfig(uLink, &Config));
            EXPECT_THAT(m_Log.TakeErrors(), ElementsAre(g_ProcessError(sCheck, sClass + "::GetHTConfig"),
                                                        g_ProcessError(sCheck, sClass + "::SetHTConfig")));
        }
        EXPECT_FALSE(rFamily.rLink.GetHTConfig(0, nullptr));
        EXPECT_FALSE(rFamily.rLink.SetHTConfig(0, nullptr));
        EXPECT_THAT(m_Log.TakeErrors(), ElementsAre(g_ProcessError("pConfig", sClass + "::GetHTConfig"),
                                                    g_ProcessError("pConfig", sClass + "::SetHTConfig")));
        EXPECT_THAT(TakeTrace(), IsEmpty());
        EXPECT_TRUE(rFamily.rLink.GetHTConfig(rFamily.uLinks - 1, &Config));
    }
}

TEST_F(HtLink, ReadsAndWritesABlockAsAWhole) {
    Boot(m_aFamilies[1]);
    SetRegister(0xE0, 0x21010008), SetLink(3, 0x11110020, 0x0FF50660);
    HTConfig Config;
    ASSERT_TRUE(m_10h.GetHTConfig(3, &Config));
    EXPECT_THAT(TakeTrace(), ElementsAre("memrd E00C00E0 C"));
    Config.dOutWidth = 8, Config.dFrequency = 4;
    ASSERT_TRUE(m_10h.SetHTConfig(3, &Config));
    EXPECT_THAT(TakeTrace(), ElementsAre("memrd E00C00E0 C", "memwr E00C00E0 C 08000121200011016005F50F"));
}

// --- what the bits mean ---

// Registers that the owners of real machines published. Widths, clock (1000 MHz) and revision of the first and widths
// and revision of the second as an independent tool printed them; the others were published without a print.
TEST_F(HtLink, DecodesTheLinksOfRealMachines) {
    const struct {
        const char* pszCase;
        uint32_t uLink, uControl, uFrequency;
        const char* pszRead;
        bool bOff;  ///< the end of the chain: its transmitter is off
    } kDumps[] = {
        {"84 and 88 of a 00060FB2", 0, 0x11110020, 0x80750622, "16 16 5 5 1 2", false},
        {"84 and 88", 0, 0x11110020, 0x80750522, "16 16 4 5 1 2", false},
        {"A4 and A8, not connected", 1, 0x771100D0, 0x80750022, "-1 -1 1 5 1 2", true},
        {"C4 and C8", 2, 0x11110020, 0x80750522, "16 16 4 5 1 2", false},
        {"C4 and C8, not connected", 2, 0x771100D0, 0x80750022, "-1 -1 1 5 1 2", true},
    };
    Boot(m_aFamilies[0]);
    for (const auto& [pszCase, uLink, uControl, uFrequency, pszRead, bOff] : kDumps) {
        SCOPED_TRACE(pszCase);
        SetLink(uLink, uControl, uFrequency);
        HTConfig Config;
        ASSERT_TRUE(m_K8.GetHTConfig(uLink, &Config));
        EXPECT_EQ(g_Numbers(Config), pszRead);
        EXPECT_EQ(Config.dMaxInWidth + Config.dMaxOutWidth, 32);
        const std::vector<uint8_t*> Flags = g_Flags(Config);
        for (size_t i = 0; i < Flags.size(); ++i) EXPECT_EQ(*Flags[i], bOff && (i == 3 || i == 4)) << "flag " << i;
    }
}

TEST_F(HtLink, ReportsEachControlBitInItsFlagAndTheLowerCrcErrorNever) {
    Boot(m_aFamilies[1]);
    for (uint32_t uBit = 0; uBit < 32; ++uBit) {
        SetLink(0, 1u << uBit, 0);
        HTConfig Config;
        ASSERT_TRUE(m_10h.GetHTConfig(0, &Config));
        const std::vector<uint8_t*> Flags = g_Flags(Config);
        for (size_t i = 0; i < Flags.size(); ++i)
            EXPECT_EQ(*Flags[i], kFlagBits[i] == uBit && uBit != 8) << "bit " << uBit << ", flag " << i;
    }
}

TEST_F(HtLink, WritesEachFlagIntoItsBitAndKeepsWhatNoFlagNames) {
    Boot(m_aFamilies[1]);
    for (const uint32_t uStart : {0u, kOnes})
        for (const uint8_t ucByte :
             std::initializer_list<uint8_t>{0, 1, 2, 0xFF})  // a host may put any number into a byte
            for (size_t i = 0; i < std::size(kFlagBits); ++i) {
                SetLink(0, uStart, uStart);
                HTConfig Config{};  // no width and no frequency is 0: they stay
                *g_Flags(Config)[i] = ucByte;
                ASSERT_TRUE(m_10h.SetHTConfig(0, &Config));
                EXPECT_EQ(Register(0x84), (uStart & kOtherBits) | (ucByte ? 1u << kFlagBits[i] : 0)) << i;
                EXPECT_EQ(Register(0x88), uStart) << i;
            }
}

TEST_F(HtLink, EveryWidthAndFrequencyGoesThereAndBackAndTouchesNothingElse) {
    for (const CFamily& rFamily : m_aFamilies) {
        Boot(rFamily);
        for (const CField& rField : kFields)
            for (const uint32_t uStart : {0u, kOnes}) {
                const uint32_t uMask = static_cast<uint32_t>(rField.rValues.size() - 1) << rField.uLow;
                // The rest of a record without flags and with revision 0, which only K8 writes back.
                const uint32_t uRest = rField.uRegister == 0x84 ? uStart & kOtherBits
                                       : rFamily.bFast          ? uStart
                                                                : uStart & ~0xFFu;
                HTConfig Config{};
                const auto Set = [&](double dValue) {
                    SetLink(0, uStart, uStart);
                    Config = {};
                    Config.*rField.pValue = dValue;
                    EXPECT_TRUE(rFamily.rLink.SetHTConfig(0, &Config));
                    return Register(rField.uRegister);
                };
                for (uint32_t uCode = 0; uCode < rField.rValues.size(); ++uCode) {
                    SCOPED_TRACE(rFamily.pszClass + (" " + std::to_string(rField.uRegister) + " code ") +
                                 std::to_string(uCode));
                    const double dValue = rField.rValues[uCode];
                    SetLink(0, uStart, uStart);
                    SetRegister(rField.uRegister, (uStart & ~uMask) | uCode << rField.uLow);
                    ASSERT_TRUE(rFamily.rLink.GetHTConfig(0, &Config));
                    EXPECT_EQ(Config.*rField.pValue, dValue);
                    // A reserved code does not come back: -1.0 means the first of them.
                    const uint32_t uWritten = dValue < 0 ? (rField.uRegister == 0x84 ? 2 : 1) : uCode;
                    const uint32_t uExpected = (uRest & ~uMask) | uWritten << rField.uLow;
                    EXPECT_EQ(Set(dValue), uExpected);
                    EXPECT_EQ(Set(dValue + 0.9e-5), uExpected);
                    EXPECT_EQ(Set(dValue + 1.1e-5), uRest) << "too far off";
                }
                for (const double dIllegal : {0.0, 14.0, 5.5, 64.0, -2.0, kNan, kInfinity})
                    EXPECT_EQ(Set(dIllegal), uRest)
                        << rFamily.pszClass << " " << rField.uRegister << " value " << dIllegal;
            }
    }
}

TEST_F(HtLink, TakesTheMaximumFrequencyFromTheHighestCapability) {
    const struct {
        uint32_t uRegister;
        double dMaximum;
    } kCases[] = {{0x00000000, 0},  {0x80000000, 0}, {0x00010000, 1},
                  {0x7FFF0000, 13}, {0x80758F00, 5}, {0x00020000, -1}};  // a code without a value
    Boot(m_aFamilies[1]);
    for (const auto& [uRegister, dMaximum] : kCases) {
        SetLink(0, 0, uRegister);
        HTConfig Config;
        ASSERT_TRUE(m_10h.GetHTConfig(0, &Config));
        EXPECT_EQ(Config.dMaxFrequency, dMaximum) << std::hex << uRegister;
    }
}

TEST_F(HtLink, WritesTheRevisionBackOnK8Only) {
    for (const CFamily& rFamily : m_aFamilies) {
        Boot(rFamily);
        SetLink(0, 0, 0xFFFFFFA5);
        HTConfig Config{};
        ASSERT_TRUE(rFamily.rLink.GetHTConfig(0, &Config));
        EXPECT_EQ(Config.uRevisionMinor, 5u);
        EXPECT_EQ(Config.uRevisionMajor, 5u);
        Config.uRevisionMinor = 0xFFFFFFE2, Config.uRevisionMajor = 0xFFFFFFF9;  // 2 and 1 in five and three bits
        ASSERT_TRUE(rFamily.rLink.SetHTConfig(0, &Config));
        EXPECT_EQ(Register(0x88) & 0xFF, rFamily.bFast ? 0xA5u : 0x22u) << rFamily.pszClass;
    }
}

// --- a fast link ---

/// The requests of setting link 2 to 1200 MHz, on a board without a configuration window.
constexpr const char* kFastSteps[] = {
    "pcird 0:18.0 C0 C",           "pciwr 0:18.0 C0 C 08E001212000111122077500",
    "pcird 0:18.0 130 4",          "pciwr 0:18.0 130 4 79563412",
    "pcird 0:18.0 170 4",          "pciwr 0:18.0 170 4 0C0000F0",
    "pcird 0:18.0 16C 4",          "pciwr 0:18.0 16C 4 CAFFFFFF",
    "pciwr 0:18.4 180 4 C5000000",  // the PHY of link 0
    "pcird 0:18.4 180 4",          "pcird 0:18.4 184 4",
    "pciwr 0:18.4 184 4 00001F80", "pciwr 0:18.4 180 4 C5000040",
    "pcird 0:18.4 180 4",          "pciwr 0:18.4 180 4 D5000000",
    "pcird 0:18.4 180 4",          "pcird 0:18.4 184 4",
    "pciwr 0:18.4 184 4 00001F80", "pciwr 0:18.4 180 4 D5000040",
    "pcird 0:18.4 180 4",          "pcird 0:18.0 168 4",
    "pciwr 0:18.0 168 4 00040000",
};

struct HtFastLink : HtLink {
    void BootSlow(const CFamily& rFamily) {
        Boot(rFamily, "family10h-ddr2");
        Phy().m_uReadsUntilDone = 1;
        Reset();
        ASSERT_TRUE(rFamily.rLink.GetHTConfig(2, &m_Config));
        m_Config.dFrequency = 6;
        TakeTrace();
    }
    void Reset() {
        SetLink(2, 0x11110020, 0x00750622);
        SetRegister(0x130, 0x12345678), SetRegister(0x170, 0xF0000004), SetRegister(0x16C, kOnes),
            SetRegister(0x168, 0);
        for (uint32_t uLink = 0; uLink < 4; ++uLink) Phy().Register(uLink, 0xC5) = Phy().Register(uLink, 0xD5) = kOnes;
    }
    /// Which of the changes have happened, in their order.
    std::vector<bool> Changes() {
        return {
            Register(0xC8) == 0x00750722,  Register(0x130) == 0x12345679,         Register(0x170) == 0xF000000C,
            Register(0x16C) == 0xFFFFFFCA, Phy().Register(0, 0xC5) == 0x801F0000, Phy().Register(0, 0xD5) == 0x801F0000,
            Register(0x168) == 0x400};
    }

    HTConfig m_Config;
};

TEST_F(HtFastLink, IsPreparedStepByStepThroughThePhyOfLink0) {
    for (const CFamily* pFamily : {&m_aFamilies[1], &m_aFamilies[2]}) {
        SCOPED_TRACE(pFamily->pszClass);
        BootSlow(*pFamily);
        EXPECT_TRUE(pFamily->rLink.SetHTConfig(2, &m_Config));
        EXPECT_THAT(TakeTrace(), ElementsAreArray(kFastSteps));
        EXPECT_THAT(Changes(), ::testing::Each(true));
        EXPECT_EQ(Phy().Register(2, 0xC5), kOnes) << "link 2 was set, but its PHY is left alone";
        SetRegister(0x16C, 0);
        EXPECT_TRUE(pFamily->rLink.SetHTConfig(2, &m_Config));
        EXPECT_EQ(Register(0x16C), 0x0000E00Au);
    }
}

TEST_F(HtFastLink, IsPreparedOnlyAbove1000MHzAndNeverOnK8) {
    const struct {
        double dFrequency;
        bool bFast;
    } kCases[] = {{5.0, false}, {1.0, false}, {-1.0, false}, {kNan, false},
                  {6.0, true},  {13.0, true}, {5.5, true}};  // the last cannot be set: asking is enough
    for (const CFamily& rFamily : m_aFamilies) {
        BootSlow(rFamily);
        for (const auto& [dFrequency, bFast] : kCases) {
            Reset();
            m_Config.dFrequency = dFrequency;
            EXPECT_TRUE(rFamily.rLink.SetHTConfig(2, &m_Config));
            EXPECT_EQ(TakeTrace().size(), bFast && rFamily.bFast ? std::size(kFastSteps) : 2u)
                << rFamily.pszClass << " " << dFrequency;
        }
    }
}

TEST_F(HtLink, AFailedReadGivesAnEmptyRecord) {
    Boot(m_aFamilies[0]);
    HTConfig Config;
    Config.dInWidth = Config.dMaxFrequency = 99;
    System().m_RequestFaults = vxtsim::CFaultPlan::After(0, vxtsim::EFault::kFail, true);
    EXPECT_FALSE(m_K8.GetHTConfig(0, &Config));
    EXPECT_EQ(Config.dInWidth + Config.dMaxFrequency, 0);
}

// --- link PHY ---

TEST_F(HtFastLink, EachLinkHasItsOwnPhyRegistersAndTheirNumberIsCutToNineBits) {
    BootSlow(m_aFamilies[1]);
    Phy().m_uReadsUntilDone = 3;
    Phy().Register(3, 0x1A5) = 0xCAFE0001;
    uint32_t uValue = 0;
    EXPECT_TRUE(m_10h._GetLinkPhyReg(3, 0xFFFFFFA5, uValue));
    EXPECT_EQ(uValue, 0xCAFE0001);
    EXPECT_THAT(TakeTrace(), ElementsAre("pciwr 0:18.4 198 4 A5010000", "pcird 0:18.4 198 4", "pcird 0:18.4 198 4",
                                         "pcird 0:18.4 198 4", "pcird 0:18.4 19C 4"));
    EXPECT_TRUE(m_10h._SetLinkPhyReg(1, 0xFFFFFE07, 0x89ABCDEF));
    EXPECT_THAT(TakeTrace(), ElementsAre("pciwr 0:18.4 18C 4 EFCDAB89", "pciwr 0:18.4 188 4 07000040",
                                         "pcird 0:18.4 188 4", "pcird 0:18.4 188 4", "pcird 0:18.4 188 4"));
    EXPECT_EQ(Phy().Register(1, 7), 0x89ABCDEF);
}

TEST_F(HtFastLink, APhyMayTake50000LooksAndNoMore) {
    BootSlow(m_aFamilies[2]);
    uint32_t uValue = 7;
    Phy().m_uReadsUntilDone = 50'000;
    EXPECT_TRUE(m_11h._GetLinkPhyReg(0, 0xC5, uValue));
    EXPECT_TRUE(m_11h._SetLinkPhyReg(0, 0xC5, 1));
    EXPECT_THAT(m_Log.TakeErrors(), IsEmpty());
    TakeTrace();
    Phy().m_uReadsUntilDone = 50'001;
    EXPECT_FALSE(m_11h._GetLinkPhyReg(0, 0xC5, uValue));
    EXPECT_EQ(TakeTrace().size(), 1u + 50'000);
    EXPECT_FALSE(m_11h._SetLinkPhyReg(0, 0xC5, 2));
    EXPECT_EQ(TakeTrace().size(), 2u + 50'000);
    EXPECT_THAT(m_Log.TakeErrors(), ElementsAre(g_ProcessError("uCounter < 50000", "CTalvorHTLink::_GetLinkPhyReg"),
                                                g_ProcessError("uCounter < 50000", "CTalvorHTLink::_SetLinkPhyReg")));
}

TEST_F(HtFastLink, APhyThatNeverEndsLeavesTheLinkHalfPrepared) {
    BootSlow(m_aFamilies[1]);
    Phy().m_bNeverDone = true;
    EXPECT_FALSE(m_10h.SetHTConfig(2, &m_Config));
    EXPECT_THAT(m_Log.TakeErrors(), ElementsAre(g_ProcessError("uCounter < 50000", "CBrevikHTLink::_GetLinkPhyReg"),
                                                g_ProcessError("bRetCode", "CBrevikHTLink::_SetHTConfig"),
                                                g_ProcessError("bRetCode", "CBrevikHTLink::SetHTConfig")));
    EXPECT_THAT(Changes(), ElementsAre(true, true, true, true, false, false, false));
}

}  // namespace
