#include "api/log/log.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <filesystem>
#include <fstream>

#include "api/log/log_checks.h"
#include "support/simulated_pc.h"

namespace {

namespace fs = std::filesystem;
using ::testing::MatchesRegex;
using vxt::CLog;
using vxttest::Lines;

constexpr size_t kStampLength = 16;  // "MMDD-HHMMSS<L>: "
constexpr size_t kFullLine = 1023;

/// All log files below ./Logs, sorted by name.
std::vector<fs::path> LogFiles() {
    std::vector<fs::path> Files;
    if (fs::exists("Logs"))
        for (const auto& rEntry : fs::recursive_directory_iterator("Logs"))
            if (rEntry.is_regular_file()) Files.push_back(rEntry.path());
    std::ranges::sort(Files);
    return Files;
}

std::string ReadAll(const fs::path& rPath) {
    std::ifstream File(rPath, std::ios::binary);
    return {std::istreambuf_iterator<char>(File), {}};
}

struct CLogTest : ::testing::Test {
    vxttest::CLogCapture m_Folder;  // an empty current folder
    CLog m_Log;
};

TEST_F(CLogTest, NothingIsWrittenBeforeInitOrForMaskedLevels) {
    EXPECT_TRUE(m_Log.WriteLog(1, "dropped"));
    EXPECT_FALSE(m_Log.Init(nullptr, 65535, CLog::kToFile, 10000)) << "a log needs a name";
    EXPECT_TRUE(m_Log.WriteLog(1, "still dropped"));
    ASSERT_TRUE(m_Log.Init("T", 0, CLog::kToFile, 10000));
    EXPECT_TRUE(m_Log.WriteLog(0xFFFFFFFF, "no level is in the mask"));
    ASSERT_TRUE(m_Log.Init("T", 2, CLog::kToFile, 10000));
    EXPECT_TRUE(m_Log.WriteLog(5, "levels are bits"));
    EXPECT_FALSE(fs::exists("Logs"));
}

TEST_F(CLogTest, FilesAreNamedAfterLogDayAndLineCounterAndHoldStampedLines) {
    ASSERT_TRUE(m_Log.Init("T", 65535, CLog::kToFile, 3));
    for (int i = 0; i < 7; ++i) m_Log.WriteLog(i < 6 ? 4 : 0xFFFFFFFE, "line %d of %s", i, "seven");
    m_Log.UnInit();
    const std::vector<fs::path> Files = LogFiles();
    ASSERT_EQ(Files.size(), 3u);
    for (size_t i = 0; i < Files.size(); ++i) {
        const std::string sDay = Files[i].parent_path().filename();
        EXPECT_THAT(sDay, MatchesRegex("[0-9]{4}_[0-9]{2}_[0-9]{2}"));
        EXPECT_EQ(Files[i].parent_path().parent_path(), "Logs/T");
        EXPECT_THAT(Files[i].filename().string(),
                    MatchesRegex("T_" + sDay + "_[0-9]{2}_[0-9]{2}_[0-9]{2}_00000" + std::to_string(3 * i) + "\\.log"));
    }
    EXPECT_THAT(ReadAll(Files[2]), MatchesRegex("[0-9]{4}-[0-9]{6}<-2>: line 6 of seven\n"));
}

TEST_F(CLogTest, ZeroLinesPerFileMeansOneFile) {
    ASSERT_TRUE(m_Log.Init("T", 65535, CLog::kToFile, 0));
    for (int i = 0; i < 5; ++i) m_Log.WriteLog(1, "x");
    EXPECT_EQ(LogFiles().size(), 1u);
}

TEST_F(CLogTest, LineEndsAreCompletedAndLongLinesCut) {
    const struct {
        const char* pszCase;
        std::string sMessage;
        std::string sExpectedEnd;
        size_t uExpectedLength;
    } kCases[] = {
        {"line feed is added", "abc", "abc\n", kStampLength + 4},
        {"line feed is kept", "abc\n", "abc\n", kStampLength + 4},
        {"carriage return is kept", "abc\r", "abc\r", kStampLength + 4},
        {"empty message", "", ": \n", kStampLength + 1},
        {"one below full", std::string(kFullLine - kStampLength - 1, 'x'), "x\n", kFullLine},
        {"exactly full loses its last character", std::string(kFullLine - kStampLength - 1, 'x') + "y", "x\n",
         kFullLine},
        {"full with its own line feed", std::string(kFullLine - kStampLength - 1, 'x') + "\n", "x\n", kFullLine},
        {"far too long", std::string(5000, 'z'), "zz\n", kFullLine},
    };
    for (const auto& rCase : kCases) {
        SCOPED_TRACE(rCase.pszCase);
        ASSERT_TRUE(m_Log.Init("T", 65535, CLog::kToFile, 10000));
        m_Log.WriteLog(1, "%s", rCase.sMessage.c_str());
        m_Log.UnInit();
        ASSERT_EQ(LogFiles().size(), 1u);
        const std::string sText = ReadAll(LogFiles()[0]);
        EXPECT_EQ(sText.size(), rCase.uExpectedLength);
        EXPECT_TRUE(sText.ends_with(rCase.sExpectedEnd));
        fs::remove_all("Logs");
    }
}

TEST_F(CLogTest, AMissingFileIsReportedOnceAndTriedAgainAtTheNextRotation) {
    std::ofstream("Logs").put('x');  // a file where the folder should be
    ASSERT_TRUE(m_Log.Init("T", 65535, CLog::kToFile, 2));
    ::testing::internal::CaptureStderr();
    EXPECT_TRUE(m_Log.WriteLog(1, "lost"));
    EXPECT_TRUE(m_Log.WriteLog(1, "lost too"));
    EXPECT_EQ(::testing::internal::GetCapturedStderr(), "Warning : cannot create log file!");
    fs::remove("Logs");
    EXPECT_TRUE(m_Log.WriteLog(1, "kept"));
    ASSERT_EQ(LogFiles().size(), 1u);
    EXPECT_TRUE(LogFiles()[0].string().ends_with("_000002.log")) << "lost lines count";
}

TEST_F(CLogTest, EchoGoesToTheChosenStreams) {
    ASSERT_TRUE(m_Log.Init("T", 65535, CLog::kToStandardOutput | CLog::kToStandardError, 10000));
    ::testing::internal::CaptureStdout();
    ::testing::internal::CaptureStderr();
    m_Log.WriteLog(2, "echo");
    const std::string sOut = ::testing::internal::GetCapturedStdout(), sErr = ::testing::internal::GetCapturedStderr();
    EXPECT_TRUE(sOut.ends_with("<2>: echo\n")) << sOut;
    EXPECT_EQ(sOut, sErr);
    EXPECT_FALSE(fs::exists("Logs"));
}

TEST_F(CLogTest, InitRestartsCounterAndFileAndCutsLongNames) {
    ASSERT_TRUE(m_Log.Init("A", 65535, CLog::kToFile, 10000));
    m_Log.WriteLog(1, "first");
    m_Log.UnInit();
    ASSERT_TRUE(m_Log.Init(std::string(300, 'B').c_str(), 65535, CLog::kToStandardError, 10000));
    ASSERT_TRUE(m_Log.Init("C", 65535, CLog::kToFile, 10000));
    m_Log.WriteLog(1, "second");
    ASSERT_EQ(LogFiles().size(), 2u);
    EXPECT_TRUE(LogFiles()[1].string().ends_with("_000000.log"));
}

TEST_F(CLogTest, RunsThatStartWithinOneSecondLoseNoLine) {
    constexpr int kRuns = 20;
    for (int i = 0; i < kRuns; ++i) {
        ASSERT_TRUE(m_Log.Init("T", 65535, CLog::kToFile, 10000));
        m_Log.WriteLog(1, "run %d", i);
        m_Log.UnInit();
    }
    int nLines = 0;
    for (const fs::path& rFile : LogFiles()) {
        std::ifstream File(rFile);
        for (std::string sLine; std::getline(File, sLine); ++nLines)
            EXPECT_TRUE(sLine.ends_with("run " + std::to_string(nLines))) << sLine;
    }
    EXPECT_EQ(nLines, kRuns);
}

// ---- the check macros ------------------------------------------------------------------------------------------------

#define SOME_MACRO_VALUE ((int*)-1)

struct CChecked {
    bool m_bFlag = false;
    int m_nEvaluations = 0;

