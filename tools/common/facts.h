// What a device tells of itself: facts that stay as they are, each with its unit, or with the reason why there is none.
#pragma once

#include <string>
#include <vector>

#include "common/document.h"

namespace vxttools {

inline constexpr const char* kNotTold = "it does not say";
inline constexpr const char* kSerialsLeftOut = "serial numbers are left out";

/// The facts of one device, for programs and for people.
class CFacts {
public:
    /// `pszNone`: why facts are missing that give no reason of their own; without `bSerials` serial numbers are left out.
    explicit CFacts(bool bSerials = true, const char* pszNone = kNotTold) : m_bSerials(bSerials), m_pszNone(pszNone) {}

    /// A null value, an empty text and an empty list are none. `sShown`: the value for people; empty: as it is.
    void Add(const char* pszKey, const char* pszLabel, CJson Value, const char* pszUnit = "", std::string sShown = {});
    /// 0 is none, and so is what is no number.
    void AddNumber(const char* pszKey, const char* pszLabel, double dValue, const char* pszUnit = "",
                   std::string sShown = {});
    /// What tells one specimen from another.
    void AddSerial(const char* pszKey, const char* pszLabel, CJson Value, std::string sShown = {});
    /// There is none, and this is why.
    void AddMissing(const char* pszKey, const char* pszLabel, const char* pszReason, const char* pszUnit = "");

    /// A member each: "value", "unit" and "reason".
    void AddTo(CJson& rObject) const;
    /// A row each; those that are missing for want of an answer are named in the last one.
    CTextTable Table(const std::string& sTitle) const;

private:
    struct CFact {
        const char* pszKey;
        const char* pszLabel;
        CJson Value;
        const char* pszUnit;
        std::string sShown;
        const char* pszReason;  ///< null: there is a value
    };

    bool m_bSerials;
    const char* m_pszNone;
    std::vector<CFact> m_Facts;
};

}  // namespace vxttools
