// Firmware methods from several threads: one at a time, whichever connection they go through.
#include <atomic>
#include <thread>

#include "firmware/firmware_fixture.h"
#include "sim/firmware.h"

namespace {

using namespace vxttest;

TEST_F(CFirmwarePc, MethodsOfSeveralThreadsAndConnectionsNeverOverlap) {
    constexpr int kThreads = 4, kCalls = 50;
    std::atomic<int> nGood = 0;
    {
        std::vector<std::jthread> Threads;
        for (int nThread = 0; nThread < kThreads; ++nThread)
            Threads.emplace_back([&, nThread] {
                vxt::CQORBIOSHandler Own;  // connected here, as COM wants it
                vxt::CWmiHandler& rWmi = nThread % 2 ? static_cast<vxt::CWmiHandler&>(Handler()) : Own;
                const bool bConnected = nThread % 2 || Own.Connect(vxt::kFirmwareNamespace);
                for (int nCall = 0; bConnected && nCall < kCalls; ++nCall) {
                    vxt::platform::WmiValue Value;
                    if (rWmi.CallMethod(L"QOR_ACPI", L"QueryVersion", nullptr, nullptr, L"Version", &Value) &&
                        std::holds_alternative<int32_t>(Value))
                        ++nGood;
                }
                Own.Disconnect();
            });
    }
    EXPECT_EQ(nGood, kThreads * kCalls);
    EXPECT_EQ(System().m_Wmi.Firmware()->MostAtOnce(), 1u);
}

}  // namespace
