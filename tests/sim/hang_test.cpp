// A PC that hangs: the end of its process, and what the next one finds.
#include <unistd.h>

#include <filesystem>
#include <fstream>

#include "platform/clock.h"
#include "platform/registry.h"
#include "platform/simulated/simulated_system.h"
#include "sim/sim_client.h"

namespace vxt::platform::simulated {
namespace {

namespace fs = std::filesystem;

/// A folder for a state file, which no process has.
struct Hang : ::testing::Test {
    Hang() { fs::create_directories(m_Folder); }
    ~Hang() override {
        g_Restart(vxtsim::g_Embedded("family10h-ddr3"));
        fs::remove_all(m_Folder);
    }
    /// Reference clock and registry value of the PC that the next process finds.
    std::string Found() const {
        g_Restart("", m_sState);
        EXPECT_EQ(g_MachineError(), nullptr);
        const std::string sFound = std::to_string(static_cast<int>(g_GetMachine().ReferenceMHz())) + ' ' +
                                   g_GetMachine().RegistryValue("HKCU\\Software\\Maker!Next").value_or("-");
        g_Restart(vxtsim::g_Embedded("family10h-ddr3"));
        return sFound;
    }
    /// What hangs after a while: 250 MHz times 15 are more than 3700. Before that, a value is written to the registry.
    void Tune(bool bWait) const {
        g_Restart(m_sMachine, m_sState);
        EXPECT_EQ(g_MachineError(), nullptr);
        EXPECT_TRUE(SetRegistryText(CreateUserKey(L"Software\\Maker"), L"Next", L"go on"));
        g_GetMachine().SetReferenceClock(250);
        EXPECT_TRUE(g_KeepState());
        if (bWait) Sleep(1000);
    }

    const fs::path m_Folder = fs::path(testing::TempDir()) / ("vxt-hang-" + std::to_string(getpid()));
    const std::string m_sState = (m_Folder / "pc.state").string();
    std::string m_sMachine = "family10h-ddr3";
};

TEST_F(Hang, EndsTheProcessAndTheNextOneFindsAResetPcWithItsRegistry) {
    const std::string sLine = "^the simulated PC hangs: core 0 at 3750 MHz, its silicon stands 3700 MHz\n$";
    const auto AtExit = [] { std::fputs("a handler ran", stderr); };
    EXPECT_EXIT((std::atexit(AtExit), Tune(true)), testing::ExitedWithCode(137), sLine);
    EXPECT_EQ(Found(), "200 sz:go on");
    EXPECT_EXIT((Tune(false), _exit(0)), testing::ExitedWithCode(0), "^$");
    EXPECT_EQ(Found(), "250 sz:go on") << "it still ran";
}

TEST_F(Hang, AMachineThatHasChangedSinceIsNotSwitchedOnAnew) {
    m_sMachine = (m_Folder / "my.machine").string();
    const auto Write = [this](const char* pszMore) {
        std::ofstream(m_sMachine) << "[machine]\nbased_on = family10h-ddr3\n" << pszMore;
    };
    Write("");
    EXPECT_EXIT((Tune(false), Write("name = other\n"), Sleep(1000)), testing::ExitedWithCode(137),
                "^" + m_sState + ": stays as it is: " + m_sMachine + " has changed\nthe simulated PC hangs");
    EXPECT_EQ(Found(), "250 sz:go on");
}

TEST_F(Hang, MayThrowInATestAndWhatIsDoneAfterwardsIsLost) {
    Tune(false);
    g_GetSystem().m_OnHang = [](const std::string& sReason) { throw std::runtime_error(sReason); };
    EXPECT_THROW(SleepWhileComputing(300), std::runtime_error);
    g_GetMachine().SetReferenceClock(210);
    EXPECT_TRUE(g_KeepState());
    EXPECT_EQ(Found(), "250 sz:go on");
}

}  // namespace
}  // namespace vxt::platform::simulated
