// From the probe to an initialised core: which class takes which processor, what it tells of itself, what can go wrong.
#include <cstring>
#include <set>

#include "devices/cpu/cpu_fixture.h"
#include "devices/processor_signatures.h"
#include "firmware/acpi_table.h"
#include "support/devices.h"

namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using vxt::platform::CCpuidRegisters;
using vxttest::g_ProcessError;
using vxttest::Lines;

/// One class of the creation table by name.
struct CClass {
    const char* pszName;
    std::unique_ptr<vxt::CFamilyCPU> (*pCreate)();
};
template <class TCpu> constexpr CClass g_Class(const char* pszName) {
    return {pszName,
            []() -> std::unique_ptr<vxt::CFamilyCPU> { return std::unique_ptr<TCpu>(new TCpu(g_Make<TCpu>())); }};
}
constexpr CClass kClasses[] = {g_Class<vxt::CCorvel64CPU>("CCorvel64CPU"),
                               g_Class<vxt::CCorvel64X2CPU>("CCorvel64X2CPU"), g_Class<vxt::CBrevikCPU>("CBrevikCPU"),
                               g_Class<vxt::CTalvorCPU>("CTalvorCPU")};
constexpr const char* kMachines[] = {"k8-first", "k8-revf-dual", "family10h-ddr3", "family11h-mobile"};  // one for each

struct CpuInit : vxttest::CSimulatedPc {
    std::unique_ptr<vxt::CFamilyCPU> m_pCpu;

    ~CpuInit() override {
        System().StopFailing();
        if (m_pCpu) m_pCpu->UnInit();
    }
    /// Switches a machine on, changed, and creates the core of one class.
    void Create(size_t uClass, const std::function<void(vxtsim::CMachineDescription&)>& Change = {}) {
        if (m_pCpu) m_pCpu->UnInit();
        Start(kMachines[uClass], Change);
        ASSERT_TRUE(StartDriver());
        m_pCpu = kClasses[uClass].pCreate();
    }
};

TEST_F(CpuInit, EveryProcessorIsTakenByOneClassAndTheOthersTellWhy) {
    for (const auto& [uSignature, Texts] :
         vxttest::g_Signatures("Fn0000_0001_Eax.ExtendedFamily == 0x01", "Fn0000_0001_Eax.ExtendedFamily == 0x02"))
        for (size_t i = 0; i < std::size(kClasses); ++i) {
            SCOPED_TRACE(kClasses[i].pszName + std::string(" on ") + std::to_string(uSignature));
            Create(i, [uSignature = uSignature](auto& rMachine) { rMachine.Cpuid[{1, 0}].uEax = uSignature; });
            EXPECT_EQ(m_pCpu->Init(0), Texts[i].empty());
            if (Texts[i].empty()) continue;
            const std::string sClass = kClasses[i].pszName;
            EXPECT_THAT(m_Log.TakeErrors(), ElementsAre(g_ProcessError(Texts[i], sClass + "::_CheckCpuid"),
                                                        g_ProcessError("bRetCode", sClass + "::Init")));
        }
}

TEST_F(CpuInit, Family10hNeedsTheCpuidFunctionsThatItReads) {
    const struct {
        uint32_t uLeaf, uHighest;
        const char* pszText;
    } kCases[] = {
        {0, 0, "nStandardCount >= MAX_STANDARD_CPUID"},
        {0x80000000, 0x80000006, "nExtendedCount >= MAX_EXTENDED_CPUID"},
        {0x80000000, 0x80000007, nullptr},
        {0x80000000, 0x8000001A, nullptr},  // early parts of the family
    };
    for (const auto& [uLeaf, uHighest, pszText] : kCases) {
        Create(2, [uLeaf = uLeaf, uHighest = uHighest](auto& rMachine) { rMachine.Cpuid[{uLeaf, 0}].uEax = uHighest; });
        EXPECT_EQ(m_pCpu->Init(0), pszText == nullptr) << std::hex << uHighest;
        const Lines Errors = m_Log.TakeErrors();
        EXPECT_EQ(Errors.empty() ? "" : Errors.front(),
                  pszText ? g_ProcessError(pszText, "CBrevikCPU::_CheckCpuid") : "");
    }
}

