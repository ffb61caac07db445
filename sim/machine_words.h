// Words of a machine file, for those who read and write it.
#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

#include "wmi_value.h"

namespace vxtsim {

inline constexpr std::string_view kBlanks = " \t\r";
inline constexpr uint32_t kMillion = 1'000'000;
inline constexpr size_t kMaximumFile = 16u << 20;  ///< far above any real PC, far below what would hurt this one

std::string_view g_TrimLeft(std::string_view s);
std::string_view g_Trim(std::string_view s);
/// Cuts the first word off `rsText`; empty at its end.
std::string_view g_TakeWord(std::string_view& rsText);
/// A whole word of 1 to `uDigits` hexadecimal digits, with or without 0x.
std::optional<uint64_t> g_Hex(std::string_view sWord, size_t uDigits);
/// A decimal number in millionths, at most six digits on either side of the point.
std::optional<uint64_t> g_Millionths(std::string_view sWord);
/// A decimal number, a whole word of it.
std::optional<int64_t> g_Decimal(std::string_view sWord);
/// A name of a class, method or property: letters, digits and _, no digit and no __ in front.
bool g_IsName(std::string_view sText);

/// Values that are one word.
struct CPlainValue {
    std::string_view sWord;
    uint16_t usType;
    bool bNullArray = false, bNoData = false;

    CWmiValue Value() const {
        CWmiValue Result = CWmiValue::Typed(usType);
        Result.bNullArray = bNullArray, Result.bNoData = bNoData;
        return Result;
    }
};
inline constexpr CPlainValue kPlainValues[] = {
    {"null", CWmiValue::kNull},
    {"empty", CWmiValue::kEmpty},
    {"null_numbers", CWmiValue::kIntegers, true},
    {"null_bytes", CWmiValue::kBytes, true},
    {"null_texts", CWmiValue::kTexts, true},
    {"no_data", CWmiValue::kIntegers, false, true},
};
inline constexpr std::string_view kMissing = "missing";  ///< no value at all

}  // namespace vxtsim
