#include "perf/xml_guard.h"

#include <algorithm>
#include <string>
#include <string_view>

namespace vxt {

namespace {

constexpr std::string_view kBlanks = " \t\r\n";
/// Encodings whose bytes below 80h are ASCII wherever they stand, so that the structure can be read.
constexpr std::string_view kByteEncodings[] = {"utf-8", "us-ascii", "iso-8859-1", "windows-1252"};

/// The characters of a text as far as its structure goes: what is not ASCII is '?'. Reads on to the end.
class CCharacters {
public:
    explicit CCharacters(std::span<const std::byte> Text) : m_Text(Text) {
        const auto Starts = [&](int nFirst, int nSecond) {
            return Text.size() >= 2 && Text[0] == std::byte(nFirst) && Text[1] == std::byte(nSecond);
        };
        if (Starts(0xFF, 0xFE) || Starts('<', 0)) m_uStep = 2;
        if (Starts(0xFE, 0xFF) || Starts(0, '<')) m_uStep = 2, m_uLow = 1;
        if (m_uStep == 2 && Text[0] != std::byte('<') && Text[0] != std::byte(0)) m_uAt = 2;  // the mark in front
        if (Starts(0xEF, 0xBB) && Text.size() >= 3 && Text[2] == std::byte(0xBF)) m_uAt = 3;
    }

    /// Whole characters, none of them zero: a parser may stop there, or take the text for one of four bytes a character.
    bool AreSound() const {
        if (m_Text.size() % m_uStep != 0) return false;
        for (size_t uAt = 0; uAt < m_Text.size(); uAt += m_uStep)
            if (m_Text[uAt] == std::byte(0) && m_Text[uAt + m_uStep - 1] == std::byte(0)) return false;
        return true;
    }

    bool IsWide() const { return m_uStep == 2; }
    bool AtEnd() const { return m_uAt + m_uStep > m_Text.size(); }
    char Peek(size_t uAhead = 0) const {
        const size_t uAt = m_uAt + uAhead * m_uStep;
        if (uAt + m_uStep > m_Text.size()) return 0;
        if (m_uStep == 2 && m_Text[uAt + 1 - m_uLow] != std::byte(0)) return '?';
        const auto c = static_cast<char>(m_Text[uAt + m_uLow]);
        return c > 0 ? c : '?';
    }
    void Skip(size_t uCharacters) { m_uAt = std::min(m_uAt + uCharacters * m_uStep, m_Text.size()); }
    bool Take(std::string_view sText) {
        for (size_t i = 0; i < sText.size(); ++i)
            if (Peek(i) != sText[i]) return false;
        Skip(sText.size());
        return true;
    }
    void SkipBehind(std::string_view sText) {
        while (!AtEnd() && !Take(sText)) Skip(1);
    }

private:
    std::span<const std::byte> m_Text;
    size_t m_uAt = 0, m_uStep = 1, m_uLow = 0;  ///< the byte of two that holds ASCII
};

/// The declaration names no encoding but the one the text has.
bool g_IsEncodingKnown(CCharacters Characters) {
    const bool bIsWide = Characters.IsWide();
    if (!Characters.Take("<?xml")) return true;
    if (kBlanks.find(Characters.Peek()) == kBlanks.npos) return true;  // another instruction, as xml-stylesheet
    std::string sDeclaration;
    for (char c; (c = Characters.Peek()) != 0 && c != '>'; Characters.Skip(1))
        sDeclaration += static_cast<char>(c >= 'A' && c <= 'Z' ? c - 'A' + 'a' : c);
    const size_t uEncoding = sDeclaration.find("encoding");
    if (uEncoding == sDeclaration.npos) return true;
    const size_t uFirst = sDeclaration.find_first_of("\"'", uEncoding);
    if (uFirst == sDeclaration.npos) return true;  // not well-formed
    const std::string sName =
        sDeclaration.substr(uFirst + 1, sDeclaration.find_first_of("\"'", uFirst + 1) - uFirst - 1);
    return bIsWide ? sName == "utf-16" : std::ranges::find(kByteEncodings, sName) != std::end(kByteEncodings);
}

/// Behind "<" and a name's first character: up to the end of the tag. True when it has no contents.
bool g_SkipTag(CCharacters& rCharacters) {
    for (char cQuote = 0, cLast = 0; !rCharacters.AtEnd(); rCharacters.Skip(1)) {
        const char c = rCharacters.Peek();
        if (cQuote == 0 && c == '>') {
            rCharacters.Skip(1);
            return cLast == '/';
        }
        if (cQuote == 0 && (c == '"' || c == '\''))
            cQuote = c;
        else if (c == cQuote)
            cQuote = 0;
        cLast = c;
    }
    return true;
}

}  // namespace

const wchar_t* g_WhyNoSettings(std::span<const std::byte> Text) {
    CCharacters Characters(Text);
    if (!Characters.AreSound()) return kNoXml;
    if (!g_IsEncodingKnown(Characters)) return L"its encoding is not known";
    while (!Characters.AtEnd() && kBlanks.find(Characters.Peek()) != kBlanks.npos) Characters.Skip(1);
    if (Characters.Peek() != '<') return kNoXml;
    int nDepth = 0;
    while (!Characters.AtEnd()) {
        if (Characters.Take("<!--"))
            Characters.SkipBehind("-->");
        else if (Characters.Take("<![CDATA["))
            Characters.SkipBehind("]]>");
        else if (Characters.Take("<?"))
            Characters.SkipBehind("?>");
        else if (Characters.Take("<!"))
            return L"it has a document type";
        else if (Characters.Take("</"))
            nDepth = std::max(nDepth - 1, 0);
        else if (!Characters.Take("<"))
            Characters.Skip(1);
        else if (!g_SkipTag(Characters) && ++nDepth > kDeepestXml)
            return L"its elements are nested too deep";
    }
    return nullptr;
}

}  // namespace vxt