    bool Fatal() {
        LOG_PROCESS_ERROR(Evaluate() == SOME_MACRO_VALUE);
        return true;
    }
    int FatalOr() {
        LOG_PROCESS_ERROR_OR(-1, m_bFlag);
        return 1;
    }
    bool FixedText() {
        LOG_PROCESS_ERROR(m_bFlag, "m_hThing != NULL");
        return true;
    }
    bool Com(long hRetCode) {
        LOG_COM_PROCESS_ERROR(hRetCode);
        return true;
    }
    bool GoesOn() {
        LOG_CHECK_ERROR(m_bFlag);
        ALOG_CHECK_ERROR(m_bFlag);
        LOG_CHECK_ERROR(true, "never");
        return true;
    }
    int* Evaluate() {
        ++m_nEvaluations;
        return nullptr;
    }
};

bool g_FreeFunction() {
    LOG_PROCESS_ERROR(false);
    return true;
}

/// One class of code that serves several in the log, and one body that serves several operations.
class CFamilyCode {
public:
    bool GetFirst(const char* pszOperation = __builtin_FUNCTION()) const {
        const auto LogFunction = [pszOperation](const char*) { return pszOperation; };
        LOG_PROCESS_ERROR(false);
        return true;
    }
    bool GetSecond() const { return GetFirst(); }
    bool Other() const {
        LOG_PROCESS_ERROR(false, "fixed");
        return true;
    }

private:
    static const char* LogClass() { return "CConcrete"; }
};

TEST(CLogChecks, FailedChecksAreLoggedAsWrittenWithTheirFunction) {
    vxttest::CLogCapture Log;
    CChecked Checked;
    EXPECT_FALSE(Checked.Fatal());
    EXPECT_EQ(Checked.m_nEvaluations, 1) << "an expression is evaluated once";
    EXPECT_EQ(Checked.FatalOr(), -1);
    EXPECT_FALSE(Checked.FixedText());
    EXPECT_TRUE(Checked.Com(0));
    EXPECT_FALSE(Checked.Com(-5));
    EXPECT_TRUE(Checked.GoesOn());
    EXPECT_FALSE(g_FreeFunction());
    EXPECT_FALSE(CFamilyCode().GetSecond() || CFamilyCode().Other());
    EXPECT_EQ(Log.TakeErrors(), (Lines{
                                    "LOG_PROCESS_ERROR(Evaluate() == SOME_MACRO_VALUE) at line # in CChecked::Fatal",
                                    "LOG_PROCESS_ERROR(m_bFlag) at line # in CChecked::FatalOr",
                                    "LOG_PROCESS_ERROR(m_hThing != NULL) at line # in CChecked::FixedText",
                                    "LOG_COM_PROCESS_ERROR(hRetCode) at line # in CChecked::Com",
                                    "LOG_CHECK_ERROR(m_bFlag) at line # in CChecked::GoesOn",
                                    "ALOG_CHECK_ERROR(m_bFlag) at line # in CChecked::GoesOn",
                                    "LOG_PROCESS_ERROR(false) at line # in g_FreeFunction",
                                    "LOG_PROCESS_ERROR(false) at line # in CConcrete::GetSecond",
                                    "LOG_PROCESS_ERROR(fixed) at line # in CConcrete::Other",
                                }));
}

}  // namespace
