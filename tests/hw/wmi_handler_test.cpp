// One WMI connection: connecting, looking things up, calling methods under the mutex that all processes share.
#include "hw/wmi_handler.h"

#include <gmock/gmock.h>

#include "firmware/firmware_fixture.h"
#include "platform/clock.h"

namespace {

using namespace vxttest;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using vxt::CWmiHandler;
using vxt::platform::CWmiObject;
using vxt::platform::WmiValue;
using EHandle = vxt::platform::simulated::CSimulatedSystem::EHandle;

constexpr const wchar_t* kMutex = L"VXT_WMI_HANDLER_MUTEX";
constexpr const wchar_t* kClass = L"QOR_ACPI";
constexpr const char* kTwoBioses = R"([wmi root\cimv2 Win32_BIOS]
SerialNumber = text:first
[wmi root\cimv2 Win32_BIOS]
SerialNumber = text:second
)";

std::string g_Text(const WmiValue& rValue) {
    const auto* const psText = std::get_if<std::wstring>(&rValue);
    return psText ? std::string(psText->begin(), psText->end()) : "no text";
}

/// Works on a connection of its own beside the library's.
struct CWmiHandlerTest : CFirmwarePc {
    CWmiHandlerTest() { m_Wmi.Connect(vxt::kFirmwareNamespace); }
    ~CWmiHandlerTest() override { m_Wmi.Disconnect(); }

    void Restart(const std::string& sMore) {
        m_Wmi.Disconnect();
        Boot(sMore);
        ASSERT_TRUE(m_Wmi.Connect(vxt::kFirmwareNamespace));
    }
    bool GetVersion(WmiValue& rValue) {
        return m_Wmi.CallMethod(kClass, L"QueryVersion", nullptr, nullptr, L"Version", &rValue);
    }
    bool GetVersion() {
        WmiValue Value;
        return GetVersion(Value);
    }
    /// Open WMI handles that are no connection: what an operation forgot.
    size_t Forgotten() {
        return static_cast<size_t>(std::ranges::count_if(System().m_Handles, [](const auto& rEntry) {
            return rEntry.second.eKind >= EHandle::kWmiLocator && rEntry.second.eKind != EHandle::kWmiServices;
        }));
    }
    bool IsMutexFree() { return System().m_Mutexes.at(kMutex).uTaken == 0; }

    CWmiHandler m_Wmi;
};

TEST_F(CWmiHandlerTest, ASecondConnectFailsAndKeepsTheConnection) {
    EXPECT_FALSE(m_Wmi.Connect(vxt::kSystemNamespace));
    EXPECT_THAT(m_Log.TakeErrors(), ElementsAre(g_ProcessError("m_pIWbemServices == NULL", "CWmiHandler::Connect")));
    EXPECT_TRUE(GetVersion()) << "still the firmware's namespace";
    EXPECT_TRUE(m_Wmi.Disconnect());
    EXPECT_TRUE(m_Wmi.Disconnect()) << "nothing to do is no failure";
    EXPECT_FALSE(m_Wmi.Connect(L"root\\nowhere"));
    EXPECT_THAT(m_Log.TakeErrors(), ElementsAre(g_ComError("hRetCode", "CWmiHandler::Connect")));
    EXPECT_TRUE(m_Wmi.Connect(vxt::kSystemNamespace)) << "a failed one leaves it free";
}

