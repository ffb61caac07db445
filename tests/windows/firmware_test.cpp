// The board's firmware through Windows management, as far as Windows has a part in it: its own BIOS class, physical memory,
// the mutex between processes, objects that are let go. The firmware's side is the tests' management service.
#include <memory>

#include "host_test.h"
#include "physical_memory.h"
#include "wmi_server/wmi_server.h"

using namespace vxtapi;

namespace {

constexpr const char* kFirmware = R"(
[machine]
name = a board with tuning
[firmware]
[firmware object 01010000]
name = HTRefClock
value = 200000
values = 190000 200000
[firmware object 01020000]
name = PCIeClock
property = 1
value = 100000
[firmware object 01030000]
name = Third
property = 1
value = 33333
)";

class CFirmware : public CHostTest {
protected:
    void SetUp() override {
        CHostTest::SetUp();
        ASSERT_TRUE(Server().IsComplete());
    }
    void TearDown() override {
        CHostTest::TearDown();
        EXPECT_EQ(Server().LiveObjects(), 0) << "the library keeps objects of the management service";
    }
    static const CWmiServer& Server() {
        static const CWmiServer s_Server;
        return s_Server;
    }

    /// Starts the library on a PC with this firmware.
    void Start() {
        const char* const pszError = Server().UseMachine(kFirmware);
        ASSERT_EQ(pszError, nullptr) << pszError;
        ASSERT_TRUE(m_Library->Init(true));
    }
    CClockGenerator* Clocks() const {
        return static_cast<CClockGenerator*>(m_Library->DeviceManager()->GetDevice(kDeviceClockGen, 0));
    }
    CBIOS* Bios() const { return static_cast<CBIOS*>(m_Library->DeviceManager()->GetDevice(kDeviceBios, 0)); }
};

TEST_F(CFirmware, TheBiosIsTheSystems) {
    Start();
    CBIOS* const pBios = Bios();
    ASSERT_NE(pBios, nullptr);
    EXPECT_EQ(std::wstring(pBios->GetSerialNumber()), g_QueryBios(L"SerialNumber"));
    EXPECT_EQ(std::wstring(pBios->GetManufacturer()), g_QueryBios(L"Manufacturer"));
    EXPECT_EQ(std::wstring(pBios->GetDescription()), g_QueryBios(L"Description"));
    EXPECT_EQ(std::wstring(pBios->GetBIOSVersion()), g_QueryBios(L"SMBIOSBIOSVersion"));
    EXPECT_EQ(std::wstring(pBios->GetReleaseDate()), g_QueryBios(L"ReleaseDate"));
    EXPECT_FALSE(g_QueryBios(L"Manufacturer").empty()) << "nothing was compared";
    EXPECT_STREQ(pBios->GetRawDate(), "") << "this system shows no physical memory";
}

TEST_F(CFirmware, TheBiosDateIsFoundWherePhysicalMemoryCanBeRead) {
    CPhysicalMemory Memory;
    ASSERT_TRUE(Memory.Exists());
    Memory.Write(0xF1000, "v1.0 11-12-13"), Memory.Write(0xFFFF5, "12/04/09");
    Start();
    ASSERT_NE(Bios(), nullptr);
    EXPECT_STREQ(Bios()->GetRawDate(), "12/04/09");
}

TEST_F(CFirmware, AProcessThatHoldsTheFirmwareForTooLongFailsTheReading) {
    Start();
    ASSERT_NE(Clocks(), nullptr);
    CSecondHost Holder(CSecondHost::kHoldMutex);
    ASSERT_TRUE(Holder.IsStarted());
    EXPECT_EQ(Clocks()->GetExternalClock(), 0.0);
    EXPECT_TRUE(LogHas(R"(LOG_PROCESS_ERROR\(ulWaitResult == WAIT_OBJECT_0\) at line \d+ in CWmiHandler::CallMethod)"));
    EXPECT_TRUE(Holder.Stop()) << "the library released a mutex that it did not have";
    EXPECT_EQ(Clocks()->GetExternalClock(), 200.0);
}

// Kept: the wait that finds an abandoned mutex is no good one, but it takes the mutex, which is then released.
TEST_F(CFirmware, AProcessThatDiesHoldingTheFirmwareFailsOneReading) {
    Start();
    ASSERT_NE(Clocks(), nullptr);
    {
        CSecondHost Holder(CSecondHost::kHoldMutex);
        ASSERT_TRUE(Holder.IsStarted());
        Holder.Kill();
    }
    EXPECT_EQ(Clocks()->GetExternalClock(), 0.0);
    EXPECT_EQ(Clocks()->GetExternalClock(), 200.0);
}

TEST_F(CFirmware, WhatWasSetOutlivesTheLibrary) {
    Start();
    ASSERT_NE(Clocks(), nullptr);
    EXPECT_TRUE(Clocks()->SetExternalClock(190.0));
    EXPECT_TRUE(m_Library->UnInit());
    EXPECT_EQ(Server().LiveObjects(), 0);
    Load();
    ASSERT_TRUE(m_Library->Init(false));
    ASSERT_NE(Clocks(), nullptr);
    EXPECT_EQ(Clocks()->GetExternalClock(), 190.0);
}

}  // namespace
