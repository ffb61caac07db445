// The chipset's north bridge: which chip it is, and the multiplier of its link.
#include "devices/chipset/north_bridge.h"

#include <cstring>
#include <limits>

#include "support/devices.h"
#include "support/simulated_pc.h"

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using vxttest::g_ProcessError;

constexpr vxtsim::CPciAddress kRoot{0, 0, 0};
constexpr double kNan = std::numeric_limits<double>::quiet_NaN();
const double kMultipliers[16] = {1, -1, 2, -1, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, -1};

struct CChip {
    uint16_t usVendor, usDevice;
    const wchar_t* pszModel;
};
const CChip kChips[] = {
    // the first that is there is taken
    {0x1022, 0x9600, L"QOR Q5G Chipset"},  {0x1002, 0x5956, L"QOR Q6FX Chipset"}, {0x1002, 0x5957, L"QOR Q4V Chipset"},
    {0x1002, 0x5958, L"QOR Q6X Chipset"},  {0x1002, 0x5A10, L"QOR NQ8S Chipset"}, {0x1002, 0x5A11, L"QOR NQ8D Chipset"},
    {0x1002, 0x5A12, L"QOR NQ7S Chipset"},
};

struct NorthBridge : vxttest::CSimulatedPc {
    /// A board whose last functions are the chips from `uFirst` on, the last one of the table foremost.
    void StartWith(size_t uFirst) {
        Start(kDefaultMachine, [&](vxtsim::CMachineDescription& rMachine) {
            rMachine.Pci.erase(kRoot);
            for (size_t i = uFirst; i < std::size(kChips); ++i) {
                const auto& [usVendor, usDevice, pszModel] = kChips[i];
                auto& rFunction = rMachine.Pci[{3, static_cast<uint8_t>(10 - i), 0}];
                rFunction.assign(256, 0);
                std::memcpy(&rFunction[0], &usVendor, 2), std::memcpy(&rFunction[2], &usDevice, 2);
                rFunction[0xD1] = static_cast<uint8_t>(i + 4);  // frequency codes 4, 5, ...
            }
        });
        ASSERT_TRUE(StartDriver());
    }
    void StartBridge(const char* pszMachine) {
        Start(pszMachine);
        ASSERT_TRUE(StartDriver());
        ASSERT_TRUE(m_Bridge.Init(0));
        TakeTrace();
    }
    uint32_t Register() { return Machine().PciDword(kRoot, 0xD0); }
    void SetRegister(uint32_t uValue) { Machine().SetPciDword(kRoot, 0xD0, uValue); }

    vxt::CNBQ7 m_Bridge = g_Make<vxt::CNBQ7>();
};

TEST_F(NorthBridge, IsTheFirstChipOfTheTableThatTheMachineHas) {
    EXPECT_STREQ(m_Bridge.GetModel(), L"QOR Northbridge Chipset");
    for (size_t i = 0; i < std::size(kChips); ++i) {
        StartWith(i);
        EXPECT_FALSE(m_Bridge.Init(1));
        EXPECT_TRUE(m_Bridge.Init(0));
        EXPECT_STREQ(m_Bridge.GetModel(), kChips[i].pszModel);
        EXPECT_EQ(m_Bridge.GetHTMultiplier(), kMultipliers[i + 4]) << "its own register, not another chip's";
        EXPECT_THAT(m_Log.TakeErrors(), IsEmpty());
    }
    StartWith(std::size(kChips));
    EXPECT_FALSE(m_Bridge.Init(0));
    EXPECT_THAT(m_Log.TakeErrors(), ElementsAre(g_ProcessError("bFound", "CNBQ7::Init")));
}

TEST_F(NorthBridge, ReadsTheLinkOfEachMachine) {
    const struct {
        const char* pszMachine;
        const wchar_t* pszModel;
        double dMultiplier, dMaximum;
    } kMachines[] = {{"k8-revf-dual", L"QOR Q6FX Chipset", 5, 5},
                     {"family10h-ddr2", L"QOR Q4V Chipset", 5, 5},
                     {"family10h-ddr3", L"QOR Q5G Chipset", 10, 10},
                     {"family11h-mobile", L"QOR Q5G Chipset", 8, 8}};
    for (const auto& [pszMachine, pszModel, dMultiplier, dMaximum] : kMachines) {
        SCOPED_TRACE(pszMachine);
        StartBridge(pszMachine);
        EXPECT_STREQ(m_Bridge.GetModel(), pszModel);
        EXPECT_EQ(m_Bridge.GetHTMultiplier(), dMultiplier);
        EXPECT_EQ(m_Bridge.GetMaxHTMultiplier(), dMaximum);
    }
    Start("k8-first");
    ASSERT_TRUE(StartDriver());
    EXPECT_FALSE(m_Bridge.Init(0)) << "a chipset that nobody here knows";
}

TEST_F(NorthBridge, EveryMultiplierGoesThereAndBackAndTouchesNothingElse) {
    StartBridge(kDefaultMachine);
    for (const uint32_t uStart : {0u, 0xFFFFFFFFu}) {
        const auto Set = [&](double dMultiplier) {
            SetRegister(uStart);
            TakeTrace();
            EXPECT_TRUE(m_Bridge.SetHTMultiplier(dMultiplier));
            EXPECT_EQ(TakeTrace().size(), 2u) << "written back in any case";
            return Register();
        };
        for (uint32_t uCode = 0; uCode < 16; ++uCode) {
            SCOPED_TRACE(uCode);
            const double dMultiplier = kMultipliers[uCode];
            SetRegister((uStart & ~0xF00u) | uCode << 8);
            EXPECT_EQ(m_Bridge.GetHTMultiplier(), dMultiplier);
            const uint32_t uWritten = dMultiplier < 0 ? 1 : uCode;  // -1.0 means the first reserved code
            EXPECT_EQ(Set(dMultiplier), (uStart & ~0xF00u) | uWritten << 8);
            EXPECT_EQ(Set(dMultiplier - 0.9e-5), (uStart & ~0xF00u) | uWritten << 8);
            EXPECT_EQ(Set(dMultiplier - 1.1e-5), uStart);
        }
        for (const double dIllegal : {5.5, 0.0, 14.0, -2.0, kNan}) EXPECT_EQ(Set(dIllegal), uStart) << dIllegal;
    }
}

TEST_F(NorthBridge, TakesTheMaximumFromTheHighestCapability) {
    const struct {
        uint32_t uRegister;
        double dMaximum;
    } kCases[] = {{0x80000F00, 0},  {0x00010000, 1}, {0x7FFF0000, 13},
                  {0x40000000, 13}, {0x80758F00, 5}, {0x00080000, -1}};
    StartBridge(kDefaultMachine);
    for (const auto& [uRegister, dMaximum] : kCases) {
        SetRegister(uRegister);
        EXPECT_EQ(m_Bridge.GetMaxHTMultiplier(), dMaximum) << std::hex << uRegister;
    }
}

}  // namespace
