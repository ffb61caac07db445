// Which value of a record a register's field goes with.
#pragma once

#include <cstddef>
#include <span>
#include <type_traits>
#include <utility>

#include "registers/bit_field.h"

namespace vxt {

/// A member of a record, or one element of a member that is an array. The record's type is part of it: no field reaches
/// into another record.
template <class TRecord, class TValue> class CRecordField {
public:
    using CAccess = const TValue& (*)(const TRecord& rRecord, size_t uElement);

    consteval CRecordField(CAccess pAccess, size_t uElements, size_t uElement)
        : m_pAccess(pAccess), m_uElements(uElements), m_uElement(uElement) {
        if (uElement >= uElements) throw "the array has no such element";
    }

    constexpr const TValue& In(const TRecord& rRecord) const { return m_pAccess(rRecord, m_uElement); }
    constexpr TValue& In(TRecord& rRecord) const { return const_cast<TValue&>(In(std::as_const(rRecord))); }

    constexpr bool CanGo(size_t uElements) const { return m_uElement + uElements < m_uElements; }
    /// The element so many places further in the same array, where CanGo says that there is one.
    constexpr CRecordField Further(size_t uElements) const {
        CRecordField Field = *this;
        Field.m_uElement += uElements;
        return Field;
    }
    constexpr bool operator==(const CRecordField&) const = default;

private:
    CAccess m_pAccess;
    size_t m_uElements, m_uElement;
};

template <auto pMember, size_t uElement = 0> struct CFieldOf;  ///< how kField takes a pointer to member apart
template <class TRecord, class TMember, TMember TRecord::*pMember, size_t uElement> struct CFieldOf<pMember, uElement> {
    using CValue = std::remove_extent_t<TMember>;
    static constexpr size_t kElements = std::is_array_v<TMember> ? std::extent_v<TMember> : 1;

    static constexpr const CValue& At(const TRecord& rRecord, [[maybe_unused]] size_t uPlace) {
        if constexpr (std::is_array_v<TMember>)
            return (rRecord.*pMember)[uPlace];
        else
            return rRecord.*pMember;
    }
    static constexpr CRecordField<TRecord, CValue> kField{At, kElements, uElement};
};

/// kField<&CRecord::dMember> or kField<&CRecord::adArray, 3>.
template <auto pMember, size_t uElement = 0> inline constexpr auto kField = CFieldOf<pMember, uElement>::kField;

/// A record's value and the register field that holds it as it is.
template <class TRecord, class TValue> struct CRecordRow {
    CRecordField<TRecord, TValue> Value;
    CRegisterField Field;
};

enum class EFlagUse : uint8_t { kBothWays, kReadOnly, kWriteOnly };

/// A flag of a record and its bit. Flags are bytes that hosts write: any number but 0 is on.
template <class TRecord> struct CFlagRow {
    CRecordField<TRecord, uint8_t> Flag;
    CRegisterField Bit;
    EFlagUse eUse = EFlagUse::kBothWays;
};

/// A flag that is not read stays as it was in the record.
template <class TRecord>
void g_DecodeFlags(std::type_identity_t<std::span<const CFlagRow<TRecord>>> Rows, std::span<const uint32_t> Words,
                   TRecord& rRecord) {
    for (const CFlagRow<TRecord>& rRow : Rows)
        if (rRow.eUse != EFlagUse::kWriteOnly) rRow.Flag.In(rRecord) = static_cast<uint8_t>(rRow.Bit.Get(Words));
}
template <class TRecord>
void g_EncodeFlags(std::type_identity_t<std::span<const CFlagRow<TRecord>>> Rows, std::span<uint32_t> Words,
                   const TRecord& rRecord) {
    for (const CFlagRow<TRecord>& rRow : Rows)
        if (rRow.eUse != EFlagUse::kReadOnly) rRow.Bit.Set(Words, rRow.Flag.In(rRecord) != 0);
}

}  // namespace vxt