TEST_F(CWmiHandlerTest, EachStepOfConnectFailsInItsOwnWayAndDisconnectLeavesNothing) {
    for (CWmiHandler* const pHandler : {&m_Wmi, &vxt::g_GetSystemWmi(), &vxt::g_GetFirmwareWmi()})
        pHandler->Disconnect();
    Handler().Disconnect();
    EXPECT_THAT(System().m_Handles, IsEmpty()) << "the mutex goes with the last connection";
    System().m_Mutexes.clear();
    TakeTrace();
    EXPECT_TRUE(m_Wmi.Connect(vxt::kFirmwareNamespace));
    EXPECT_THAT(TakeTrace(),
                ElementsAre("CreateWmiLocator", "ConnectWmiServer", "SetWmiProxyBlanket", "OpenMutex", "CreateMutex"));
    EXPECT_EQ(System().m_Mutexes.at(kMutex).sSddl,
              L"D:(D;OICI;GA;;;BG)(D;OICI;GA;;;AN)(A;OICI;GRGWGX;;;AU)(A;OICI;GA;;;BA)");
    m_Wmi.Disconnect();
    EXPECT_TRUE(m_Wmi.Connect(vxt::kFirmwareNamespace));
    EXPECT_EQ(TakeTrace().back(), "OpenMutex") << "another process has made it";
    m_Wmi.Disconnect();

    const struct {
        bool bConnected;  ///< although the answer is no
        Lines Errors;
    } kSteps[] = {
        {false, {g_ComError("hRetCode", "CWmiHandler::Connect")}},
        {false, {g_ComError("hRetCode", "CWmiHandler::Connect")}},
        {true, {}},
        {true, {}},  // a mutex that cannot be opened is created
        {true, {g_ProcessError("hWMIMutex", "CWmiHandler::Connect")}},
    };
    for (uint32_t uStep = 0; uStep < std::size(kSteps); ++uStep) {
        SCOPED_TRACE(uStep);
        System().m_Mutexes.clear();
        System().FailAfter(uStep);
        const bool bConnected = m_Wmi.Connect(vxt::kFirmwareNamespace);
        System().StopFailing();
        EXPECT_EQ(bConnected, uStep == 3);
        EXPECT_EQ(m_Log.TakeErrors(), kSteps[uStep].Errors);
        EXPECT_EQ(bool(m_Wmi.GetObject(kClass)), kSteps[uStep].bConnected);
        EXPECT_TRUE(m_Wmi.Disconnect());
        EXPECT_THAT(System().m_Handles, IsEmpty());
        m_Log.Take();
    }
}

TEST_F(CWmiHandlerTest, LookUpsNameTheInputTheyMiss) {
    const CWmiObject Class = m_Wmi.GetObject(kClass);
    ASSERT_TRUE(Class);
    WmiValue Value;
    CWmiHandler Idle;
    const struct {
        std::function<bool()> Run;
        const char *pszText, *pszFunction;
    } kCases[] = {
        {[&] { return bool(m_Wmi.GetObject(nullptr)); }, "pszObjectName", "CWmiHandler::GetObjectW"},
        {[&] { return bool(Idle.GetObject(kClass)); }, "m_pIWbemServices", "CWmiHandler::GetObjectW"},
        {[&] { return bool(m_Wmi.GetInstance(nullptr, 0)); }, "pszClassName", "CWmiHandler::GetInstance"},
        {[&] { return bool(Idle.GetInstance(kClass, 0)); }, "m_pIWbemServices", "CWmiHandler::GetInstance"},
        {[&] { return m_Wmi.GetPropertyValue({}, L"a", &Value); }, "pObject", "CWmiHandler::GetPropertyValue"},
        {[&] { return m_Wmi.GetPropertyValue(Class, nullptr, &Value); }, "pszPropertyName",
         "CWmiHandler::GetPropertyValue"},
        {[&] { return m_Wmi.GetPropertyValue(Class, L"a", nullptr); }, "pvaPropertyValue",
         "CWmiHandler::GetPropertyValue"},
        {[&] { return Idle.GetPropertyValue(Class, L"a", &Value); }, "m_pIWbemServices",
         "CWmiHandler::GetPropertyValue"},
    };
    for (const auto& [Run, pszText, pszFunction] : kCases) {
        EXPECT_FALSE(Run()) << pszText;
        EXPECT_THAT(m_Log.TakeErrors(), ElementsAre(g_ProcessError(pszText, pszFunction)));
    }
    EXPECT_FALSE(m_Wmi.GetPropertyValue(Class, L"nonsense", &Value));
    EXPECT_THAT(m_Log.TakeErrors(), ElementsAre(g_ComError("hRetCode", "CWmiHandler::GetPropertyValue")));
    EXPECT_FALSE(m_Wmi.GetInstance(L"Nonsense", 0));
    EXPECT_THAT(m_Log.TakeErrors(), ElementsAre(g_ComError("hRetCode", "CWmiHandler::GetInstance")));
    EXPECT_FALSE(m_Wmi.GetObject(L"Nonsense"));
    EXPECT_THAT(m_Log.TakeErrors(), IsEmpty()) << "an absent object is an answer";
}

