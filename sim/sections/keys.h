// Sections of "key = value" lines with keys that are known by name: one row reads and writes a key.
#pragma once

#include <algorithm>
#include <set>
#include <span>

#include "section.h"

namespace vxtsim {

template <class TRecord> struct CKey {
    std::string_view sName;
    bool (*pRead)(CMachineReader& rReader, std::string_view sValue, TRecord& rRecord);
    std::string (*pWrite)(const TRecord& rRecord);  ///< null: it is never written
    bool bAlways = false;                           ///< written also when it says what a fresh record has
};
inline constexpr bool kAlways = true;

template <class TRecord, class TField> TRecord g_RecordOf(TField TRecord::*);
/// The key of a member, in the form that its type decides.
template <auto pMember> constexpr auto g_Key(std::string_view sName, bool bAlways = false) {
    using TRecord = decltype(g_RecordOf(pMember));
    return CKey<TRecord>{sName,
                         [](CMachineReader& rReader, std::string_view sValue, TRecord& rRecord) {
                             return rReader.Value(sValue, rRecord.*pMember);
                         },
                         [](const TRecord& rRecord) { return g_ValueText(rRecord.*pMember); }, bAlways};
}
/// Likewise for a text of limited length.
template <auto pMember, size_t uMaximum> constexpr auto g_TextKey(std::string_view sName, bool bAlways = false) {
    using TRecord = decltype(g_RecordOf(pMember));
    return CKey<TRecord>{sName,
                         [](CMachineReader& rReader, std::string_view sValue, TRecord& rRecord) {
                             std::string sText;
                             const bool bRetCode = rReader.Value(sValue, sText);
                             return bRetCode && rReader.Text(sText, rRecord.*pMember, uMaximum);
                         },
                         [](const TRecord& rRecord) { return rRecord.*pMember; }, bAlways};
}

template <const auto& rKeys> std::vector<std::string_view> g_KeyNames() {
    std::vector<std::string_view> Names;
    for (const auto& rKey : rKeys) Names.push_back(rKey.sName);
    return Names;
}

template <class TRecord, size_t uKeys>
void g_WriteKeys(CMachineWriter& rWriter, const CKey<TRecord> (&rKeys)[uKeys], const TRecord& rRecord) {
    const TRecord Fresh{};
    for (const CKey<TRecord>& rKey : rKeys) {
        if (!rKey.pWrite) continue;
        const std::string sText = rKey.pWrite(rRecord);
        if (rKey.bAlways || sText != rKey.pWrite(Fresh)) rWriter.Line(rKey.sName, sText);
    }
}

/// Reads the keys into a record, each once.
template <class TRecord> class CKeySection : public CSection {
public:
    CKeySection(std::span<const CKey<TRecord>> Keys, TRecord& rRecord) : m_Keys(Keys), m_rRecord(rRecord) {}

    bool Line(CMachineReader& rReader, std::string_view sLine) override {
        std::string_view sKey, sValue;
        if (!rReader.Split(sLine, sKey, sValue) || !rReader.MayAdd(m_Found.size())) return false;
        if (!m_Found.emplace(sKey).second) return rReader.FailTwice("key", sKey);
        const auto itKey = std::ranges::find(m_Keys, sKey, &CKey<TRecord>::sName);
        return itKey == m_Keys.end() ? Other(rReader, sKey, sValue) : itKey->pRead(rReader, sValue, m_rRecord);
    }

protected:
    /// A key that no row has.
    virtual bool Other(CMachineReader& rReader, std::string_view sKey, std::string_view /*sValue*/) {
        std::string sKnown;
        for (const CKey<TRecord>& rKey : m_Keys) {
            if (!sKnown.empty()) sKnown += &rKey == &m_Keys.back() ? " or " : ", ";
            sKnown += rKey.sName;
        }
        return rReader.Fail(sKnown, sKey);
    }

    std::span<const CKey<TRecord>> m_Keys;
    TRecord& m_rRecord;
    std::set<std::string, std::less<>> m_Found;
};

}  // namespace vxtsim
