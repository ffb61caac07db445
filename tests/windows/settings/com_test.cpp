// What only Windows has of settings files: COM's apartments, what it hands out, files that others have open.
#include <ole2.h>
#include <windows.h>

#include <atomic>
#include <fstream>
#include <thread>

#include "perf/profile_file.h"
#include "support/settings_folder.h"

namespace {

using vxt::CProfileFile;

constexpr const wchar_t* kPath = L"./profile.xml";

class CComFiles : public vxttest::CSettingsFolder {
protected:
    /// Every operation, the failing ones too.
    static bool UseProfiles() {
        CProfileFile First(kPath), Second(L"./broken.xml");
        double dValue = 0.0;
        vxtapi::ProfileEntry Entry;
        return First.SetValue(L"CPU", L"P", L"K", 7.5) && First.SetValue(L"CPU", L"P", L"L", 7.5) && First.Save() &&
               First.GetValue(L"CPU", L"P", L"K", &dValue) && dValue == 7.5 && First.GetEntry(1, &Entry) &&
               !First.GetValue(L"CPU", L"P", L"M", &dValue) && *Second.GetProblem() && !Second.Save() && Second.Clear();
    }
    static bool HasCom() {
        APTTYPE eType;
        APTTYPEQUALIFIER eQualifier;
        return CoGetApartmentType(&eType, &eQualifier) == S_OK;
    }
    void SetUp() override { std::ofstream("broken.xml") << "<a><b></a>"; }
};

TEST_F(CComFiles, EveryThreadsComServesAndIsLeftAsItWas) {
    for (const int nMode : {-1, int{COINIT_APARTMENTTHREADED}, int{COINIT_MULTITHREADED}}) {
        std::thread([nMode] {
            if (nMode >= 0) { ASSERT_EQ(CoInitializeEx(nullptr, static_cast<DWORD>(nMode)), S_OK); }
            EXPECT_TRUE(UseProfiles()) << nMode;
            EXPECT_TRUE(UseProfiles()) << nMode << ", again";
            EXPECT_EQ(HasCom(), nMode >= 0) << nMode;
            if (nMode >= 0) CoUninitialize();
            EXPECT_FALSE(HasCom()) << nMode;
        }).join();
    }
}

/// Blocks of the process's heap: those of the parser, of COM's texts and of C++.
size_t g_LiveBlocks() {
    PROCESS_HEAP_ENTRY Entry{};
    size_t uCount = 0;
    while (HeapWalk(GetProcessHeap(), &Entry)) uCount += (Entry.wFlags & PROCESS_HEAP_ENTRY_BUSY) != 0;
    return uCount;
}

TEST_F(CComFiles, NothingThatWasHandedOutIsKept) {
    constexpr size_t kRounds = 50;
    ASSERT_GE(CoInitialize(nullptr), 0);
    ASSERT_TRUE(UseProfiles() && UseProfiles());
    const size_t uBefore = g_LiveBlocks();
    for (size_t i = 0; i < kRounds; ++i) ASSERT_TRUE(UseProfiles());
    EXPECT_LT(g_LiveBlocks(), uBefore + kRounds / 2) << "before: " << uBefore;
    CoUninitialize();
}

TEST_F(CComFiles, AFileThatOthersHaveOpenStaysAndNothingIsLeftBesideIt) {
    CProfileFile Profile(kPath);
    ASSERT_TRUE(Profile.SetValue(L"CPU", L"P", L"K", 7.5) && Profile.Save());
    for (const wchar_t* const pszOpen : {kPath, L"./profile.xml.new"}) {
        const HANDLE hOpen = CreateFileW(pszOpen, GENERIC_READ | GENERIC_WRITE, 0, nullptr, OPEN_ALWAYS, 0, nullptr);
        ASSERT_NE(hOpen, INVALID_HANDLE_VALUE);
        EXPECT_TRUE(Profile.SetValue(L"CPU", L"P", L"K", 8.5));
        EXPECT_FALSE(Profile.Save());
        CloseHandle(hOpen);
        double dValue = 0.0;
        EXPECT_TRUE(CProfileFile(kPath).GetValue(L"CPU", L"P", L"K", &dValue) && dValue == 7.5);
        EXPECT_EQ(GetFileAttributesW(L"./profile.xml.new") == INVALID_FILE_ATTRIBUTES, pszOpen == kPath);
    }
    EXPECT_TRUE(Profile.Save());
}

TEST_F(CComFiles, ADeviceIsNoFile) {
    for (const wchar_t* const pszDevice : {L"NUL", L"//./NUL", L"./CON"})
        EXPECT_STREQ(CProfileFile(pszDevice).GetProblem(), L"it cannot be opened") << pszDevice;
}

}  // namespace