TEST_F(CWmiHandlerTest, InstancesAreCountedFromZeroAndEnd) {
    Restart(kTwoBioses);
    CWmiHandler& rSystem = vxt::g_GetSystemWmi();
    const struct {
        int32_t nIndex;
        const char* pszSerial;  ///< null: no such instance
    } kCases[] = {{0, "first"}, {1, "second"}, {2, nullptr}, {1000, nullptr}, {-1, nullptr}};
    for (const auto& [nIndex, pszSerial] : kCases) {
        const CWmiObject Instance = rSystem.GetInstance(L"Win32_BIOS", nIndex);
        ASSERT_EQ(bool(Instance), pszSerial != nullptr) << nIndex;
        if (!pszSerial) continue;
        WmiValue Value;
        EXPECT_TRUE(rSystem.GetPropertyValue(Instance, L"SerialNumber", &Value));
        EXPECT_EQ(g_Text(Value), pszSerial);
    }
    EXPECT_THAT(m_Log.TakeErrors(), IsEmpty());
    EXPECT_EQ(Forgotten(), 0u);
    // Shallow, forward only, read directly; two seconds for each instance.
    EXPECT_EQ(System().m_Wmi.Enumerations().at(1), (vxtsim::CSimWmi::CEnumeration{"Win32_BIOS", 0x221, {2000, 2000}}));
}

TEST_F(CWmiHandlerTest, MethodsRunOnTheClassWhenStaticElseOnItsFirstInstance) {
    for (const bool bStatic : {false, true}) {
        SCOPED_TRACE(bStatic);
        std::string sText = kFirmware;
        if (bStatic) sText.replace(sText.find("version ="), 0, "static_methods = 1\n");
        m_Wmi.Disconnect();
        Boot("", sText);
        ASSERT_TRUE(m_Wmi.Connect(vxt::kFirmwareNamespace));
        TakeTrace();
        WmiValue Value;
        EXPECT_TRUE(GetVersion(Value));
        EXPECT_EQ(std::get<int32_t>(Value), 3);
        const Lines Trace = TakeTrace();
        EXPECT_EQ(std::ranges::count(Trace, "NextWmiInstance"), bStatic ? 0 : 1);
        EXPECT_EQ(Trace.front(), "WaitMutex");
        EXPECT_TRUE(IsMutexFree());
        EXPECT_THAT(m_Log.TakeErrors(), IsEmpty());
    }
}

TEST_F(CWmiHandlerTest, WithoutAConnectionACallLeavesOneLine) {
    CWmiHandler Idle;
    const auto Call = [&] {
        EXPECT_FALSE(Idle.CallMethod(kClass, L"QueryVersion", nullptr, nullptr, nullptr, nullptr));
        return m_Log.TakeErrors();
    };
    EXPECT_THAT(Call(), ElementsAre(g_ProcessError("m_pIWbemServices", "CWmiHandler::CallMethod")));
    EXPECT_TRUE(IsMutexFree());
    for (CWmiHandler* const pHandler : {&m_Wmi, &vxt::g_GetSystemWmi(), &vxt::g_GetFirmwareWmi()})
        pHandler->Disconnect();
    Handler().Disconnect();
    EXPECT_THAT(Call(), ElementsAre(g_ProcessError("ulWaitResult == WAIT_OBJECT_0", "CWmiHandler::CallMethod")))
        << "there is no mutex either";
}

