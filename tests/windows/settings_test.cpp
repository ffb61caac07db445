// What a host sees of the library outside the devices: the log's files, the registry, the shipped flavour.
#include <fstream>

#include "host_test.h"

namespace {

class CSettings : public CHostTest {};

TEST_F(CSettings, TheLogLiesInAFolderOfTheDayAndNamesItsStart) {
    ASSERT_TRUE(m_Library->Init(true));
    m_Library->Log()->WriteLog(vxtapi::kLogDiagnostic, "host line %d of %s", 7, "mine");
    EXPECT_TRUE(m_Library->UnInit());
    const std::vector<std::filesystem::path> Files = g_LogFiles();
    ASSERT_EQ(Files.size(), 1u);
    EXPECT_TRUE(std::regex_match(Files[0].generic_string(),
                                 std::regex(R"(Logs/VXTAPI/\d{4}(_\d\d){2}/VXTAPI_\d{4}(_\d\d){5}_000000\.log)")))
        << Files[0];
    EXPECT_EQ(Files[0].filename().string().substr(7, 10), Files[0].parent_path().filename().string());
    for (const char* pszLine :
         {"<4>: Engine library initialized successfully\\.\n", "<4>: Added device QOR Family 10h Processor\\.\n",
          "<2>: host line 7 of mine\n", "<4>: VXTDriver service has been removed\\.\\(\\d+\\)\n"})
        EXPECT_TRUE(LogHas(pszLine)) << pszLine;
    EXPECT_EQ(g_ReadLog().find('\r'), std::string::npos) << "text mode";
}

TEST_F(CSettings, TheWarningCountsAsAcceptedOnlyWhenTheUserStoredOne) {
    const DWORD dwOne = 1, dwTwo = 2;
    const uint64_t ullOne = 1;
    const struct {
        const char* pszCase;
        DWORD dwType;
        const void* pData;
        DWORD dwSize;
        bool bAccepted;
    } kCases[] = {
        {"number 1", REG_DWORD, &dwOne, 4, true},        {"number 2", REG_DWORD, &dwTwo, 4, false},
        {"text \"1\"", REG_SZ, L"1", 4, false},          {"one byte 1", REG_BINARY, &dwOne, 1, true},
        {"eight bytes 1", REG_QWORD, &ullOne, 8, false}, {"nothing stored", REG_BINARY, nullptr, 0, false},
    };
    EXPECT_FALSE(m_Library->IsWarningAccepted()) << "no key";
    HKEY hKey = nullptr;
    ASSERT_EQ(RegCreateKeyW(HKEY_CURRENT_USER, L"Software\\QOR\\QOR Velomar", &hKey), ERROR_SUCCESS);
    EXPECT_FALSE(m_Library->IsWarningAccepted()) << "no value";
    for (const auto& [pszCase, dwType, pData, dwSize, bAccepted] : kCases) {
        RegSetValueExW(hKey, L"UserAccepted", 0, dwType, static_cast<const BYTE*>(pData), dwSize);
        EXPECT_EQ(m_Library->IsWarningAccepted(), bAccepted) << pszCase;
    }
    RegCloseKey(hKey);
}

TEST_F(CSettings, OverclockingSupportIsUnknownBeforeTheFirstStart) {
    bool bSupported = true;
    EXPECT_FALSE(m_Library->IsOcSupported(&bSupported));
    EXPECT_TRUE(bSupported);
    ASSERT_TRUE(m_Library->Init(false));
    EXPECT_TRUE(m_Library->IsOcSupported(&bSupported));
    EXPECT_EQ(bSupported, m_Library->DeviceManager()->GetDevice(vxtapi::kDeviceClockGen, 0) != nullptr);
}

TEST_F(CSettings, ADeviceListFileOfWindowsLinesFilters) {
    constexpr struct {
        const char* pszText;
        bool bCpu, bBoard;
    } kCases[] = {
        {"[on]\r\nCPU\r\n", true, false},
        {"[off]\r\nCPU\r\n", false, true},
        {"[OFF]\r\nMouse\r\nBoard", true, false},
    };
    for (const auto& [pszText, bCpu, bBoard] : kCases) {
        SCOPED_TRACE(pszText);
        std::ofstream("DeviceList.cfg", std::ios::binary) << pszText;
        Load();
        EXPECT_TRUE(m_Library->Init(false));
        std::filesystem::remove("DeviceList.cfg");
        EXPECT_EQ(m_Library->DeviceManager()->GetDevice(vxtapi::kDeviceCpu, 0) != nullptr, bCpu);
        EXPECT_EQ(m_Library->DeviceManager()->GetDevice(vxtapi::kDeviceBoard, 0) != nullptr, bBoard);
        EXPECT_TRUE(m_Library->UnInit());
    }
}

// The shipped library asks this machine's own processor, which is not of the simulated maker.
TEST_F(CSettings, TheShippedLibraryStartsAndRefusesAForeignProcessor) {
    const CLoadedLibrary Shipped(L"shipped\\VXTAPI.dll");
    ASSERT_TRUE(Shipped.IsComplete());
    EXPECT_TRUE(Shipped.Init(false));
    EXPECT_EQ(Shipped.Core(0), nullptr);
    EXPECT_NE(Shipped.DeviceManager()->GetDevice(vxtapi::kDeviceBoard, 0), nullptr);
    EXPECT_TRUE(Shipped.UnInit());
}

}  // namespace
