// The library's road to Windows management, against a management service of known contents. After every test everything
// that was handed out has come back.
#include "platform/wmi.h"

#include "platform/named_objects.h"
#include "platform/physical_section.h"
#include "platform/windows/com_owners.h"

// Behind windows_api.h: it brings <windows.h>, whose macros would rename the seam's functions.
#include <gtest/gtest.h>

#include <functional>
#include <sstream>
#include <thread>

#include "allocations.h"
#include "kinds.h"
#include "physical_memory.h"
#include "wmi_server/com_object.h"
#include "wmi_server/wmi_server.h"

using namespace vxt::platform;

namespace {

constexpr uint32_t kInstanceFlags = 0x221;  // shallow, forward only, direct read
constexpr const wchar_t* kFirmwareClass = L"QOR_ACPI";

const CWmiServer& g_GetServer() {
    static const CWmiServer s_Server;
    return s_Server;
}

CWmiServices g_Connect(const wchar_t* pszNamespace = L"root\\wmi") {
    CWmiLocator Locator;
    CWmiServices Services;
    if (CreateWmiLocator(Locator) >= 0) (void)ConnectWmiServer(Locator, pszNamespace, Services);
    return Services;
}

class CWmi : public testing::Test {
protected:
    void SetUp() override {
        ASSERT_TRUE(g_GetServer().IsComplete());
        const char* const pszError = g_GetServer().UseMachine(kMachine);
        ASSERT_EQ(pszError, nullptr) << pszError;
        (void)g_Connect();  // what COM keeps for good is there from now on
        m_nObjects = g_GetServer().LiveObjects();
        m_nAllocations = g_LiveAllocations();
        m_Services = g_Connect();
        ASSERT_TRUE(m_Services);
        ASSERT_EQ(SetWmiProxyBlanket(m_Services), S_OK);
    }
    void TearDown() override {
        m_Services.Reset();
        if (HasFailure()) return;  // what a failed check allocated stays
        EXPECT_EQ(g_GetServer().LiveObjects(), m_nObjects);
        EXPECT_EQ(g_LiveAllocations(), m_nAllocations);
    }

    CWmiObject Class(const wchar_t* pszPath = kFirmwareClass) const {
        CWmiObject Object;
        EXPECT_GE(GetWmiObject(m_Services, pszPath, Object), 0) << pszPath;
        return Object;
    }
    CWmiObject Instance(const wchar_t* pszClass, uint32_t uIndex = 0) const {
        CWmiEnumerator Enumerator;
        EXPECT_GE(CreateWmiInstanceEnum(m_Services, pszClass, kInstanceFlags, Enumerator), 0);
        CWmiObject Object = NextWmiInstance(Enumerator, 2000);
        while (Object && uIndex--) Object = NextWmiInstance(Enumerator, 2000);
        return Object;
    }
    static std::wstring Path(const CWmiObject& rObject) {
        WmiValue Value;
        EXPECT_GE(GetWmiProperty(rObject, L"__PATH", Value), 0);
        return std::holds_alternative<std::wstring>(Value) ? std::get<std::wstring>(Value) : L"";
    }

    CWmiServices m_Services;

private:
    int32_t m_nObjects = 0, m_nAllocations = 0;
};

struct CDescribe {
    std::string operator()(const CWmiEmpty&) const { return "empty"; }
    std::string operator()(const CWmiNull&) const { return "null"; }
    std::string operator()(bool bValue) const { return bValue ? "yes" : "no"; }
    std::string operator()(int32_t nValue) const { return std::to_string(nValue); }
    std::string operator()(const std::wstring& rsText) const {
        return "'" + std::string(rsText.begin(), rsText.end()) + "'";
    }
    std::string operator()(const CWmiObject& rObject) const { return rObject ? "object" : "no object"; }
    template <class TElement> std::string operator()(const CWmiArray<TElement>& rArray) const {
        std::string sText = sizeof(TElement) == 1 ? "bytes" : "array";
        for (const TElement& rElement : rArray.Elements) sText += " " + Element(rElement);
        return sText + (rArray.bHasData ? "" : " without data");
    }
    std::string operator()(const CWmiOther& rOther) const { return "type " + std::to_string(rOther.usType); }

