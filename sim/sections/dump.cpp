#include "dump.h"

#include "../machine_words.h"

namespace vxtsim {

bool CDumpSection::Line(CMachineReader& rReader, std::string_view sLine) {
    std::string_view sRest = CMachineReader::WithoutComment(sLine);
    std::string_view sWord = g_TakeWord(sRest);
    const auto Text = [](size_t uValue) { return g_HexText<1>(static_cast<uint32_t>(uValue)); };
    if (sWord.ends_with(':')) {
        const auto oOffset = g_Hex(sWord.substr(0, sWord.size() - 1), 8);
        if (!oOffset || *oOffset < m_uNext || *oOffset >= m_uLimit)
            return rReader.Fail("an offset from " + Text(m_uNext) + " below " + Text(m_uLimit), sWord);
        m_uNext = static_cast<size_t>(*oOffset);
        sWord = g_TakeWord(sRest);
    }
    for (; !sWord.empty(); sWord = g_TakeWord(sRest)) {
        const auto oValue = sWord.size() == 2 ? g_Hex(sWord, 2) : std::nullopt;
        if (!oValue) return rReader.Fail("bytes of two digits", sWord);
        if (m_uNext >= m_uLimit) return rReader.Fail("at most " + Text(m_uLimit) + " bytes", "more");
        if (!Grow(rReader, m_uNext + 1)) return false;
        m_rDump[m_uNext++] = static_cast<uint8_t>(*oValue);
    }
    return true;
}

bool CDumpSection::Grow(CMachineReader& rReader, size_t uSize) {
    if (uSize <= m_rDump.size()) return true;
    uSize = m_pRound(uSize);
    if (!rReader.Charge(uSize - m_rDump.size())) return false;
    m_rDump.resize(uSize);
    return true;
}

}  // namespace vxtsim