TEST_F(CpuInit, RefusesOtherMakersAndCoresThatDoNotExist) {
    for (size_t i = 0; i < std::size(kClasses); ++i) {
        const std::string sInit = std::string(kClasses[i].pszName) + "::Init";
        Create(i, [](auto& rMachine) { rMachine.Cpuid[{0, 0}].uEcx ^= 0x20; });  // one letter
        EXPECT_FALSE(m_pCpu->Init(0));
        EXPECT_THAT(m_Log.TakeErrors(),
                    ElementsAre(g_ProcessError("wcsncmp(m_szVendor, QOR_VENDOR_STRING, MAX_STRING_LEN) == 0", sInit)));
        Create(i, [](auto& rMachine) { rMachine.uCores = 3; });
        EXPECT_TRUE(m_pCpu->Init(2));
        EXPECT_EQ(m_pCpu->GetIndex(), 2u);
        m_Log.Take();
        for (const uint32_t uIndex : {3u, 4u, 0xFFFFFFFFu}) {
            EXPECT_FALSE(m_pCpu->Init(uIndex));
            EXPECT_THAT(m_Log.TakeErrors(), ElementsAre(g_ProcessError("m_uIndex < _GetProcessorCount()", sInit)));
        }
    }
}

TEST_F(CpuInit, CoresBeyondTheThirtySecondShareTheAffinityMask) {
    Create(2, [](auto& rMachine) { rMachine.uCores = 40; });
    ASSERT_TRUE(m_pCpu->Init(33));
    EXPECT_EQ(vxt::platform::simulated::g_CurrentCore(), 1u);
}

TEST_F(CpuInit, TellsWhatTheProcessorIs) {
    Create(2, [](auto& rMachine) {
        const char szBrand[48] = "QOR 40e Processor, a name of exactly 47 letters";
        for (uint32_t i = 0; i < 3; ++i) std::memcpy(&rMachine.Cpuid[{0x80000002 + i, 0}], szBrand + 16 * i, 16);
        rMachine.Cpuid[{1, 0}].uEax = 0x0A1B5F6C & 0x001F0FFF;  // 00 1 B 0 F 6 C
    });
    EXPECT_STREQ(m_pCpu->GetModel(), L"") << "nothing is known before Init, but no text is null";
    EXPECT_STREQ(m_pCpu->GetVendor(), L"");
    ASSERT_TRUE(m_pCpu->Init(1));
    EXPECT_STREQ(m_pCpu->GetModel(), L"QOR 40e Processor, a name of exactly 47 letters");
    EXPECT_STREQ(m_pCpu->GetDescription(), L"Family 15-1 Model 6-11 Stepping 12");
    EXPECT_STREQ(m_pCpu->GetVendor(), L"AuthenticQOR");
    EXPECT_EQ(m_pCpu->GetFamily(), 15u);
    EXPECT_EQ(m_pCpu->GetExtendedFamily(), 1u);
    EXPECT_EQ(m_pCpu->GetModelNumber(), 6u);
    EXPECT_EQ(m_pCpu->GetExtendedModel(), 11u);
    EXPECT_EQ(m_pCpu->GetStepping(), 12u);
    EXPECT_EQ(m_pCpu->GetIndex(), 1u);
}

