#pragma once
#include <cstddef>
#include <istream>
#include <ostream>
#include <string>
#include <type_traits>

namespace Kyr::System::Commons {

// The text forms of a platform enumeration, given as a table of (value, name). Used to write the
// enumerations' stream operators.
template <class TEnum>
struct EnumName {
    TEnum value;
    const char* name;
};

// Prints the value's name, or its number when the table has none.
template <class TEnum, std::size_t N>
std::ostream& WriteEnumName(std::ostream& stream, TEnum value, const EnumName<TEnum> (&names)[N]) {
    for (const auto& entry : names)
        if (entry.value == value) return stream << entry.name;
    return stream << +static_cast<std::underlying_type_t<TEnum>>(value);
}

// Reads one word; a word that is no name sets the stream's fail bit and leaves `value` alone.
template <class TEnum, std::size_t N>
std::istream& ReadEnumName(std::istream& stream, TEnum& value, const EnumName<TEnum> (&names)[N]) {
    std::string text;
    if (!(stream >> text)) return stream;
    for (const auto& entry : names) {
        if (text == entry.name) {
            value = entry.value;
            return stream;
        }
    }
    stream.setstate(std::ios::failbit);
    return stream;
}

} // namespace Kyr::System::Commons
