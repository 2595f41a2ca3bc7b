#include "Kyr/Services/Commons/Wbm/Messages/WbmResponse.h"

namespace Kyr::Services::Commons::Wbm::Messages {

namespace {
String MediaType(ContentType type, ContentSubtype subtype) {
    if (type != ContentType::Text) return "application/octet-stream";
    switch (subtype) {
    case ContentSubtype::Html: return "text/html";
    case ContentSubtype::Json: return "application/json";
    case ContentSubtype::Plain: return "text/plain";
    case ContentSubtype::Xml: return "application/xml";
    case ContentSubtype::None: break;
    }
    return "text/plain";
}
} // namespace

String ResponseHeader::ToMimeType() const {
    String mime = MediaType(type, subtype);
    if (charset == CharsetType::Utf8) mime += "; charset=utf-8";
    return mime;
}

} // namespace Kyr::Services::Commons::Wbm::Messages
