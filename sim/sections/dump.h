// Sections of dump lines.
#pragma once

#include "section.h"

namespace vxtsim {

/// "offset: byte byte ..." from 0 up; without an offset a line goes on where the last one ended.
class CDumpSection : public CSection {
public:
    static size_t AsItIs(size_t uSize) { return uSize; }

    /// `pRound`: the size of a dump that has to hold so many bytes. `uFirst`: the lowest offset that a line may name.
    CDumpSection(std::vector<uint8_t>& rDump, size_t uLimit, size_t (*pRound)(size_t uSize) = AsItIs, size_t uFirst = 0)
        : m_rDump(rDump), m_uLimit(uLimit), m_uNext(uFirst), m_pRound(pRound) {}

    bool Line(CMachineReader& rReader, std::string_view sLine) override;
    /// Makes room, within the budget of the whole file.
    bool Grow(CMachineReader& rReader, size_t uSize);

protected:
    std::vector<uint8_t>& m_rDump;

private:
    size_t m_uLimit, m_uNext;
    size_t (*m_pRound)(size_t uSize);
};

/// Opens the dump of one key of a map. Null, with the reason told, when the file has it already.
template <class TKey>
std::unique_ptr<CDumpSection> g_OpenDump(CMachineReader& rReader, std::map<TKey, std::vector<uint8_t>>& rDumps,
                                         const TKey& rKey, size_t uLimit, std::string_view sArgument,
                                         size_t (*pRound)(size_t uSize) = CDumpSection::AsItIs, size_t uFirst = 0) {
    const auto [it, bNew] = rDumps.try_emplace(rKey);
    if (bNew) return std::make_unique<CDumpSection>(it->second, uLimit, pRound, uFirst);
    rReader.FailTwice("dump", sArgument);
    return nullptr;
}

}  // namespace vxtsim
