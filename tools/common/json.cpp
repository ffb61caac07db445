#include "common/json.h"

#include <algorithm>
#include <nlohmann/json.hpp>
#include <stdexcept>

namespace vxttools {
namespace {

using CRendered = nlohmann::ordered_json;

struct CRenderer {
    CRendered operator()(const auto& rScalar) const { return rScalar; }
    CRendered operator()(const std::vector<CJson>& rItems) const {
        CRendered Array = CRendered::array();
        for (const CJson& rItem : rItems) Array.push_back(std::visit(*this, rItem.Value()));
        return Array;
    }
    CRendered operator()(const std::list<CJsonMember>& rMembers) const {
        CRendered Object = CRendered::object();
        for (const auto& [sKey, rMember] : rMembers) Object[sKey] = std::visit(*this, rMember.Value());
        return Object;
    }
};

/// Nothing where it is nested deeper than anything that the tools write.
std::optional<CJson> g_FromRendered(const CRendered& rRendered, int nDepth = 0) {
    constexpr int kDeepest = 16;
    if (nDepth > kDeepest) return std::nullopt;
    if (rRendered.is_boolean()) return CJson(rRendered.get<bool>());
    if (rRendered.is_number_integer()) return CJson(rRendered.get<int64_t>());
    if (rRendered.is_number()) return CJson(rRendered.get<double>());
    if (rRendered.is_string()) return CJson(rRendered.get<std::string>());
    CJson Value = rRendered.is_array() ? CJson::Array() : nullptr;
    if (rRendered.is_object()) Value = std::initializer_list<CJsonMember>{};
    if (!rRendered.is_structured()) return Value;
    for (const auto& [sKey, rItem] : rRendered.items()) {
        std::optional<CJson> oItem = g_FromRendered(rItem, nDepth + 1);
        if (!oItem) return std::nullopt;
        (rRendered.is_array() ? Value.Push(nullptr) : Value[sKey]) = std::move(*oItem);
    }
    return Value;
}

}  // namespace

CJson::CJson(std::initializer_list<CJsonMember> Members) : m_Value(std::list<CJsonMember>(Members)) {}

std::optional<double> CJson::Number() const {
    if (const auto* pdValue = std::get_if<double>(&m_Value)) return *pdValue;
    if (const auto* pnValue = std::get_if<int64_t>(&m_Value)) return static_cast<double>(*pnValue);
    return std::nullopt;
}

bool CJson::Has(std::string_view sKey) const {
    return IsObject() && std::ranges::count(Members(), sKey, &CJsonMember::sKey);
}

const CJson& CJson::operator[](std::string_view sKey) const {
    const auto it = std::ranges::find(Members(), sKey, &CJsonMember::sKey);
    if (it == Members().end()) throw std::out_of_range("no member '" + std::string(sKey) + "'");
    return it->Value;
}

CJson& CJson::operator[](std::string_view sKey) {
    if (IsNull()) m_Value = std::list<CJsonMember>();
    auto& rMembers = std::get<std::list<CJsonMember>>(m_Value);
    const auto it = std::ranges::find(rMembers, sKey, &CJsonMember::sKey);
    if (it != rMembers.end()) return it->Value;
    rMembers.push_back({std::string(sKey), nullptr});
    return rMembers.back().Value;
}

CJson& CJson::Push(CJson Item) { return Items().emplace_back(std::move(Item)); }

std::optional<CJson> CJson::Parse(std::string_view sText) {
    const CRendered Rendered = CRendered::parse(sText, nullptr, false);
    return Rendered.is_discarded() ? std::nullopt : g_FromRendered(Rendered);
}

std::string CJson::Dump(int nIndent) const {
    constexpr auto kErrors = CRendered::error_handler_t::replace;  // file names need not be UTF-8
    return std::visit(CRenderer(), m_Value).dump(nIndent, ' ', false, kErrors);
}

}  // namespace vxttools
