// Settings files on a system that refuses: rights, full disks, what is no file, calls that fail.
#include <fcntl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>
#include <fstream>

#include "perf/profile_file.h"
#include "support/simulated_pc.h"

namespace {

namespace fs = std::filesystem;
using vxt::CConfigParser;
using vxt::CProfileFile;

constexpr const wchar_t* kPath = L"./profile.xml";
constexpr const char *kName = "profile.xml", *kBeside = "profile.xml.new";

std::string g_Bytes() {
    std::ifstream File(kName, std::ios::binary);
    return {std::istreambuf_iterator<char>(File), {}};
}

class CConfigRefusals : public vxttest::CSimulatedPc {
protected:
    CConfigRefusals() {
        EXPECT_TRUE(m_Profile.SetValue(L"CPU", L"P", L"K", 5.0) && m_Profile.Save());
        m_sBytes = g_Bytes();
        EXPECT_TRUE(m_Profile.SetValue(L"CPU", L"P", L"K", 6.0));
    }
    void ExpectNoSave() {
        EXPECT_FALSE(m_Profile.Save());
        EXPECT_EQ(g_Bytes(), m_sBytes);
    }

    CProfileFile m_Profile{kPath};
    std::string m_sBytes;
};

TEST_F(CConfigRefusals, WhatIsNoFileOnADiskIsNeitherOpenedNorDeleted) {
    mkfifo("fifo.xml", 0600);
    fs::create_symlink("/dev/zero", "zero.xml");
    for (const wchar_t* const pszPath : {L"./fifo.xml", L"./zero.xml"}) {
        CProfileFile Profile(pszPath);
        EXPECT_STREQ(Profile.GetProblem(), L"it cannot be opened") << pszPath;
        EXPECT_TRUE(Profile.FileExists() && CConfigParser(pszPath).Document());
        EXPECT_FALSE(Profile.Save());
    }
    EXPECT_TRUE(fs::exists("fifo.xml") && fs::exists("zero.xml"));
    mkfifo(kBeside, 0600);
    ExpectNoSave();
    fs::remove(kBeside);
    fs::create_symlink("fifo.xml", kBeside);
    ExpectNoSave();
    fs::remove(kBeside);
    std::ofstream("other") << "other";
    fs::create_symlink("other", kBeside);
    ExpectNoSave();
    EXPECT_EQ(fs::file_size("other"), 5u) << "written through a link";
}

TEST_F(CConfigRefusals, WithoutRightsNothingIsReadNorWritten) {
    chmod(kName, 0), chmod(".", 0555);
    const bool bIsRoot = geteuid() == 0;
    if (bIsRoot) { ASSERT_EQ(seteuid(65534), 0); }
    {
        CProfileFile Unreadable(kPath);
        EXPECT_STREQ(Unreadable.GetProblem(), L"it cannot be opened");
        EXPECT_TRUE(Unreadable.FileExists());
        EXPECT_FALSE(Unreadable.Clear() && Unreadable.Save());
    }
    EXPECT_FALSE(m_Profile.Save());
    if (bIsRoot) { ASSERT_EQ(seteuid(0), 0); }
    chmod(kName, 0600), chmod(".", 0755);
    EXPECT_EQ(g_Bytes(), m_sBytes);
}

TEST_F(CConfigRefusals, AFullDiskLeavesTheOldFileAlone) {
    rlimit Old{};
    getrlimit(RLIMIT_FSIZE, &Old);
    const auto pOldHandler = std::signal(SIGXFSZ, SIG_IGN);
    const rlimit Full{m_sBytes.size() / 2, Old.rlim_max};
    setrlimit(RLIMIT_FSIZE, &Full);
    ExpectNoSave();
    setrlimit(RLIMIT_FSIZE, &Old);
    std::signal(SIGXFSZ, pOldHandler);
    EXPECT_FALSE(fs::exists(kBeside));
    EXPECT_TRUE(m_Profile.Save());
}

TEST_F(CConfigRefusals, ASaveWhoseNthCallFailsLeavesTheOldFileAlone) {
    uint64_t ullGood = 0;
    for (bool bSaved = false; !bSaved; ++ullGood) {
        System().FailAfter(ullGood);
        bSaved = m_Profile.Save();
        System().StopFailing();
        EXPECT_EQ(g_Bytes() == m_sBytes, !bSaved) << ullGood;
        EXPECT_FALSE(fs::exists(kBeside)) << ullGood;
    }
    EXPECT_EQ(ullGood, 5u) << "text, new file, write, replace";
}

// A system that fails is no reason to delete a file; nor is anything asked of the parser that the guard refuses.
TEST_F(CConfigRefusals, AResetDeletesNothingButWhatTheParserRefused) {
    for (uint64_t ullGood = 0; ullGood < 8; ++ullGood) {
        System().FailAfter(ullGood);
        { const CConfigParser Config(kPath); }
        System().StopFailing();
        ASSERT_EQ(g_Bytes(), m_sBytes) << ullGood;
    }
    std::ofstream(kName) << "<!DOCTYPE a [<!ENTITY b SYSTEM 'file:///etc/passwd'>]><a>&b;</a>";
    TakeTrace();
    { const CConfigParser Config(kPath); }
    const vxttest::Lines Trace = TakeTrace();
    EXPECT_EQ(std::ranges::count(Trace, "LoadXml"), 0);
    EXPECT_TRUE(fs::exists(kName));
    std::ofstream(kName) << "<VXT_Configuration_File><v:CPU/></VXT_Configuration_File>";  // a prefix nobody declared
    EXPECT_NE(std::wstring_view(CProfileFile(kPath).GetProblem()).find(L"line 1: it is no XML: "), std::wstring::npos);
}

}  // namespace
