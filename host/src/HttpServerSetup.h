#pragma once
#include <memory>

#include <httplib.h>

#include "HostContext.h"

namespace Kyr::WbmHost {

// A server with the host's limits (body sizes, header size, timeouts, a bounded thread pool), its
// error answers, request logging and every route installed.
std::unique_ptr<httplib::Server> CreateHttpServer(HostContext& context);

} // namespace Kyr::WbmHost
