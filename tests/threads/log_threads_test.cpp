#include <gtest/gtest.h>

#include <filesystem>
#include <set>
#include <thread>

#include "api/log/log.h"
#include "support/simulated_pc.h"

namespace {

TEST(CLogThreads, LinesOfManyThreadsAreAllThereAndNeverInterleaved) {
    constexpr int kThreads = 4, kLines = 200;
    vxttest::CLogCapture Capture;
    ASSERT_TRUE(vxt::g_GetLog().Init("VXTAPI", 65535, vxt::CLog::kToFile, 90));
    {
        std::vector<std::jthread> Threads;
        for (int nThread = 0; nThread < kThreads; ++nThread)
            Threads.emplace_back([nThread] {
                for (int i = 0; i < kLines; ++i) vxt::g_GetLog().WriteLog(4, "thread %d line %d", nThread, i);
            });
    }
    std::set<std::string> Seen;
    for (const std::string& sLine : Capture.Take()) Seen.insert(sLine);
    EXPECT_EQ(Seen.size(), size_t{kThreads} * kLines);
    EXPECT_TRUE(Seen.contains("4 thread 3 line 199"));
}

TEST(CLogThreads, AHostMayWriteWhileTheLogIsInitialised) {
    vxttest::CLogCapture Capture;
    std::jthread Writer([](const std::stop_token& rStop) {
        while (!rStop.stop_requested()) vxt::g_GetLog().WriteLog(1, "line");
    });
    for (int i = 0; i < 50; ++i) {
        vxt::g_GetLog().UnInit();
        ASSERT_TRUE(vxt::g_GetLog().Init("VXTAPI", i % 2 ? 65535 : 0, vxt::CLog::kToFile, 90));
    }
}

}  // namespace
