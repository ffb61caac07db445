// One byte over the SMBus: the exact port traffic, and every way in which it can go wrong.
#include <gmock/gmock.h>

#include "firmware/acpi_table.h"
#include "hw/driver_handler.h"
#include "sim/models/smbus_host.h"
#include "support/simulated_pc.h"

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using vxttest::g_CheckError;
using vxttest::g_ProcessError;
using vxttest::Lines;

struct CSMBusTest : vxttest::CSimulatedPc {
    CSMBusTest() {
        StartDriver();
        m_pHost = &Machine().Plug<vxtsim::CSmbusHost>(m_rHandler.GetSMBusBase());
        m_pHost->Device(0x50) = {0x10, 0x11, 0x12, 0x13};
    }
    bool Read(uint8_t ucAddress, uint8_t ucCommand) {
        return m_rHandler.AccessSMBus(static_cast<uint8_t>(ucAddress << 1 | 1), ucCommand, m_ucData);
    }
    static std::string Failed(const std::string& sExpression) {
        return g_ProcessError(sExpression, "CDriverHandler::AccessSMBus");
    }
    /// Port accesses as "in REGISTER" and "out REGISTER VALUE", repeated ones once.
    Lines Traffic() {
        Lines Result;
        for (const std::string& sLine : TakeTrace()) {
            const size_t uPort = sLine.rfind(' ', sLine.starts_with("out") ? sLine.rfind(' ') - 1 : sLine.npos) + 1;
            const unsigned uRegister =
                static_cast<unsigned>(std::stoul(sLine.substr(uPort, 4), nullptr, 16)) - m_rHandler.GetSMBusBase();
            std::string sText =
                sLine.substr(0, sLine.find(' ')) + ' ' + std::to_string(uRegister) + sLine.substr(uPort + 4);
            if (Result.empty() || Result.back() != sText) Result.push_back(sText);
        }
        return Result;
    }

    vxt::CDriverHandler& m_rHandler = vxt::g_GetDriverHandler();
    vxtsim::CSmbusHost* m_pHost = nullptr;
    uint8_t m_ucData = 0;
};

TEST_F(CSMBusTest, AReadAndAWriteFollowTheControllersSteps) {
    EXPECT_TRUE(Read(0x50, 2));
    EXPECT_EQ(m_ucData, 0x12);
    EXPECT_THAT(Traffic(), ElementsAre("in 0", "out 0 FF", "in 4", "out 4 A1", "in 3", "out 3 02", "in 2", "out 2 48",
                                       "in 0", "in 5", "in 4", "in 3"));
    uint8_t ucNew = 0x99;
    EXPECT_TRUE(m_rHandler.AccessSMBus(0xA0, 3, ucNew));
    EXPECT_EQ(ucNew, 0x99);
    EXPECT_EQ(m_pHost->Device(0x50)[3], 0x99);
    EXPECT_THAT(Traffic(), ElementsAre("in 0", "out 0 FF", "in 4", "out 4 A0", "in 3", "out 3 03", "out 5 99", "in 2",
                                       "out 2 48", "in 0", "in 4", "in 3"));
    EXPECT_THAT(m_Log.Take(), IsEmpty());
}

TEST_F(CSMBusTest, AnAbsentDeviceAndACollisionAreSilentFailures) {
    EXPECT_FALSE(Read(0x30, 0));
    m_pHost->m_bCollides = true;
    EXPECT_FALSE(Read(0x50, 0));
    EXPECT_THAT(m_Log.Take(), IsEmpty());
}

TEST_F(CSMBusTest, AControllerThatNeverAnswersIsGivenUpAfterAThousandReads) {
    m_pHost->m_bNeverCompletes = true;
    EXPECT_FALSE(Read(0x50, 0));
    EXPECT_THAT(m_Log.TakeErrors(), ElementsAre(Failed("nCounter < 1000")));
    EXPECT_EQ(TakeTrace().size(), 1u + 7u + 1000u) << "one status read, the set-up, a thousand polls";
    m_pHost->m_bAlwaysBusy = true;
    EXPECT_FALSE(Read(0x50, 0));
    EXPECT_THAT(m_Log.TakeErrors(), ElementsAre(Failed("nCounter < 1000")));
    EXPECT_EQ(TakeTrace().size(), 1000u) << "nothing is written to a busy controller";
}

TEST_F(CSMBusTest, AForeignTransferInBetweenRestartsOurs) {
    m_pHost->m_uWrongAddressReads = 2;
    m_pHost->m_uWrongCommandReads = 1;
    EXPECT_TRUE(Read(0x50, 1));
    EXPECT_EQ(m_ucData, 0x11);
    EXPECT_THAT(m_Log.TakeErrors(), ElementsAre(g_CheckError("ucData == ucAddress", "CDriverHandler::AccessSMBus"),
                                                g_CheckError("ucData == ucAddress", "CDriverHandler::AccessSMBus"),
                                                g_CheckError("ucData == ucOffset", "CDriverHandler::AccessSMBus")));
}

TEST_F(CSMBusTest, WithoutAControllerNoPortIsTouched) {
    Start(kDefaultMachine, [](auto& rMachine) {
        std::erase_if(rMachine.Pci,
                      [](const auto& rEntry) { return rEntry.second[0x0B] == 0x0C && rEntry.second[0x0A] == 5; });
    });
    StartDriver();
    EXPECT_FALSE(Read(0x50, 0));
    EXPECT_THAT(TakeTrace(), IsEmpty());
    EXPECT_THAT(m_Log.TakeErrors(), ElementsAre(Failed("m_SMBusBase")));
}

TEST_F(CSMBusTest, AnUndrivenBusIsNoController) {
    // The base is known, but nothing decodes it.
    Start(kDefaultMachine, [](auto& rMachine) { rMachine.Pci.at({0, 20, 0})[0x91] = 0x7F; });
    StartDriver();
    EXPECT_NE(m_rHandler.GetSMBusBase(), 0);
    struct CUndriven : vxtsim::CSimModel {
        explicit CUndriven(vxtsim::CSimMachine&) {}
        bool ReadPort(uint16_t, uint32_t, uint32_t& ruValue) override {
            ruValue = 0xFF;
            return true;
        }
    };
    Machine().Plug<CUndriven>();
    EXPECT_FALSE(Read(0x50, 0));
    EXPECT_THAT(m_Log.TakeErrors(), ElementsAre(Failed("ucData != 0xFF")));
}

}  // namespace
