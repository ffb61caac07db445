// A JSON value as an answer is built of it. What renders it stays behind this header: it is heavy to compile.
#pragma once

#include <concepts>
#include <cstdint>
#include <initializer_list>
#include <list>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

namespace vxttools {

struct CJsonMember;

/// Members of an object keep the order in which they came, and their places when others are added.
class CJson {
public:
    CJson(std::nullptr_t = nullptr) {}
    CJson(std::same_as<bool> auto bValue) : m_Value(bValue) {}  // not what only converts to it, as pointers do
    CJson(std::floating_point auto dValue) : m_Value(double{dValue}) {}
    CJson(std::integral auto nValue) requires(!std::same_as<decltype(nValue), bool>)
        : m_Value(static_cast<int64_t>(nValue)) {}
    CJson(const char* pszText) : m_Value(std::string(pszText)) {}
    CJson(std::string sText) : m_Value(std::move(sText)) {}
    template <class TValue> CJson(const std::optional<TValue>& rValue) {
        if (rValue) *this = CJson(*rValue);
    }
    template <class TValue> CJson(const std::vector<TValue>& rValues) : m_Value(std::vector<CJson>()) {
        for (const TValue& rValue : rValues) Push(rValue);
    }
    CJson(std::initializer_list<CJsonMember> Members);  ///< an object: {{"id", sId}, {"index", uIndex}}
    static CJson Array() { return std::vector<CJson>(); }

    bool IsNull() const { return std::holds_alternative<std::nullptr_t>(m_Value); }
    bool IsObject() const { return std::holds_alternative<std::list<CJsonMember>>(m_Value); }
    bool IsFlag() const { return std::holds_alternative<bool>(m_Value); }
    bool IsText() const { return std::holds_alternative<std::string>(m_Value); }
    bool IsArray() const { return std::holds_alternative<std::vector<CJson>>(m_Value); }
    /// The value, which has to be one of that type (or ends the command).
    const std::string& Text() const { return std::get<std::string>(m_Value); }
    bool Flag() const { return std::get<bool>(m_Value); }
    const std::vector<CJson>& Items() const { return std::get<std::vector<CJson>>(m_Value); }
    std::vector<CJson>& Items() { return std::get<std::vector<CJson>>(m_Value); }
    const std::list<CJsonMember>& Members() const { return std::get<std::list<CJsonMember>>(m_Value); }
    /// Nothing for whatever is no number.
    std::optional<double> Number() const;

    bool Has(std::string_view sKey) const;
    const CJson& operator[](std::string_view sKey) const;  ///< has to be there (or ends the command)
    CJson& operator[](std::string_view sKey);              ///< added when it is not there
    CJson& Push(CJson Item);

    bool operator==(const CJson&) const = default;

    /// Nothing where the text is no JSON, or is nested deeper than anything that the tools write.
    static std::optional<CJson> Parse(std::string_view sText);
    /// One line; `nIndent` above zero: one line for each value.
    std::string Dump(int nIndent = -1) const;

    using CValue =
        std::variant<std::nullptr_t, bool, double, int64_t, std::string, std::vector<CJson>, std::list<CJsonMember>>;
    const CValue& Value() const { return m_Value; }

private:
    CValue m_Value;
};

struct CJsonMember {
    std::string sKey;
    CJson Value;
    bool operator==(const CJsonMember&) const = default;
};

}  // namespace vxttools
