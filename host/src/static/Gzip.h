#pragma once
// The pages are installed gzip-compressed (a controller's flash; a slow link). Browsers take them as
// they are; a client that does not accept gzip gets them inflated.
#include <optional>
#include <string>

namespace Kyr::WbmHost {

// Whether an Accept-Encoding header value accepts gzip (not with q=0).
bool AcceptsGzip(const std::string& acceptEncoding);

// The inflated content of gzip data; nothing when it is not valid or would exceed `limit` bytes.
std::optional<std::string> Gunzip(const std::string& compressed, std::size_t limit);

} // namespace Kyr::WbmHost