TEST_F(CpuInit, KeepsTheFeatureBitsItAsksForAndNoOthers) {
    const struct {
        uint32_t uLeaf;
        uint32_t vxtsim::CCpuidResult::*pSource;
        uint32_t CCpuidRegisters::*pRegister;
        std::set<uint32_t> Bits;
    } kRows[] = {
        {1, &vxtsim::CCpuidResult::uEcx, &CCpuidRegisters::uEcx, {0}},
        {1, &vxtsim::CCpuidResult::uEdx, &CCpuidRegisters::uEdx, {28, 26, 25, 24, 23, 19, 17, 16, 15, 14, 13, 12, 11}},
        {0x80000001, &vxtsim::CCpuidResult::uEcx, &CCpuidRegisters::uEcx, {0, 1}},
        {0x80000001,
         &vxtsim::CCpuidResult::uEdx,
         &CCpuidRegisters::uEdx,
         {31, 30, 29, 27, 25, 22, 20, 11, 9, 8, 7, 6, 5, 4, 3, 2, 1, 0}},
        {0x80000007, &vxtsim::CCpuidResult::uEdx, &CCpuidRegisters::uEdx, {0, 1, 2, 3}},
    };
    for (const bool bSet : {true, false}) {
        Create(0, [&](auto& rMachine) {
            for (const auto& rRow : kRows) rMachine.Cpuid[{rRow.uLeaf, 0}].*rRow.pSource = bSet ? ~0u : 0;
        });
        ASSERT_TRUE(m_pCpu->Init(0));
        for (const auto& rRow : kRows)
            for (uint32_t uBit = 0; uBit < 33; ++uBit)
                EXPECT_EQ(m_pCpu->HasFeature(rRow.uLeaf, rRow.pRegister, uBit), bSet && rRow.Bits.contains(uBit))
                    << std::hex << rRow.uLeaf << " bit " << std::dec << uBit;
        EXPECT_FALSE(m_pCpu->HasFeature(2, &CCpuidRegisters::uEax, 0));
    }
}

TEST_F(CpuInit, DescribesTheCachesAsTheProcessorEncodesThem) {
    Create(2, [](auto& rMachine) {
        rMachine.Cpuid[{0x80000005, 0}] = {0xFF30FF10, 0x11111111, 0x40020140, 0x22222222};
        rMachine.Cpuid[{0x80000006, 0}] = {0, 0, 0x02008940, 0};
    });
    ASSERT_TRUE(m_pCpu->Init(0));
    const vxt::CCacheInfo& rCaches = m_pCpu->GetCaches();
    EXPECT_THAT(rCaches.adL1Tlb, ElementsAre(255, 48, 255, 16));
    EXPECT_THAT(rCaches.adL1Data, ElementsAre(64, 2, 1, 64));
    EXPECT_EQ(rCaches.dL2Size, 512);
    EXPECT_EQ(rCaches.dL2Associativity, 8);
    EXPECT_EQ(rCaches.dL2LinesPerTag, 9);
    EXPECT_EQ(rCaches.dL2LineSize, 64);
}

TEST_F(CpuInit, RefusesTimerTablesThatAreMissingOrShort) {
    const std::string sFadt = "uSize >= (unsigned)(((char*)(&fadt->PM_TMR_BLK) - (char*)fadt) + 4)";
    const std::string sMadt = "uSize > (unsigned)(((char*)(&madt->uLocalAPICAddress) - (char*)madt) + 4)";
    const struct {
        const char* pszTable;
        size_t uSize;       ///< 0: absent
        std::string sText;  ///< empty: accepted
    } kCases[] = {
        {"FACP", 0, "bRetCode"}, {"FACP", 36, sFadt}, {"FACP", 79, sFadt}, {"FACP", 80, ""},
        {"APIC", 0, "bRetCode"}, {"APIC", 36, sMadt}, {"APIC", 40, sMadt}, {"APIC", 41, ""},
    };
    for (const auto& [pszTable, uSize, sText] : kCases) {
        SCOPED_TRACE(pszTable + std::to_string(uSize));
        Create(2, [pszTable = pszTable, uSize = uSize](vxtsim::CMachineDescription& rMachine) {
            const auto it =
                std::ranges::find(rMachine.Acpi, pszTable, &std::pair<std::string, std::vector<uint8_t>>::first);
            ASSERT_NE(it, rMachine.Acpi.end());
            if (uSize == 0) {
                rMachine.Acpi.erase(it);
            } else {
                it->second.resize(uSize);
                for (size_t i = 0; i < 4; ++i) it->second[4 + i] = static_cast<uint8_t>(uSize >> (8 * i));
                for (const uint8_t ucByte : std::vector(it->second))
                    it->second[9] = static_cast<uint8_t>(it->second[9] - ucByte);
            }
        });
        EXPECT_EQ(m_pCpu->Init(0), sText.empty());
        EXPECT_EQ(Machine().MappingCount(), sText.empty() ? 1u : 0u);
        const Lines Errors = m_Log.TakeErrors();
        if (sText.empty()) {
            EXPECT_THAT(Errors, IsEmpty());
            continue;
        }
        ASSERT_GE(Errors.size(), 2u);
        EXPECT_EQ(Errors[Errors.size() - 2], g_ProcessError(sText, "CCPU::Init"));
        EXPECT_EQ(Errors.back(), g_ProcessError("bRetCode", "CBrevikCPU::Init"));
    }
}

