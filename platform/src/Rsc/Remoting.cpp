#include "Kyr/System/Rsc/Remoting.h"

#include <cstring>
#include <utility>

#include "Kyr/System/Commons/Exceptions.h"
#include "Kyr/System/Commons/Format.h"

namespace Kyr::System::Rsc {

using Kyr::System::Commons::InvalidOperationException;
using Kyr::System::Commons::SafeFormat;

Services::IRscSerializable::~IRscSerializable() = default;

void RemotingWriter::WriteTag(RscType type) { bytes.push_back(static_cast<std::uint8_t>(type)); }

void RemotingWriter::WriteDataInternal(const void* data, std::size_t size) {
    const auto* first = static_cast<const std::uint8_t*>(data);
    bytes.insert(bytes.end(), first, first + size);
}

void RemotingWriter::WriteBeginStruct(std::uint32_t fieldCount) {
    WriteTag(RscType::Struct);
    WriteDataInternal(&fieldCount, sizeof fieldCount);
}

void RemotingWriter::WriteStringInternal(const char* text, std::size_t capacity, RscStringEncoding encoding, bool fixedCapacity) {
    const std::size_t length = text == nullptr ? 0 : std::strlen(text);
    if (fixedCapacity && length >= capacity)
        throw InvalidOperationException(SafeFormat("String of length {0} does not fit capacity {1}", length, capacity));
    const auto capacity32 = static_cast<std::uint32_t>(capacity);
    const auto length32 = static_cast<std::uint32_t>(length);
    WriteTag(RscType::String);
    bytes.push_back(static_cast<std::uint8_t>(encoding));
    WriteDataInternal(&capacity32, sizeof capacity32);
    WriteDataInternal(&length32, sizeof length32);
    WriteDataInternal(text, length);
}

RemotingReader::RemotingReader(std::vector<std::uint8_t> bytes) : bytes(std::move(bytes)) {}

void RemotingReader::ReadTag(RscType expected) {
    std::uint8_t tag = 0;
    ReadDataInternal(&tag, 1);
    if (tag != static_cast<std::uint8_t>(expected))
        throw InvalidOperationException(
            SafeFormat("Unexpected remoting tag {0}, expected {1}", unsigned{tag}, static_cast<unsigned>(expected)));
}

void RemotingReader::ReadDataInternal(void* data, std::size_t size) {
    if (bytes.size() - position < size)
        throw InvalidOperationException(SafeFormat("Remoting data ends after {0} bytes, {1} more needed", bytes.size(), size));
    if (size > 0) std::memcpy(data, bytes.data() + position, size);
    position += size;
}

void RemotingReader::ReadBeginStruct(std::uint32_t expectedFieldCount) {
    ReadTag(RscType::Struct);
    std::uint32_t fieldCount = 0;
    ReadDataInternal(&fieldCount, sizeof fieldCount);
    if (fieldCount != expectedFieldCount)
        throw InvalidOperationException(SafeFormat("Struct has {0} fields, expected {1}", fieldCount, expectedFieldCount));
}

void RemotingReader::ReadStringInternal(char* buffer, std::size_t capacity, RscStringEncoding encoding, bool fixedCapacity) {
    ReadTag(RscType::String);
    std::uint8_t encodingByte = 0;
    ReadDataInternal(&encodingByte, 1);
    if (encodingByte != static_cast<std::uint8_t>(encoding))
        throw InvalidOperationException(SafeFormat("Unexpected string encoding {0}", unsigned{encodingByte}));
    std::uint32_t writtenCapacity = 0;
    std::uint32_t length = 0;
    ReadDataInternal(&writtenCapacity, sizeof writtenCapacity);
    ReadDataInternal(&length, sizeof length);
    if (fixedCapacity && writtenCapacity != capacity)
        throw InvalidOperationException(SafeFormat("String capacity {0}, expected {1}", writtenCapacity, capacity));
    if (capacity == 0 || length >= capacity)
        throw InvalidOperationException(SafeFormat("String of length {0} does not fit capacity {1}", length, capacity));
    ReadDataInternal(buffer, length);
    buffer[length] = '\0';
}

} // namespace Kyr::System::Rsc
