#pragma once
#include <string_view>

namespace Kyr::WbmHost {

// Readiness and status messages to the service manager that started the host: one datagram of
// "KEY=VALUE" lines to the socket named in $NOTIFY_SOCKET (a file path, or "@name" for an abstract
// socket). The protocol is small and stable, so it is spoken here without a client library.
//
// The host sends "READY=1" once it serves, "STOPPING=1" when it begins to stop.

// The exit status by which the host asks the service manager to start it again (a device restart);
// the package's unit names it in RestartForceExitStatus=.
constexpr int RestartExitStatus = 75;

// True when a service manager waits for such messages ($NOTIFY_SOCKET names a socket). Then a
// device restart is left to the service manager: the host ends with the exit status that asks for one.
bool RunningUnderServiceManager();

// Sends `state` to $NOTIFY_SOCKET. False when there is no service manager or the message could not be
// delivered; the host goes on either way.
bool NotifyServiceManager(std::string_view state);

// Sends `state` to the notification socket `socketAddress` (a path, or "@name" for an abstract one).
bool NotifyServiceManager(std::string_view state, std::string_view socketAddress);

} // namespace Kyr::WbmHost
