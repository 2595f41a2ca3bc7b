#pragma once
#include "Kyr/System/Commons/Logging/Loggable.h"

namespace Kyr::WbmHost {

// One logger per part of the host, named after these types ("Kyr::WbmHost::HttpServer", ...).
struct HostLifecycle : Kyr::System::Commons::Logging::Loggable<HostLifecycle> {};
struct ModuleLoader : Kyr::System::Commons::Logging::Loggable<ModuleLoader> {};
struct HttpServer : Kyr::System::Commons::Logging::Loggable<HttpServer> {};
struct SessionLog : Kyr::System::Commons::Logging::Loggable<SessionLog> {};
struct SecurityLog : Kyr::System::Commons::Logging::Loggable<SecurityLog> {};

} // namespace Kyr::WbmHost
