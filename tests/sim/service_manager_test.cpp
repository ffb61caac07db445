// The simulated service manager, where a library that waits in the right places never meets it: services that stop slowly,
// are in use or on their way out.
#include "platform/driver_channel.h"
#include "platform/service_control.h"
#include "support/simulated_pc.h"

namespace {

using namespace vxt::platform;

struct ServiceManager : vxttest::CSimulatedPc {
    bool Create() { return bool(m_Service = CreateDriverService(m_Manager, L"VXTDriver", L"x")); }
    uint32_t State() {
        uint32_t uState = 0;
        EXPECT_TRUE(QueryServiceStatus(m_Service, uState));
        return uState;
    }
    /// What the call leaves behind; 0 when it succeeds.
    static uint32_t Error(bool bDone) { return bDone ? 0 : LastError(); }

    CServiceHandle m_Manager = OpenServiceManager(), m_Service;
};

TEST_F(ServiceManager, ADriverThatSomebodyHasOpenStaysStopping) {
    ASSERT_TRUE(Create());
    EXPECT_EQ(State(), kServiceStopped);
    EXPECT_EQ(Error(StopService(m_Service)), kErrorServiceNotActive);
    ASSERT_TRUE(StartService(m_Service));
    EXPECT_EQ(State(), kServiceRunning);
    EXPECT_EQ(Error(StartService(m_Service)), kErrorServiceAlreadyRunning);

    CDriverChannel Driver = OpenDriver(L"\\\\.\\VXTDriver");
    ASSERT_TRUE(Driver);
    System().m_uOtherDriverHandles = 1;
    ASSERT_TRUE(StopService(m_Service));
    for (const bool bOthersOnly : {false, true}) {
        if (bOthersOnly) Driver.Reset();
        EXPECT_EQ(State(), kServiceStopPending);
        EXPECT_EQ(Error(StopService(m_Service)), kErrorServiceCannotAcceptControl);
        EXPECT_EQ(Error(StartService(m_Service)), kErrorServiceAlreadyRunning);
        EXPECT_FALSE(OpenDriver(L"\\\\.\\VXTDriver"));
    }
    System().m_uOtherDriverHandles = 0;
    EXPECT_EQ(State(), kServiceStopped);
    EXPECT_TRUE(StartService(m_Service));
}

TEST_F(ServiceManager, StoppingTakesAsLongAsItIsTold) {
    System().m_uStopMilliseconds = 30;
    System().m_uStopQueries = 2;
    ASSERT_TRUE(Create() && StartService(m_Service) && StopService(m_Service));
    Machine().Advance(29'000'000);
    EXPECT_EQ(State(), kServiceStopPending);
    EXPECT_EQ(State(), kServiceStopPending);
    EXPECT_EQ(State(), kServiceStopPending) << "not long enough";
    Machine().Advance(1'000'000);
    EXPECT_EQ(State(), kServiceStopped);
}

TEST_F(ServiceManager, ADeletedServiceIsThereUntilItHasStoppedAndItsLastHandleIsClosed) {
    ASSERT_TRUE(Create() && StartService(m_Service));
    EXPECT_EQ(Error(bool(CreateDriverService(m_Manager, L"VXTDriver", L"x"))), kErrorServiceExists);
    System().m_Services.at(L"VXTDriver").uHandles++;  // another process's
    ASSERT_TRUE(DeleteService(m_Service));
    EXPECT_EQ(Error(DeleteService(m_Service)), kErrorServiceMarkedForDelete);
    EXPECT_EQ(Error(StartService(m_Service)), kErrorServiceMarkedForDelete);
    EXPECT_TRUE(StopService(m_Service)) << "it can still be stopped";
    m_Service.Reset();
    EXPECT_EQ(Error(bool(CreateDriverService(m_Manager, L"VXTDriver", L"x"))), kErrorServiceMarkedForDelete);
    System().m_Services.at(L"VXTDriver").uHandles--;
    EXPECT_EQ(Error(bool(OpenService(m_Manager, L"VXTDriver"))), kErrorServiceDoesNotExist);
    EXPECT_TRUE(Create());
}

}  // namespace
