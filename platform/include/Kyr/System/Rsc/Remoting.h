#pragma once
#include <cstddef>
#include <cstdint>
#include <vector>

#include "Kyr/System/Commons/Api.h"

namespace Kyr::System::Rsc {

// Type tags of the remoting wire form.
enum class RscType : std::uint8_t { Bool = 2, Int32 = 7, Enum = 8, UInt32 = 9, UInt64 = 11, String = 16, Struct = 20 };
enum class RscStringEncoding : std::uint8_t { Ascii = 1, Utf8 = 2 };

// Serialises service arguments into bytes. Layout: a tag is one byte; raw data is copied as is
// (host byte order); a begin-struct marker is the tag Struct and the field count (uint32); a string
// is the tag String, its encoding byte, its capacity (uint32), its length (uint32) and its bytes.
class KYR_API RemotingWriter {
public:
    void WriteTag(RscType type);
    void WriteDataInternal(const void* data, std::size_t size);
    void WriteBeginStruct(std::uint32_t fieldCount);
    // `fixedCapacity` true: the text must fit the capacity (length < capacity).
    void WriteStringInternal(const char* text, std::size_t capacity, RscStringEncoding encoding, bool fixedCapacity);
    const std::vector<std::uint8_t>& GetBytes() const noexcept { return bytes; }

private:
    std::vector<std::uint8_t> bytes;
};

// Reads what RemotingWriter wrote. Any mismatch (wrong tag, wrong struct size, too few bytes, a
// string over its capacity) throws Kyr::System::Commons::InvalidOperationException.
class KYR_API RemotingReader {
public:
    explicit RemotingReader(std::vector<std::uint8_t> bytes);
    void ReadTag(RscType expected);
    void ReadDataInternal(void* data, std::size_t size);
    void ReadBeginStruct(std::uint32_t expectedFieldCount);
    // Fills `buffer` (capacity bytes) with the text and its terminating zero.
    void ReadStringInternal(char* buffer, std::size_t capacity, RscStringEncoding encoding, bool fixedCapacity);
    bool AtEnd() const noexcept { return position == bytes.size(); }

private:
    std::vector<std::uint8_t> bytes;
    std::size_t position = 0;
};

namespace Services {
// A service struct that travels through the remoting layer.
class KYR_API IRscSerializable {
public:
    virtual ~IRscSerializable();
    virtual void Serialize(RemotingWriter& writer) const = 0;
    virtual void Deserialize(RemotingReader& reader) = 0;
};
} // namespace Services

} // namespace Kyr::System::Rsc
