#pragma once
#include <cstddef>

#include "http/HttpMessage.h"

namespace Kyr::WbmHost {

// What the server asks of the application for each request.
class RequestHandler {
public:
    virtual ~RequestHandler() = default;
    // On a network thread, right after the head was read (no body yet): the largest body the request
    // may carry. Must not block.
    virtual std::size_t BodyLimit(const HttpRequest& head) const = 0;
    // On a network thread, with the complete request: whether Handle answers it from memory alone,
    // so that it may run right there, without the round trip through a worker. Must not block.
    virtual bool AnswersFromMemory(HttpRequest& request) const = 0;
    // On a worker thread, with the complete request (or on the network thread when AnswersFromMemory).
    // May block unless AnswersFromMemory.
    virtual void Handle(HttpRequest& request, HttpResponse& response) = 0;
};

} // namespace Kyr::WbmHost