TEST_F(CWmiHandlerTest, AnotherProcessIsWaitedForFiveSeconds) {
    const uint32_t uBegin = vxt::platform::TickCount();
    System().OtherProcessTakesMutex(kMutex, 4999);
    EXPECT_TRUE(GetVersion());
    EXPECT_THAT(m_Log.TakeErrors(), IsEmpty());
    System().OtherProcessTakesMutex(kMutex, 60'000);
    const uint32_t uWaiting = vxt::platform::TickCount();
    EXPECT_FALSE(GetVersion());
    EXPECT_EQ(vxt::platform::TickCount() - uWaiting, 5000u);
    EXPECT_EQ(uWaiting - uBegin, 4999u);
    EXPECT_THAT(m_Log.TakeErrors(),
                ElementsAre(g_ProcessError("ulWaitResult == WAIT_OBJECT_0", "CWmiHandler::CallMethod")));
}

TEST_F(CWmiHandlerTest, AMutexWhoseOwnerDiedFailsOneCallAndServesTheNext) {
    System().AbandonMutex(kMutex);
    EXPECT_FALSE(GetVersion());
    EXPECT_TRUE(IsMutexFree()) << "it was ours, so it had to be released";
    EXPECT_TRUE(GetVersion());
    EXPECT_THAT(m_Log.TakeErrors(),
                ElementsAre(g_ProcessError("ulWaitResult == WAIT_OBJECT_0", "CWmiHandler::CallMethod")));
}

TEST_F(CWmiHandlerTest, WrongNamesAndTypesOfACallAreReportedAndOptionalOnesMayBeMissing) {
    const WmiValue Id = 0x01010000, Wrong = std::wstring(L"text");
    WmiValue Value;
    const std::string sCom = g_ComError("hr", "CWmiHandler::CallMethod");
    EXPECT_FALSE(m_Wmi.CallMethod(kClass, nullptr, nullptr, nullptr, nullptr, nullptr));
    EXPECT_THAT(m_Log.TakeErrors(), ElementsAre(g_ProcessError("pszMethodName", "CWmiHandler::CallMethod")));
    EXPECT_FALSE(m_Wmi.CallMethod(nullptr, L"GetValue", L"id", &Id, L"pack", &Value));
    EXPECT_THAT(m_Log.TakeErrors(), ElementsAre(g_ProcessError("pszObjectName", "CWmiHandler::GetObjectW")));
    EXPECT_FALSE(m_Wmi.CallMethod(L"Nonsense", L"GetValue", L"id", &Id, L"pack", &Value));
    EXPECT_THAT(m_Log.TakeErrors(), IsEmpty()) << "no such firmware";
    EXPECT_FALSE(m_Wmi.CallMethod(kClass, L"Nonsense", L"id", &Id, L"pack", &Value));
    EXPECT_FALSE(m_Wmi.CallMethod(kClass, L"GetValue", L"nonsense", &Id, L"pack", &Value));
    EXPECT_FALSE(m_Wmi.CallMethod(kClass, L"GetValue", L"id", &Wrong, L"pack", &Value));
    EXPECT_FALSE(m_Wmi.CallMethod(kClass, L"GetValue", L"id", &Id, L"nonsense", &Value));
    EXPECT_THAT(m_Log.TakeErrors(), ElementsAre(sCom, sCom, sCom, sCom));
    EXPECT_TRUE(m_Wmi.CallMethod(kClass, L"GetValue", L"id", &Id, nullptr, &Value));
    EXPECT_TRUE(m_Wmi.CallMethod(kClass, L"GetValue", L"id", &Id, L"pack", nullptr));
    EXPECT_TRUE(std::holds_alternative<vxt::platform::CWmiEmpty>(Value)) << "untouched";
    EXPECT_THAT(m_Log.TakeErrors(), IsEmpty());
}

}  // namespace
