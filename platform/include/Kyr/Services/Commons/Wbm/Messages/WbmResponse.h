#pragma once
#include <utility>

#include "Kyr/System/Commons/Api.h"
#include "Kyr/System/Commons/String.h"

namespace Kyr::Services::Commons::Wbm::Messages {

enum class ContentType : int { None = 0, Binary = 1, Text = 2 };
enum class ContentSubtype : int { None = 0, Html = 1, Json = 2, Plain = 3, Xml = 4 };
enum class CharsetType : int { None = 0, Utf8 = 1 };

// Codes 2,2,1: JSON in UTF-8; 2,3,1: plain text in UTF-8.
class KYR_API ResponseHeader {
public:
    ResponseHeader() = default;
    ResponseHeader(ContentType type, ContentSubtype subtype, CharsetType charset) : type(type), subtype(subtype), charset(charset) {}
    ContentType GetContentType() const noexcept { return type; }
    ContentSubtype GetContentSubtype() const noexcept { return subtype; }
    CharsetType GetCharset() const noexcept { return charset; }
    // The HTTP content type, e.g. "application/json; charset=utf-8".
    String ToMimeType() const;

private:
    ContentType type = ContentType::None;
    ContentSubtype subtype = ContentSubtype::None;
    CharsetType charset = CharsetType::None;
};

class KYR_API WbmResponse {
public:
    WbmResponse() = default;
    WbmResponse(const ResponseHeader& header, String body) : header(header), body(std::move(body)) {}
    const ResponseHeader& GetHeader() const noexcept { return header; }
    const String& GetBody() const noexcept { return body; }

private:
    ResponseHeader header;
    String body;
};

} // namespace Kyr::Services::Commons::Wbm::Messages