TEST_F(CpuInit, ThereIsOneMappingAtATimeAndOneThatCannotBeGivenBackIsReported) {
    Create(2);
    ASSERT_TRUE(m_pCpu->Init(0));
    TakeTrace();
    ASSERT_TRUE(m_pCpu->Init(0)) << "again, over the first";
    const Lines Trace = TakeTrace();
    EXPECT_LT(std::ranges::find(Trace, "unmap 20"), std::ranges::find(Trace, "map FEE00300 100"));
    EXPECT_EQ(Machine().MappingCount(), 1u);
    System().FailAfter(0);
    EXPECT_FALSE(m_pCpu->UnInit());
    System().StopFailing();
    EXPECT_THAT(m_Log.TakeErrors(), ElementsAre(HasSubstr("CDriverHandler::UnmapPhysicalMemory"),
                                                g_ProcessError("bRetCode", "CCPU::UnInit")));
}

TEST_F(CpuInit, WithoutFamilyKnowledgeOperationsRefuse) {
    auto Cpu = g_Make<vxt::CCPU>();
    bool bSupported = true, bEnabled = true;
    vxtapi::CPstate Pstate{};
    Create(2);
    EXPECT_TRUE(Cpu.Init(1)) << "the timers need no family";
    EXPECT_EQ(Cpu.GetIndex(), 1u);
    TakeTrace();
    EXPECT_EQ(Cpu.GetCurrentVoltage() + Cpu.GetStartVoltage() + Cpu.GetMaxRampVoltage() + Cpu.GetCurrentNBVoltage(),
              0.0);
    EXPECT_EQ(Cpu.GetCurrentMultiplier() + Cpu.GetMaxMultiplier() + Cpu.GetCurrentNBMultiplier(), 0.0);
    EXPECT_FALSE(Cpu.SetCurrentVoltage(1.0) || Cpu.SetCurrentMultiplier(5.0) || Cpu.SetCurPstate(0));
    EXPECT_FALSE(Cpu.GetPstate(0, &Pstate) || Cpu.SetPstate(0, &Pstate));
    EXPECT_EQ(Cpu.GetThermTrip(), nullptr);
    EXPECT_EQ(Cpu.GetCurPstate(), 0xFFFFFFFFu);
    EXPECT_FALSE(Cpu.GetBoostState(&bSupported, &bEnabled) || bSupported || bEnabled);
    EXPECT_FALSE(Cpu.SetBoostState(true, true));
    EXPECT_TRUE(Cpu.IsMultiplierLimited());
    EXPECT_FALSE(Cpu.GetSecondCapability());
    EXPECT_THAT(TakeTrace(), IsEmpty());
    EXPECT_TRUE(Cpu.UnInit());
}

}  // namespace
