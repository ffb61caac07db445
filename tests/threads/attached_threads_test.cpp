// A controller's list of what is attached: hosts ask and refresh while its thread looks and devices come and go.
#include <atomic>
#include <thread>

#include "devices/peripherals/device_controller.h"
#include "platform/clock.h"
#include "support/simulated_pc.h"

namespace {

using namespace std::chrono_literals;
using CAttachedThreads = vxttest::CSimulatedPc;

TEST_F(CAttachedThreads, HostsAskWhileTheThreadLooks) {
    constexpr uint32_t kSeconds = 400;
    Start(kDefaultMachine, [](vxtsim::CMachineDescription& rMachine) {
        for (uint32_t i = 0; i < kSeconds; i += 2) {
            vxtsim::CPluggedDevice Stick;
            Stick.sClass = "usb", Stick.sId = "STICK" + std::to_string(i);
            Stick.sParent = R"(USB\ROOT_HUB\4&1A2B3C4&0)";
            Stick.uFrom = i, Stick.uUntil = i + 2;
            rMachine.Devices.push_back(std::move(Stick));
        }
    });
    System().m_pTrace = nullptr;  // read by the test alone
    for (const bool bUnInit : {true, false}) {
        vxt::CUSBController Usb(1ms);
        ASSERT_TRUE(Usb.Init(1));  // the one with the hub
        std::atomic<uint32_t> uRead = 0, uLooks = 0, uLastChanges = 0;
        {
            std::vector<std::jthread> Hosts;
            for (int nHost = 0; nHost < 4; ++nHost)
                Hosts.emplace_back([&, nHost] {
                    vxtapi::AttachedDevice Device;
                    for (int nTime = 0; nTime < 50; ++nTime) {
                        // The list may shrink between the two, never be half of an old and half of a new one.
                        const uint32_t uCount = Usb.GetAttachedCount();
                        for (uint32_t i = 0; i < uCount; ++i)
                            if (Usb.GetAttached(i, &Device)) ++uRead;
                        if (nHost == 0) vxt::platform::Sleep(2000);
                        if (nHost == 1) uLooks += Usb.RefreshDevices();
                        const uint32_t uChanges = Usb.GetChanges();
                        for (uint32_t uLast = uLastChanges; uLast < uChanges;)
                            if (uLastChanges.compare_exchange_weak(uLast, uChanges)) break;
                    }
                });
        }
        EXPECT_GT(uRead, 0u);
        EXPECT_EQ(uLooks, 50u);
        EXPECT_GT(uLastChanges, 1u);
        EXPECT_GE(Usb.GetChanges(), uLastChanges);
        if (bUnInit) Usb.UnInit();
    }
}

}  // namespace
