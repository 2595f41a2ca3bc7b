#pragma once
// Field helpers shared by the user-manager structs' wire forms: every field is its tag and its raw
// bytes (an enumeration travels as tag 8 and 32 bits); a string carries its capacity.
#include <cstdint>
#include <type_traits>

#include "Kyr/System/Commons/RscString.h"
#include "Kyr/System/Rsc/Remoting.h"

namespace Kyr::System::Um::Services::Internal::Wire {

using Kyr::System::Rsc::RemotingReader;
using Kyr::System::Rsc::RemotingWriter;
using Kyr::System::Rsc::RscStringEncoding;
using Kyr::System::Rsc::RscType;

inline void Write(RemotingWriter& writer, bool value) {
    const std::uint8_t byte = value ? 1 : 0;
    writer.WriteTag(RscType::Bool);
    writer.WriteDataInternal(&byte, 1);
}
inline void Read(RemotingReader& reader, bool& value) {
    std::uint8_t byte = 0;
    reader.ReadTag(RscType::Bool);
    reader.ReadDataInternal(&byte, 1);
    value = byte != 0;
}

inline void Write(RemotingWriter& writer, std::uint32_t value) {
    writer.WriteTag(RscType::UInt32);
    writer.WriteDataInternal(&value, sizeof value);
}
inline void Read(RemotingReader& reader, std::uint32_t& value) {
    reader.ReadTag(RscType::UInt32);
    reader.ReadDataInternal(&value, sizeof value);
}

inline void Write(RemotingWriter& writer, std::uint64_t value) {
    writer.WriteTag(RscType::UInt64);
    writer.WriteDataInternal(&value, sizeof value);
}
inline void Read(RemotingReader& reader, std::uint64_t& value) {
    reader.ReadTag(RscType::UInt64);
    reader.ReadDataInternal(&value, sizeof value);
}

template <class TEnum, std::enable_if_t<std::is_enum_v<TEnum>, int> = 0>
void Write(RemotingWriter& writer, TEnum value) {
    const auto raw = static_cast<std::uint32_t>(value);
    writer.WriteTag(RscType::Enum);
    writer.WriteDataInternal(&raw, sizeof raw);
}
template <class TEnum, std::enable_if_t<std::is_enum_v<TEnum>, int> = 0>
void Read(RemotingReader& reader, TEnum& value) {
    std::uint32_t raw = 0;
    reader.ReadTag(RscType::Enum);
    reader.ReadDataInternal(&raw, sizeof raw);
    value = static_cast<TEnum>(raw);
}

template <std::size_t N>
void Write(RemotingWriter& writer, const Kyr::System::Rsc::RscString<N>& value) {
    writer.WriteStringInternal(value.c_str(), N, RscStringEncoding::Utf8, true);
}
template <std::size_t N>
void Read(RemotingReader& reader, Kyr::System::Rsc::RscString<N>& value) {
    reader.ReadStringInternal(value.GetBuffer(), N, RscStringEncoding::Utf8, true);
}

// Visitors that write or read one field; a struct lists its fields once and hands either visitor
// to that list, so that reading mirrors writing by construction.
struct Writing {
    RemotingWriter& writer;
    template <class TField>
    void operator()(const TField& field) const { Write(writer, field); }
};
struct Reading {
    RemotingReader& reader;
    template <class TField>
    void operator()(TField& field) const { Read(reader, field); }
};

} // namespace Kyr::System::Um::Services::Internal::Wire
