#include "recording.h"

#include <algorithm>
#include <cmath>
#include <fstream>
#include <limits>

#include "common/console.h"
#include "common/exit_code.h"
#include "common/text.h"

namespace vxtctl {

using vxttools::CFailure;
using vxttools::EExit;

namespace {

constexpr size_t kLargestFile = 64 << 20;  ///< bytes; a day of 30 sensors every second has about 20 million
constexpr size_t kMostReadings = 10'000'000;
constexpr double kLargestReading = 1e9;  ///< of whatever unit
constexpr const char* kTimeHeading = "ts";

std::string g_Contents(const std::string& sFile) {
    std::ifstream File(vxttools::g_Path(sFile), std::ios::binary);
    std::string sContents, sPart(1 << 16, '\0');
    while (File && sContents.size() <= kLargestFile) {
        File.read(sPart.data(), static_cast<std::streamsize>(sPart.size()));
        sContents.append(sPart, 0, static_cast<size_t>(File.gcount()));
    }
    if (!File.is_open() || File.bad()) throw CFailure(EExit::kFailed, "cannot read the recording " + sFile);
    return sContents;
}

class CReader {
public:
    CReader(const std::string& sFile, std::string_view sText) : m_sFile(sFile), m_sText(sText) {}

    CRecording Take() {
        if (m_sText.size() > kLargestFile) _Refuse(1, "it is larger than 64 MiB");
        m_Recording.sName = vxttools::g_FileName(m_sFile);
        const size_t uEnd = m_sText.rfind('\n');  // behind it is what a system left that crashed while it wrote
        m_Recording.bTorn = uEnd != m_sText.npos && uEnd + 1 < m_sText.size();
        m_sText = m_sText.substr(0, uEnd + 1);
        _TakeHeading();
        while (!m_sText.empty()) _TakeSample();
        if (m_Times.empty()) _Refuse(1, "there is no sample behind the heading");
        m_Recording.Begin = m_Times.front();
        for (const auto Time : m_Times)
            m_Recording.Seconds.push_back(std::chrono::duration<double>(Time - m_Recording.Begin).count());
        return std::move(m_Recording);
    }

private:
    /// `uColumn`: from 1 on, as spreadsheets count.
    [[noreturn]] void _Refuse(size_t uColumn, const std::string& sWhy) const {
        throw CFailure(EExit::kFailed, m_sFile + " is no recording of sensors: line " +
                                           std::to_string(std::max<size_t>(m_uLine, 1)) + ", column " +
                                           std::to_string(uColumn) + ": " + sWhy);
    }
    static std::string _Quoted(std::string_view sCell) {
        constexpr size_t kShown = 40;
        return "'" + vxttools::g_Printable(sCell.substr(0, kShown)) + (sCell.size() > kShown ? "...'" : "'");
    }

    std::vector<std::string_view> _NextLine() {
        const size_t uEnd = std::min(m_sText.find('\n'), m_sText.size());
        std::string_view sLine = m_sText.substr(0, uEnd);
        m_sText.remove_prefix(std::min(uEnd + 1, m_sText.size()));
        if (sLine.ends_with('\r')) sLine.remove_suffix(1);
        ++m_uLine;
        std::vector<std::string_view> Cells;
        for (size_t uComma; (uComma = sLine.find(',')) != sLine.npos; sLine.remove_prefix(uComma + 1))
            Cells.push_back(sLine.substr(0, uComma));
        Cells.push_back(sLine);
        return Cells;
    }

    void _TakeHeading() {
        const std::vector<std::string_view> Cells = _NextLine();
        if (Cells.front() != kTimeHeading)
            _Refuse(1, "expected the heading 'ts' of 'vxtctl sensors --record', not " + _Quoted(Cells.front()));
        for (size_t i = 1; i < Cells.size(); ++i) {
            const std::optional<ESensor> oeKind = g_KindOfId(Cells[i]);
            if (!oeKind) _Refuse(i + 1, _Quoted(Cells[i]) + " is no sensor's id");
            m_Recording.Sensors.push_back({std::string(Cells[i]), *oeKind});
        }
        if (m_Recording.Sensors.empty()) _Refuse(2, "there is no sensor");
    }

    void _TakeSample() {
        const std::vector<std::string_view> Cells = _NextLine();
        const size_t uExpected = m_Recording.Sensors.size() + 1;
        const auto oTime = vxttools::g_ParseIsoTime(Cells.front());
        if (!oTime) _Refuse(1, _Quoted(Cells.front()) + " is no time like 2026-01-31T23:59:59.000Z");
        if (Cells.size() != uExpected)
            _Refuse(
                std::min(Cells.size(), uExpected) + 1,
                "there are " + std::to_string(Cells.size()) + " columns, the heading has " + std::to_string(uExpected));
        if (!m_Times.empty() && *oTime < m_Times.back()) _Refuse(1, "its time is before that of the line above it");
        if (m_Times.size() * uExpected > kMostReadings) _Refuse(1, "there are more than 10 million readings");
        m_Times.push_back(*oTime);
        for (size_t i = 1; i < uExpected; ++i) {
            const std::optional<double> oValue = vxttools::g_ParseNumber(Cells[i]);
            if (!oValue && !Cells[i].empty()) _Refuse(i + 1, _Quoted(Cells[i]) + " is no number");
            if (std::abs(oValue.value_or(0)) > kLargestReading) _Refuse(i + 1, _Quoted(Cells[i]) + " is no reading");
            m_Recording.Sensors[i - 1].Values.push_back(oValue.value_or(std::numeric_limits<double>::quiet_NaN()));
        }
    }

    const std::string& m_sFile;
    std::string_view m_sText;  ///< what is left of it
    size_t m_uLine = 0;
    std::vector<std::chrono::system_clock::time_point> m_Times;
    CRecording m_Recording;
};

}  // namespace

CRecording g_ReadRecording(const std::string& sFile) {
    const std::string sContents = g_Contents(sFile);
    return CReader(sFile, sContents).Take();
}

}  // namespace vxtctl
