#pragma once
// Logins and connection tests against the directory: servers tried in order until one answers,
// the user searched by the login-name attribute (value escaped), a bind as the found DN with the
// given password, the user's groups searched and mapped to device roles.
#include <memory>
#include <mutex>
#include <optional>
#include <string>

#include "Kyr/PlatformServices/PlatformServices.h"
#include "Kyr/System/Commons/Logging/Loggable.h"
#include "ServiceContext.h"

namespace Kyr::PlatformServices {

class DirectoryLogin final : private Kyr::System::Commons::Logging::Loggable<DirectoryLogin> {
public:
    explicit DirectoryLogin(std::shared_ptr<ServiceContext> context) : context(std::move(context)) {}

    // A login of a name that is not a local user. On success the mapped roles are kept in the
    // context's directory users; an unknown user or one without a mapped role loses them.
    LoginCheck Login(const std::string& userName, const std::string& password);
    DirectoryTestResult Test(const std::optional<std::string>& userName, const std::optional<std::string>& password);
    DirectoryStatus Status();

private:
    void Record(bool reached, const std::string& server, const std::string& error);

    std::shared_ptr<ServiceContext> context;
    std::mutex statusMutex;
    DirectoryStatus status;
};

} // namespace Kyr::PlatformServices
