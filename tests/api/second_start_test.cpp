// What the exports do on a start that finds the library running.
#include <gmock/gmock.h>
#include <vxtapi/vxtapi.h>

#include <filesystem>
#include <fstream>
#include <regex>
#include <set>
#include <sstream>

#include "api/engine.h"
#include "support/simulated_pc.h"

namespace {

struct CSecondStartTest : vxttest::CSimulatedPc {
    ~CSecondStartTest() override { UnInitVXTAPI(); }
};

// The engine refuses, its connections being open, and gives everything back: the timers that the cores have mapped, too.
TEST_F(CSecondStartTest, AfterASecondStartThatFailsACoreReadsNoClockAndTouchesNothing) {
    ASSERT_TRUE(InitVXTAPI(false));
    auto* const pCore = static_cast<vxtapi::CCPU*>(GetDeviceManager()->GetDevice(vxtapi::kDeviceCpu, 0));
    ASSERT_NE(pCore, nullptr);
    ASSERT_GT(pCore->GetCurrentClock(), 0.0);
    EXPECT_FALSE(InitVXTAPI(false));
    EXPECT_TRUE(System().m_Services.empty()) << "the process held one unit, not two";
    EXPECT_EQ(Machine().MappingCount(), 0u);
    TakeTrace();
    EXPECT_EQ(pCore->GetCurrentClock(), 0.0);
    EXPECT_THAT(TakeTrace(), ::testing::ElementsAre("SetThreadAffinity"));
}

TEST_F(CSecondStartTest, EachStepOfAStartReportsFromALineOfItsOwn) {
    Start(kDefaultMachine, [](auto& rMachine) { rMachine.oFirmware.reset(); });
    ASSERT_TRUE(InitVXTAPI(true));
    std::ostringstream Log;
    for (const auto& rEntry : std::filesystem::recursive_directory_iterator("Logs"))
        if (rEntry.is_regular_file()) Log << std::ifstream(rEntry.path()).rdbuf();
    const std::string sLog = Log.str();
    const std::regex Line(R"(\(bRetCode\) at line (\d+) in g_InitEngine)");
    std::multiset<std::string> Lines;
    for (std::sregex_iterator it(sLog.begin(), sLog.end(), Line), itEnd; it != itEnd; ++it) Lines.insert((*it)[1]);
    EXPECT_EQ(Lines.size(), 4u) << sLog;
    EXPECT_EQ(std::set<std::string>(Lines.begin(), Lines.end()).size(), 4u) << sLog;
}

}  // namespace
