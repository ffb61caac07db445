// The stability test as Windows runs it: real threads, pinned, over cores of which some err; and what is left of it when the
// library goes.
#include <memory>

#include "host_test.h"

// Behind <windows.h>, which it relies on.
#include <tlhelp32.h>

using namespace vxtapi;

namespace {

struct CHandleCloser {
    void operator()(HANDLE hObject) const { CloseHandle(hObject); }
};

/// Threads of this process.
size_t g_CountThreads() {
    const std::unique_ptr<void, CHandleCloser> hSnapshot(CreateToolhelp32Snapshot(TH32CS_SNAPTHREAD, 0));
    THREADENTRY32 Entry{};
    Entry.dwSize = sizeof(Entry);
    size_t uThreads = 0;
    for (BOOL bMore = Thread32First(hSnapshot.get(), &Entry); bMore; bMore = Thread32Next(hSnapshot.get(), &Entry))
        uThreads += Entry.th32OwnerProcessID == GetCurrentProcessId();
    return uThreads;
}

class CStress : public CHostTest {
protected:
    void SetUp() override {
        CHostTest::SetUp();
        ASSERT_TRUE(m_Library->Init(false));
    }
    CTestCenter& Center() const { return *m_Library->PerformanceControl()->GetTestCenter(); }
};

TEST_F(CStress, OnlyTheCoreBeyondItsSiliconErrs) {
    constexpr uint32_t kFast = 1;
    ASSERT_TRUE(m_Library->Core(kFast)->SetCurrentMultiplier(18));  // 3600 MHz, good for 3500, and it stands 3700
    Center().StartAll();
    uint32_t uInteger = 0, uFloatingPoint = 0;
    const DWORD dwBegin = GetTickCount();
    while ((!uInteger || !uFloatingPoint) && GetTickCount() - dwBegin < 60'000) {
        Sleep(10);
        while (const TestError* const pError = Center().GetNextError()) {
            EXPECT_EQ(pError->uCore, kFast) << "code " << pError->uCode;
            ++(pError->uKind == kTestInteger ? uInteger : uFloatingPoint);
        }
    }
    const DWORD dwStop = GetTickCount();
    Center().Halt();
    EXPECT_LT(GetTickCount() - dwStop, 5'000u) << "passes are cut short";
    EXPECT_GT(uInteger, 0u);
    EXPECT_GT(uFloatingPoint, 0u);
}

TEST_F(CStress, NoThreadOutlivesTheLibrary) {
    const size_t uBefore = g_CountThreads();
    Center().StartAll();
    EXPECT_EQ(g_CountThreads(), uBefore + Center().GetTestCaseCount());
    EXPECT_TRUE(m_Library->UnInit());
    EXPECT_EQ(g_CountThreads(), uBefore);
    EXPECT_EQ(m_Library->PerformanceControl()->GetTestCenter(), nullptr);
    Load();  // frees it
    EXPECT_LE(g_CountThreads(), uBefore);
}

}  // namespace