    template <class TNumber> static std::string Element(TNumber Number) { return std::to_string(Number); }
    static std::string Element(const std::wstring& rsText) { return CDescribe()(rsText); }
};

std::string g_Read(const CWmiObject& rObject, const wchar_t* pszName) {
    WmiValue Value;
    return GetWmiProperty(rObject, pszName, Value) < 0 ? "failed" : std::visit(CDescribe(), Value);
}

TEST_F(CWmi, EveryKindOfValueIsReadAsWhatItIs) {
    const CWmiObject Object = Instance(L"Kinds");
    ASSERT_TRUE(Object);
    std::istringstream Rows(kKinds);
    int nRows = 0;
    for (std::string sName, sValue; std::getline(Rows, sName, '=') && std::getline(Rows, sValue); ++nRows)
        EXPECT_EQ(g_Read(Object, std::wstring(sName.begin(), sName.end()).c_str()), sValue) << sName;
    EXPECT_EQ(nRows, 20);
    EXPECT_EQ(g_Read(Object, nullptr), "failed");
    EXPECT_EQ(g_Read(CWmiObject(), L"number"), "failed");
}

TEST_F(CWmi, AFailedReadLeavesTheCallersValue) {
    WmiValue Value = std::wstring(L"before");
    EXPECT_LT(GetWmiProperty(Class(), L"absent", Value), 0);
    EXPECT_EQ(std::visit(CDescribe(), Value), "'before'");
}

TEST_F(CWmi, InstancesComeInOrderAndEnd) {
    EXPECT_EQ(g_Read(Instance(L"Kinds", 1), L"number"), "6");
    EXPECT_FALSE(Instance(L"Kinds", 2));
    EXPECT_FALSE(Instance(L"NoSuchClass")) << "passed on to the system, which enumerates nothing";
    CWmiEnumerator Enumerator;
    EXPECT_LT(CreateWmiInstanceEnum(m_Services, L"Kinds", 0, Enumerator), 0) << "other flags";
    EXPECT_LT(CreateWmiInstanceEnum(m_Services, nullptr, kInstanceFlags, Enumerator), 0);
    EXPECT_FALSE(Enumerator);
    EXPECT_FALSE(NextWmiInstance(Enumerator, 2000));
}

/// What a property reads as after that was put; "refused" when it could not be, and then it is as it was.
std::string g_Put(const CWmiObject& rObject, const wchar_t* pszName, const WmiValue& rValue) {
    const std::string sBefore = g_Read(rObject, pszName);
    const bool bTaken = PutWmiProperty(rObject, pszName, rValue) >= 0;
    const std::string sAfter = g_Read(rObject, pszName);
    return bTaken ? sAfter : sAfter == sBefore ? "refused" : "refused, but changed to " + sAfter;
}

TEST_F(CWmi, WhatIsPutIsReadBack) {
    const CWmiObject Object = Instance(L"Kinds");
    EXPECT_EQ(g_Put(Object, L"number", int32_t{-2147483647 - 1}), "-2147483648");
    EXPECT_EQ(g_Put(Object, L"text", std::wstring(L"other")), "'other'");
    EXPECT_EQ(g_Put(Object, L"yes", false), "no");
    EXPECT_EQ(g_Put(Object, L"numbers", CWmiArray<int32_t>{{7, -8}}), "array 7 -8");
    EXPECT_EQ(g_Put(Object, L"bytes", CWmiArray<uint8_t>{{9, 9, 9}}), "bytes 9 9 9");
    EXPECT_EQ(g_Put(Object, L"texts", CWmiArray<std::wstring>{{L"x", L""}}), "array 'x' ''");
    EXPECT_EQ(g_Put(Object, L"null", Class()), "object");
    EXPECT_EQ(g_Put(Object, L"empty", CWmiNull{}), "null");
}

TEST_F(CWmi, WhatCannotBePutIsRefusedAndChangesNothing) {
    const CWmiObject Object = Instance(L"Kinds");
    EXPECT_EQ(g_Put(Object, L"number", std::wstring(L"5")), "refused") << "another type";
    EXPECT_EQ(g_Put(Object, L"bytes", CWmiArray<int32_t>{{1}}), "refused") << "another element type";
    EXPECT_EQ(g_Put(Object, L"numbers", CWmiArray<int32_t>{{}, false}), "refused") << "an array without data";
    EXPECT_EQ(g_Put(Object, L"texts", CWmiArray<std::wstring>{{}, false}), "refused");
    EXPECT_EQ(g_Put(Object, L"null", CWmiObject()), "refused") << "no object";
    EXPECT_EQ(g_Put(Object, L"null", CWmiOther{VT_BYREF | VT_I4}), "refused") << "a type nobody knows";
    EXPECT_EQ(g_Put(Object, L"absent", int32_t{1}), "refused") << "a property that is not there";
    EXPECT_EQ(g_Put(Object, nullptr, int32_t{1}), "refused") << "no name";
    EXPECT_EQ(g_Put(CWmiObject(), L"number", int32_t{1}), "refused");
}

/// Answers what no machine file can say: what a provider gets wrong about its own values.
class CConfusedObject final : public vxtwmi::CRefusingClassObject {
public:
    explicit CConfusedObject(std::function<void(VARIANT&)> Fill) : m_Fill(std::move(Fill)) {}
    STDMETHODIMP Get(LPCWSTR, LONG, VARIANT* pValue, CIMTYPE*, LONG*) override {
        m_Fill(*pValue);
        return S_OK;
    }

private:
    std::function<void(VARIANT&)> m_Fill;
};

/// Fills in an array of 2 x 3, 4 x 1, ... elements under a type of the caller's choice.
std::function<void(VARIANT&)> g_ArrayCalled(int nCalled, int nType, std::vector<ULONG> Sizes, LONG lFirst = 0) {
    return [=](VARIANT& rValue) {
        std::vector<SAFEARRAYBOUND> Bounds;
        for (const ULONG ulSize : Sizes) Bounds.push_back({ulSize, lFirst});
        rValue.vt = static_cast<VARTYPE>(VT_ARRAY | nCalled);
        rValue.parray = SafeArrayCreate(static_cast<VARTYPE>(nType), static_cast<UINT>(Bounds.size()), Bounds.data());
    };
}

TEST_F(CWmi, AProviderThatConfusesItsTypesIsNotBelieved) {
    const struct {
        const char* pszCase;
        std::function<void(VARIANT&)> Fill;
        const char* pszValue;
    } kCases[] = {
        {"numbers without sign", g_ArrayCalled(VT_UI4, VT_UI4, {2}), "array 0 0"},
        {"counted from elsewhere", g_ArrayCalled(VT_UI1, VT_UI1, {2}, -7), "bytes 0 0"},
        {"texts that nobody set", g_ArrayCalled(VT_BSTR, VT_BSTR, {1}), "array ''"},
        {"two dimensions", g_ArrayCalled(VT_I4, VT_I4, {2, 3}), "type 8195"},
        {"numbers called texts", g_ArrayCalled(VT_BSTR, VT_I4, {2}), "type 8200"},
        {"bytes called numbers", g_ArrayCalled(VT_I4, VT_UI1, {2}), "type 8195"},
        {"short numbers", g_ArrayCalled(VT_I2, VT_I2, {2}), "type 8194"},
        {"no text", [](VARIANT& r) { r.vt = VT_BSTR, r.bstrVal = nullptr; }, "''"},
        {"true as 1", [](VARIANT& r) { r.vt = VT_BOOL, r.boolVal = 1; }, "yes"},
        {"a reference to nowhere", [](VARIANT& r) { r.vt = VT_BYREF | VT_BSTR, r.byref = reinterpret_cast<void*>(1); },
         "type 16392"},
        {"no object", [](VARIANT& r) { r.vt = VT_UNKNOWN, r.punkVal = nullptr; }, "no object"},
        {"an object of another kind",
         [](VARIANT& r) {
             r.vt = VT_UNKNOWN, CreateStreamOnHGlobal(nullptr, TRUE, reinterpret_cast<IStream**>(&r.punkVal));
         },
         "no object"},
    };
    for (const auto& [pszCase, Fill, pszValue] : kCases) {
        const CWmiObject Object(reinterpret_cast<uintptr_t>(static_cast<IWbemClassObject*>(new CConfusedObject(Fill))));
        EXPECT_EQ(g_Read(Object, L"any"), pszValue) << pszCase;
    }
    EXPECT_EQ(vxtwmi::g_nLiveObjects, 0);
}

TEST_F(CWmi, AMethodsQualifierIsThereOnlyForAStaticOne) {
    for (const bool bStatic : {false, true}) {
        m_Services.Reset();
        const char* const pszError =
            g_GetServer().UseMachine(bStatic ? "[machine]\nname = a\n[firmware]\nstatic_methods = 1\n" : kMachine);
        ASSERT_EQ(pszError, nullptr) << pszError;
        m_Services = g_Connect();
        const CWmiObject Object = Class();
        WmiValue Value = int32_t{1};
        EXPECT_GE(GetWmiMethodQualifier(Object, L"GetValue", L"Static", Value), 0);
        EXPECT_EQ(std::visit(CDescribe(), Value), bStatic ? "yes" : "empty");
        EXPECT_GE(GetWmiMethodQualifier(Object, L"GetValue", L"Strange", Value), 0);
        EXPECT_EQ(std::visit(CDescribe(), Value), "empty");
        EXPECT_LT(GetWmiMethodQualifier(Object, L"NoSuchMethod", L"Static", Value), 0);
        EXPECT_LT(GetWmiMethodQualifier(CWmiObject(), L"GetValue", L"Static", Value), 0);
        EXPECT_LT(GetWmiMethodQualifier(Instance(kFirmwareClass), L"GetValue", L"Static", Value), 0)
            << "of an instance";
    }
}

TEST_F(CWmi, AMethodAnswersWithAnObjectInsideAnObject) {
    const CWmiObject Object = Class();
    CWmiObject Input, Output;
    ASSERT_GE(SpawnWmiMethodInput(Object, L"GetValue", Input), 0);
    ASSERT_GE(PutWmiProperty(Input, L"id", WmiValue(int32_t{0x01010000})), 0);
    ASSERT_GE(ExecuteWmiMethod(m_Services, Path(Instance(kFirmwareClass)).c_str(), L"GetValue", Input, Output), 0);
    WmiValue Pack;
    ASSERT_GE(GetWmiProperty(Output, L"pack", Pack), 0);
    ASSERT_TRUE(std::holds_alternative<CWmiObject>(Pack));
    EXPECT_EQ(g_Read(std::get<CWmiObject>(Pack), L"status"), "0");
    EXPECT_EQ(g_Read(std::get<CWmiObject>(Pack), L"value"), "200000");
}

TEST_F(CWmi, AnObjectGivenToAMethodReachesIt) {
    const CWmiObject Object = Class(), Package = Class(L"SetValuePackage");
    const std::wstring sPath = Path(Instance(kFirmwareClass));
    const auto Set = [&](int32_t nValue) {
        CWmiObject Input, Output, Again;
        EXPECT_GE(PutWmiProperty(Package, L"id", WmiValue(int32_t{0x01010000})), 0);
        EXPECT_GE(PutWmiProperty(Package, L"value", WmiValue(nValue)), 0);
        EXPECT_GE(SpawnWmiMethodInput(Object, L"SetValue", Input), 0);
        EXPECT_GE(GetWmiObject(m_Services, L"SetValuePackage", Again), 0);
        EXPECT_EQ(g_Read(Again, L"value").find("190000"), std::string::npos) << "a class that others see changed";
        WmiValue Pack;
        EXPECT_GE(PutWmiProperty(Package, L"id", WmiValue(int32_t{0x01010000})), 0);
        Pack = CWmiObject(Package.Get());
        EXPECT_GE(PutWmiProperty(Input, L"pack", Pack), 0);
        (void)std::get<CWmiObject>(Pack).Release();  // it was only lent
        EXPECT_GE(ExecuteWmiMethod(m_Services, sPath.c_str(), L"SetValue", Input, Output), 0);
        return g_Read(Output, L"status");
    };
    EXPECT_EQ(Set(190000), "0");
    EXPECT_EQ(Set(190001), "1") << "not in its list";
}

TEST_F(CWmi, AMethodThatCannotRunFails) {
    const CWmiObject Object = Class();
    const std::wstring sPath = Path(Instance(kFirmwareClass));
    CWmiObject Input, Output;
    EXPECT_LT(SpawnWmiMethodInput(Object, L"GetObjectID", Input), 0) << "it takes nothing";
    EXPECT_LT(SpawnWmiMethodInput(Object, L"NoSuchMethod", Input), 0);
    EXPECT_LT(SpawnWmiMethodInput(CWmiObject(), L"GetValue", Input), 0);
    EXPECT_FALSE(Input);
    const struct {
        const char* pszCase;
        std::wstring sPath;
        const wchar_t* pszMethod;
    } kCases[] = {
        {"a failing method", sPath, L"Init"},
        {"a method that wants input", sPath, L"GetValue"},
        {"an unknown method", sPath, L"NoSuchMethod"},
        {"an unknown class", L"NoSuchClass", L"Init"},
        {"a path that is none", L"\\\\\x2603:=", L"Init"},
    };
    for (const auto& [pszCase, sTarget, pszMethod] : kCases) {
        EXPECT_LT(ExecuteWmiMethod(m_Services, sTarget.c_str(), pszMethod, Input, Output), 0) << pszCase;
        EXPECT_FALSE(Output) << pszCase;
    }
}

TEST_F(CWmi, WithoutAConnectionNothingIsReached) {
    CWmiServices None;
    CWmiObject Object;
    CWmiEnumerator Enumerator;
    EXPECT_LT(ConnectWmiServer(CWmiLocator(), L"root\\wmi", None), 0);
    EXPECT_LT(SetWmiProxyBlanket(None), 0);
    EXPECT_LT(GetWmiObject(None, kFirmwareClass, Object), 0);
    EXPECT_LT(CreateWmiInstanceEnum(None, kFirmwareClass, kInstanceFlags, Enumerator), 0);
    EXPECT_LT(ExecuteWmiMethod(None, kFirmwareClass, L"Init", CWmiObject(), Object), 0);
    EXPECT_FALSE(None || Object || Enumerator || g_Connect(L"root\\no such namespace"));
}

TEST_F(CWmi, ClassesOfTheSystemAreStillThere) {
    const CWmiServices Services = g_Connect(L"root\\cimv2");
    CWmiEnumerator Enumerator;
    ASSERT_GE(CreateWmiInstanceEnum(Services, L"Win32_BIOS", kInstanceFlags, Enumerator), 0);
    const CWmiObject Bios = NextWmiInstance(Enumerator, 2000);
    ASSERT_TRUE(Bios);
    EXPECT_GT(g_Read(Bios, L"Manufacturer").size(), 2u);
    EXPECT_EQ(g_Read(Bios, L"NoSuchProperty"), "failed");
    CWmiObject Object;
    EXPECT_LT(GetWmiObject(m_Services, L"NoSuchClass", Object), 0) << "passed on by the firmware's namespace";
}

// The library meets running out of memory anywhere in a call.
TEST_F(CWmi, EveryFailedAllocationFailsOneCallAndLosesNothing) {
    const std::wstring sPath = Path(Instance(kFirmwareClass));
    const CWmiObject Kinds = Instance(L"Kinds"), Object = Class();
    const auto Get = [&](const wchar_t* pszName) {
        WmiValue Value;
        return GetWmiProperty(Kinds, pszName, Value);
    };
    const auto Put = [&](const wchar_t* pszName, const WmiValue& rValue) {
        return PutWmiProperty(Kinds, pszName, rValue);
    };
    const WmiValue Text = std::wstring(L"a text that is longer than any buffer inside a string object"),
                   Texts = CWmiArray<std::wstring>{{L"first", L"second"}}, Bytes = CWmiArray<uint8_t>{{1, 2}};
    const struct {
        const char* pszCase;
        std::function<int32_t()> Call;
    } kCases[] = {
        {"connect",
         [] {
             CWmiLocator Locator;
             CWmiServices Services;
             const int32_t nResult = CreateWmiLocator(Locator);
             return nResult < 0 ? nResult : ConnectWmiServer(Locator, L"root\\wmi", Services);
         }},
        {"get an object",
         [&] {
             CWmiObject Found;
             return GetWmiObject(m_Services, kFirmwareClass, Found);
         }},
        {"enumerate",
         [&] {
             CWmiEnumerator Enumerator;
             return CreateWmiInstanceEnum(m_Services, L"Kinds", kInstanceFlags, Enumerator);
         }},
        {"read a text", [&] { return Get(L"text"); }},
        {"read numbers", [&] { return Get(L"numbers"); }},
        {"read texts", [&] { return Get(L"texts"); }},
        {"put a text", [&] { return Put(L"text", Text); }},
        {"put texts", [&] { return Put(L"texts", Texts); }},
        {"put bytes", [&] { return Put(L"bytes", Bytes); }},
        {"run a method",
         [&] {
             CWmiObject Output;
             return ExecuteWmiMethod(m_Services, sPath.c_str(), L"GetObjectID", CWmiObject(), Output);
         }},
        {"make an array",
         [] {
             CWmiArray<uint8_t> Array;
             return CreateWmiArray(256, Array) ? S_OK : E_OUTOFMEMORY;
         }},
    };
    for (const auto& [pszCase, Call] : kCases) {
        ASSERT_GE(Call(), 0) << pszCase;
        const int32_t nObjects = g_GetServer().LiveObjects(), nAllocations = g_LiveAllocations();
        uint32_t uGood = 0;
        for (int32_t nResult = -1; nResult < 0; ++uGood) {
            ASSERT_LT(uGood, 100u) << pszCase << " never succeeds";
            {
                const CFailingAllocations Failing(uGood);
                nResult = Call();
            }
            EXPECT_TRUE(nResult >= 0 || nResult == E_OUTOFMEMORY) << pszCase << " says " << std::hex << nResult;
            ASSERT_EQ(g_GetServer().LiveObjects(), nObjects) << pszCase << " after " << uGood << " good allocations";
            ASSERT_EQ(g_LiveAllocations(), nAllocations) << pszCase << " after " << uGood << " good allocations";
        }
        EXPECT_GT(uGood, 1u) << pszCase << " allocates nothing: nothing was tried";
    }
}

// --- COM on the thread

bool g_HasCom() {
    APTTYPE eType;
    APTTYPEQUALIFIER eQualifier;
    return CoGetApartmentType(&eType, &eQualifier) == S_OK;
}

TEST(CComLifetime, ComStaysOnTheThreadAsLongAsAConnection) {
    std::thread([] {
        EXPECT_FALSE(g_HasCom());
        CWmiLocator Locator;
        CWmiServices First, Second;
        ASSERT_GE(CreateWmiLocator(Locator), 0);
        EXPECT_TRUE(g_HasCom());
        ASSERT_GE(ConnectWmiServer(Locator, L"root\\wmi", First), 0);
        ASSERT_GE(ConnectWmiServer(Locator, L"root\\cimv2", Second), 0);
        EXPECT_LT(ConnectWmiServer(Locator, L"root\\no such namespace", Second), 0);
        Locator.Reset();
        First.Reset();
        EXPECT_TRUE(g_HasCom());
        Second.Reset();
        EXPECT_FALSE(g_HasCom());
    }).join();
}

TEST(CComLifetime, ComOfTheHostIsUsedAndLeft) {
    for (const DWORD dwMode : {COINIT_MULTITHREADED, COINIT_APARTMENTTHREADED}) {
        std::thread([dwMode] {
            ASSERT_EQ(CoInitializeEx(nullptr, dwMode), S_OK);
            EXPECT_TRUE(g_Connect());
            EXPECT_TRUE(g_HasCom());
            CoUninitialize();
            EXPECT_FALSE(g_HasCom());
        }).join();
    }
}

// --- named mutexes

constexpr const wchar_t* kMutex = L"VXT_TEST_MUTEX";
constexpr const wchar_t* kSddl = L"D:(D;OICI;GA;;;BG)(D;OICI;GA;;;AN)(A;OICI;GRGWGX;;;AU)(A;OICI;GA;;;BA)";

TEST(CNamedMutex, BelongsToNobodyAtFirstAndToOneThreadThen) {
    EXPECT_FALSE(OpenMutex(kMutex));
    EXPECT_FALSE(CreateMutex(kMutex, L"not a security descriptor"));
    const CMutexHandle hMutex = CreateMutex(kMutex, kSddl);
    ASSERT_TRUE(hMutex);
    EXPECT_FALSE(ReleaseMutex(hMutex)) << "created, not taken";
    ASSERT_EQ(WaitMutex(hMutex, 0), kWaitObject0);
    EXPECT_EQ(WaitMutex(hMutex, 0), kWaitObject0) << "again by its owner";
    std::thread([] {
        const CMutexHandle hSame = OpenMutex(kMutex);
        ASSERT_TRUE(hSame);
        PUBLIC_OBJECT_BASIC_INFORMATION Information{};
        NtQueryObject(g_ToHandle(hSame.Get()), ObjectBasicInformation, &Information, sizeof(Information), nullptr);
        EXPECT_EQ(Information.GrantedAccess, ACCESS_MASK{MUTEX_ALL_ACCESS});
        EXPECT_EQ(WaitMutex(hSame, 0), kWaitTimeout);
        EXPECT_FALSE(ReleaseMutex(hSame)) << "another's";
    }).join();
    EXPECT_TRUE(ReleaseMutex(hMutex));
    EXPECT_TRUE(ReleaseMutex(hMutex));
    EXPECT_FALSE(ReleaseMutex(hMutex));
    EXPECT_EQ(WaitMutex(CMutexHandle(), 0), kWaitFailed);
}

TEST(CNamedMutex, OfAThreadThatEndedIsTakenAsAbandoned) {
    const CMutexHandle hMutex = CreateMutex(kMutex, kSddl);
    std::thread([&] { EXPECT_EQ(WaitMutex(hMutex, 0), kWaitObject0); }).join();
    EXPECT_EQ(WaitMutex(hMutex, 0), kWaitAbandoned);
    EXPECT_TRUE(ReleaseMutex(hMutex));
    EXPECT_EQ(WaitMutex(hMutex, 0), kWaitObject0);
    EXPECT_TRUE(ReleaseMutex(hMutex));
}

// --- physical memory

TEST(CPhysicalSection, WithoutTheSectionThereIsNoView) { EXPECT_FALSE(MapPhysicalSection(0xF0000, 0xFFFF)); }

TEST(CPhysicalSection, AViewShowsMemoryAndCannotChangeIt) {
    CPhysicalMemory Memory;
    ASSERT_TRUE(Memory.Exists());
    Memory.Write(0xF0000, "first"), Memory.Write(0xFFFF5, "12/04/09");
    MEMORY_BASIC_INFORMATION Information{};
    CPhysicalView View = MapPhysicalSection(0xF0000, 0xFFFF);
    ASSERT_TRUE(View);
    const auto* const pcView = reinterpret_cast<const char*>(View.Get());
    EXPECT_STREQ(pcView, "first");
    EXPECT_STREQ(pcView + 0xFFF5, "12/04/09");
    VirtualQuery(pcView, &Information, sizeof(Information));
    EXPECT_EQ(Information.Protect, DWORD{PAGE_READONLY});
    EXPECT_FALSE(MapPhysicalSection(0x100000, 0x1000)) << "beyond its end";
    View.Reset();
    VirtualQuery(pcView, &Information, sizeof(Information));
    EXPECT_EQ(Information.State, DWORD{MEM_FREE});
}

}  // namespace

int main(int nArguments, char** ppszArguments) {
    g_WatchAllocations();
    testing::InitGoogleTest(&nArguments, ppszArguments);
    return RUN_ALL_TESTS();
}
