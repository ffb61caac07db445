// Reading machine files: what the readers of all sections share.
#pragma once

#include <functional>
#include <limits>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "../machine_file.h"

namespace vxtsim {

class CSection;

/// One file on its way into a description. A function that answers false has told what was expected and found.
class CMachineReader {
public:
    // Bounds on what a file may ask for: far above any real PC, far below what would hurt this one.
    static constexpr size_t kMaximumFile = 16u << 20, kMaximumData = 32u << 20, kMaximumRegion = 4u << 20;
    static constexpr size_t kMaximumEntries = 4096, kMaximumText = 4096;
    static constexpr size_t kMaximumBases = 8;  ///< machines above each other
    static constexpr size_t kEntryBytes = 64;   ///< what an element or the like counts beside its content

    CMachineReader(CMachineDescription& rMachine, std::string& rsError);
    ~CMachineReader();

    /// `Chain`: this file and those that are based on it. `psFolder`: where bases may lie that are not built in.
    bool Read(std::string_view sText, const std::string& sFile, std::vector<std::string> Chain,
              const std::string* psFolder);

    CMachineDescription& Machine() { return m_rMachine; }
    /// What the file is based on, without what it does not want of it; null when it stands alone.
    const CMachineDescription* Base() const { return m_oBase ? &*m_oBase : nullptr; }
    /// The heading of the section being read.
    std::string_view Heading() const { return m_sHeading; }

    bool Fail(const std::string& sExpected, std::string_view sFound);
    bool FailTwice(const std::string& sWhat, std::string_view sFound) {
        return Fail("each " + sWhat + " once", std::string(sFound) + " again");
    }
    static std::string_view WithoutComment(std::string_view sLine);
    /// "left = right"; false when there is no such pair.
    bool Split(std::string_view sLine, std::string_view& rsLeft, std::string_view& rsRight);

    /// Room for one more of its kind?
    bool MayAdd(size_t uPresent);
    /// Counts against what a whole file may hold.
    bool Charge(size_t uBytes);
    /// What only the whole machine can tell, its base's part included: asked in the end, and blamed on this line.
    void AtEnd(std::function<bool(CMachineReader& rReader)> Check);
    /// This line speaks of the core, which must be there in the end.
    void NameCore(uint32_t uCore);

    // --- values
    template <class TNumber>
    bool Number(std::string_view sValue, TNumber& rNumber, int64_t llMaximum = std::numeric_limits<TNumber>::max(),
                int64_t llMinimum = std::numeric_limits<TNumber>::min()) {
        int64_t llValue = 0;
        const bool bRetCode = _Number(sValue, llValue, llMinimum, llMaximum);
        rNumber = static_cast<TNumber>(llValue);
        return bRetCode;
    }
    /// Words up to the end of the line; `ReadWord(word, element)` reads each.
    template <class TElement, class TReadWord>
    bool List(std::string_view sValue, std::vector<TElement>& rList, size_t uMaximum, TReadWord ReadWord) {
        rList.clear();
        sValue = WithoutComment(sValue);
        for (auto sWord = _TakeWord(sValue); !sWord.empty(); sWord = _TakeWord(sValue)) {
            if (rList.size() == uMaximum) return Fail("at most " + std::to_string(uMaximum) + " of them", "more");
            if (!ReadWord(sWord, rList.emplace_back()) || !Charge(sizeof(TElement))) return false;
        }
        return true;
    }
    bool Bytes(std::string_view sValue, std::vector<uint8_t>& rList, size_t uMaximum = kMaximumEntries);
    bool Text(std::string_view sText, std::string& rsText, size_t uMaximum = kMaximumText);
    /// "one|two"; nothing at all is no text.
    bool Texts(std::string_view sText, std::vector<std::string>& rList, size_t uMaximum = kMaximumEntries,
               size_t uCharacters = kMaximumText);

    // The form that the type alone decides.
    template <class TNumber> bool Value(std::string_view sValue, TNumber& rNumber) { return Number(sValue, rNumber); }
    template <class TNumber> bool Value(std::string_view sValue, std::vector<TNumber>& rList) {
        return List(sValue, rList, kMaximumEntries,
                    [this](std::string_view sWord, TNumber& rNumber) { return Number(sWord, rNumber); });
    }
    bool Value(std::string_view sValue, bool& rbFlag);
    bool Value(std::string_view sValue, std::string& rsText);

    // --- marks
    bool Begin();  ///< nothing stands before it, and it counts as nothing
    bool End();    ///< nothing stands behind it

    // --- bases
    /// Takes another machine's description as the base. Only as the first line of the first section.
    bool BaseOn(std::string_view sName);
    /// Forgets sections of the base: "acpi MCFG, firmware".
    bool Without(std::string_view sList);

private:
    struct CLaterCheck {
        size_t uLine;
        std::function<bool(CMachineReader& rReader)> Check;
    };
    bool _ReadLines(std::string_view sText);
    bool _OpenSection(std::string_view sHeading);
    bool _Number(std::string_view sValue, int64_t& rllValue, int64_t llMinimum, int64_t llMaximum);
    static std::string_view _TakeWord(std::string_view& rsText);

    CMachineDescription& m_rMachine;
    std::string& m_rsError;
    std::string m_sFile;
    std::vector<std::string> m_Chain;
    const std::string* m_psFolder = nullptr;
    std::optional<CMachineDescription> m_oBase;
    std::unique_ptr<CSection> m_pSection;
    std::string_view m_sHeading;
    size_t m_uLine = 0, m_uSections = 0;
    bool m_bMachine = false;  ///< there is a [machine]
    bool m_bBegun = false, m_bEnded = false;
    size_t m_uData = 0;  ///< bytes of all that was read
    std::vector<CLaterCheck> m_LaterChecks;
};

}  // namespace vxtsim
