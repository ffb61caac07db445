// What the real driver channel adds to the devices: cores by thread affinity, memory mapped across the system, requests that
// are none.
#include <array>
#include <memory>

#include "host_test.h"
#include "sim/machine_file.h"

using namespace vxtapi;

namespace {

constexpr const char* kMachine = "family10h-ddr3";  // what the driver serves without a machine file beside it
constexpr uint32_t kStatusMsr = 0xC0010063;

class CDevices : public CHostTest {
protected:
    void SetUp() override {
        CHostTest::SetUp();
        std::string sError;
        ASSERT_TRUE(vxtsim::g_LoadMachine(kMachine, m_Machine, sError)) << sError;
        ASSERT_TRUE(m_Library->Init(false));
    }
    uint64_t Msr(uint32_t uCore, uint32_t uIndex) const {
        const auto it = m_Machine.Msr.find({uCore, uIndex});
        return it != m_Machine.Msr.end() ? it->second : m_Machine.Msr.at({vxtsim::kAllCores, uIndex});
    }

    vxtsim::CMachineDescription m_Machine;
};

// Which core a request is for is told by the affinity of the thread that sends it, through service, WOW64 and driver.
TEST_F(CDevices, AWriteReachesTheCoreItIsMeantForAndNoOther) {
    std::vector<uint32_t> Expected;
    for (uint32_t uCore = 0; uCore < m_Machine.uCores; ++uCore)
        Expected.push_back(m_Library->Core(uCore)->GetCurPstate());
    for (uint32_t uCore = 0; uCore < m_Machine.uCores; ++uCore) {
        CCPU* const pCore = m_Library->Core(uCore);
        Expected[uCore] = Expected[uCore] == 0 ? pCore->GetMaxPstate() : 0;
        ASSERT_TRUE(pCore->SetCurPstate(Expected[uCore]));
        // The transition takes a while, and on the simulated PC time passes with requests only.
        for (int i = 0; i < 1000 && pCore->GetCurPstate() != Expected[uCore]; ++i) {}
        for (uint32_t uOther = 0; uOther < m_Machine.uCores; ++uOther)
            EXPECT_EQ(m_Library->Core(uOther)->GetCurPstate(), Expected[uOther])
                << "core " << uOther << " after " << uCore;
    }
}

// The measurement reads and writes the timer in memory that the driver maps into this process; on a 64-bit host that
// memory may lie above 4 GiB.
TEST_F(CDevices, TheReferenceClockIsMeasuredThroughMappedRegisters) {
    for (uint32_t uCore = 0; uCore < m_Machine.uCores; ++uCore) {
        CCPU* const pCore = m_Library->Core(uCore);
        // A measurement gives up after a second, which its thousand requests may take on a busy machine.
        double dClock = 0;
        for (int i = 0; i < 10 && dClock == 0; ++i) dClock = pCore->GetCurrentClock() / pCore->GetCurrentMultiplier();
        EXPECT_NEAR(dClock, m_Machine.dReferenceMHz, m_Machine.dReferenceMHz * 0.005) << "core " << uCore;
    }
}

/// The driver as a process sees it that talks to it directly.
class CDriverRequests : public CDevices {
protected:
    struct CCloser {
        void operator()(HANDLE hDriver) const { CloseHandle(hDriver); }
    };
    using CDriver = std::unique_ptr<void, CCloser>;
    static CDriver Open() {
        const HANDLE hDriver = CreateFileW(L"\\\\.\\VXTDriver", GENERIC_READ | GENERIC_WRITE,
                                           FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr, OPEN_EXISTING, 0, nullptr);
        return CDriver(hDriver == INVALID_HANDLE_VALUE ? nullptr : hDriver);
    }
};

TEST_F(CDriverRequests, WrongSizesAndCodesFailWithoutHarm) {
    const CDriver hDriver = Open();
    ASSERT_TRUE(hDriver);
    constexpr struct {
        const char* pszCase;
        DWORD dwCode, dwIn, dwOut;
        bool bSuccess;
    } kCases[] = {
        {"read MSR", 0x81112EE0, 12, 12, true},
        {"read MSR, no input", 0x81112EE0, 0, 12, false},
        {"read MSR, short output", 0x81112EE0, 12, 11, false},
        {"read port, long input", 0x81112EE8, 4096, 8, false},
        {"unknown function", 0x81112F1C, 12, 12, false},
        {"unknown device type", 0x00222EE0, 12, 12, false},
        {"enumeration of half a block", 0x81112F18, 1678, 1678, false},
        {"read MSR afterwards", 0x81112EE0, 12, 12, true},
    };
    for (const auto& [pszCase, dwCode, dwIn, dwOut, bSuccess] : kCases) {
        std::array<uint32_t, 1024> Buffer{kStatusMsr};
        DWORD dwReturned = 0;
        const BOOL bRetCode =
            DeviceIoControl(hDriver.get(), dwCode, Buffer.data(), dwIn, Buffer.data(), dwOut, &dwReturned, nullptr);
        EXPECT_EQ(bRetCode != 0, bSuccess) << pszCase;
        if (bSuccess) {
            EXPECT_EQ(dwReturned, dwOut) << pszCase;
            EXPECT_EQ(Buffer[1], Msr(0, kStatusMsr)) << pszCase;
        }
    }
}

// A killed process unmaps nothing itself. One opened device may hold 1024 mappings: what an earlier one leaves counts
// too.
TEST_F(CDriverRequests, AClosedDeviceGivesItsMappingsBack) {
    struct {
        uint32_t uPhysicalLow = 0xFEE00300, uPhysicalHigh = 0, uZero = 0, uSize = 256;  // the local APIC's timer
        uint64_t ullAddress = 0, ullHandle = 0;
    } Block;
    for (int nRound = 0; nRound < 2; ++nRound) {
        const CDriver hDriver = Open();
        ASSERT_TRUE(hDriver);
        for (int i = 0; i < 100; ++i) {
            DWORD dwReturned = 0;
            const BOOL bRetCode = DeviceIoControl(hDriver.get(), 0x81112EF0, &Block, sizeof(Block), &Block,
                                                  sizeof(Block), &dwReturned, nullptr);
            ASSERT_TRUE(bRetCode && dwReturned == sizeof(Block)) << "mapping " << i << " of round " << nRound;
        }
        MEMORY_BASIC_INFORMATION Information{};
        const auto* const pMapped = reinterpret_cast<const void*>(static_cast<uintptr_t>(Block.ullAddress));
        ASSERT_NE(VirtualQuery(pMapped, &Information, sizeof(Information)), 0u);
        EXPECT_EQ(Information.State, DWORD{MEM_COMMIT});
        EXPECT_EQ(Block.ullAddress % 4096, 0x300u);
    }
    m_Library->Core(0)->GetCurPstate();  // a request after the close: the driver has seen that then
    MEMORY_BASIC_INFORMATION Information{};
    VirtualQuery(reinterpret_cast<const void*>(static_cast<uintptr_t>(Block.ullAddress)), &Information,
                 sizeof(Information));
    EXPECT_EQ(Information.State, DWORD{MEM_FREE});
}

}  // namespace
