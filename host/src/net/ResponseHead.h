#pragma once
// The bytes of an answer's head: status line, the route's header fields, then the connection's own
// (Content-Length, and Connection: close when the connection ends after it). The body follows as it
// is, in a buffer of its own. Written here rather than by Beast's serializer, whose operations come
// into the program once per handler type (a controller's flash).
#include <string>

#include "http/HttpMessage.h"

namespace Kyr::WbmHost {

// HTTP/1.1. A route's own Content-Length or Connection field is left out (the connection sets
// them); a field whose name or value holds CR or LF is left out too: it could not be one line.
std::string ResponseHead(const HttpResponse& response, bool closeAfter);

} // namespace Kyr::WbmHost
