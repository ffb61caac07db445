// What management data are made of: values, objects, methods.
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace vxtsim {

struct CWmiObject;

/// One value with its VARIANT type number. Which member counts follows from the type.
struct CWmiValue {
    static constexpr uint16_t kEmpty = 0, kNull = 1, kInteger = 3, kText = 8, kBoolean = 11, kObject = 13;
    static constexpr uint16_t kArray = 0x2000, kIntegers = kArray | 3, kTexts = kArray | 8, kBytes = kArray | 17;

    uint16_t usType = kEmpty;  ///< other numbers stand for a value that nobody here looks into
    int32_t nNumber = 0;       ///< kInteger, kBoolean
    std::string sText;         ///< kText: one character a byte
    std::shared_ptr<CWmiObject> pObject;
    std::vector<int32_t> Integers;
    std::vector<uint8_t> Bytes;
    std::vector<std::string> Texts;
    bool bNullArray = false;  ///< an array type whose array pointer is null
    bool bNoData = false;     ///< an array without data

    static CWmiValue Typed(uint16_t usType);  ///< zero, nothing in it
    static CWmiValue Integer(int32_t nValue);
    static CWmiValue Text(std::string sValue);
    static CWmiValue Object(CWmiObject Value);
    static CWmiValue IntegerArray(std::vector<int32_t> Values);
    static CWmiValue ByteArray(std::vector<uint8_t> Values);
    static CWmiValue TextArray(std::vector<std::string> Values);
    bool operator==(const CWmiValue&) const;
};

/// A class definition, an instance or the parameters of a method. Equal names mean equal letters here: stricter than
/// the real thing, so that a misspelt name is found.
struct CWmiObject {
    std::string sClass;
    std::map<std::string, CWmiValue> Properties;  ///< "__PATH" among them for classes and instances
    bool operator==(const CWmiObject&) const = default;
};

/// A method as its class declares it.
struct CWmiMethod {
    bool bStatic = false;
    std::optional<CWmiObject> oInput;  ///< its parameters with values of their types; nothing: it takes none
};

}  // namespace vxtsim
