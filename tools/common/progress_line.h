// How far something is, on the terminal of stderr.
#pragma once

#include <optional>
#include <string>

namespace vxttools {

/// A line that is written over and over, and gone at the end. Where stderr is no terminal there is none.
class CProgressLine {
public:
    explicit CProgressLine(bool bQuiet);
    CProgressLine(const CProgressLine&) = delete;
    ~CProgressLine() { Show(""); }

    void Show(std::string sText);

private:
    std::optional<size_t> m_oColumns;
    size_t m_uShown = 0;
};

}  // namespace vxttools
