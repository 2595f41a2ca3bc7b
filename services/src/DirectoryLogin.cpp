#include "DirectoryLogin.h"

#include <algorithm>

#include "DirectoryConfigStore.h"
#include "DirectoryClient.h"
#include "Schema.h"

namespace Kyr::PlatformServices {

namespace {
std::string TrustStoreFolder(const ServiceContext& context, const DirectoryConfig& config) {
    return config.trustStore.empty() ? std::string() : context.paths.trustStores + "/" + config.trustStore;
}

DirectoryOutcome Converse(const ServiceContext& context, const DirectoryConfig& config,
                          const std::optional<DirectoryCredentials>& credentials) {
    try {
        return LoadDirectoryClient().converse(config, TrustStoreFolder(context, config), credentials);
    } catch (const DirectoryClientMissing& missing) {
        DirectoryOutcome outcome;
        outcome.error = missing.what();
        outcome.steps.push_back({"connect", false, missing.what()});
        return outcome;
    }
}
} // namespace

LoginCheck DirectoryLogin::Login(const std::string& userName, const std::string& password) {
    LoginCheck check;
    // An empty password would make the user bind an unauthenticated one, which servers accept.
    if (password.empty() || userName.empty()) return check;
    auto [config, configError] = LoadDirectoryConfig(*context);
    if (!config) {
        LogError("Directory login of '{0}' not tried: {1}", userName, configError->text);
        Record(false, "", "The stored configuration is not usable: " + configError->text);
        return check;
    }
    DirectoryOutcome outcome = Converse(*context, *config, DirectoryCredentials{userName, password});
    Record(outcome.reached, outcome.server, outcome.error);
    switch (outcome.verdict) {
    case DirectoryVerdict::Succeeded:
        check.outcome = LoginOutcome::Success;
        check.directoryUser = true;
        check.isAdministrator = std::find(outcome.roles.begin(), outcome.roles.end(), AdminRole) != outcome.roles.end();
        LogInfo("Directory user '{0}' logged in through {1} with the roles {2}", userName, outcome.server,
                outcome.steps.back().detail);
        context->directoryUsers.Set(userName, std::move(outcome.roles));
        break;
    case DirectoryVerdict::WrongPassword:
        LogInfo("Directory login of '{0}' refused by {1}: wrong password", userName, outcome.server);
        break;
    case DirectoryVerdict::UnknownUser:
    case DirectoryVerdict::NoRole:
        // The directory says so with authority: roles kept from an earlier login go.
        context->directoryUsers.Remove(userName);
        LogInfo("Directory login of '{0}' refused: {1}", userName, outcome.steps.back().detail);
        break;
    case DirectoryVerdict::Failed:
        LogError("Directory login of '{0}' failed: {1}", userName, outcome.error);
        break;
    }
    return check;
}

DirectoryTestResult DirectoryLogin::Test(const std::optional<std::string>& userName, const std::optional<std::string>& password) {
    DirectoryTestResult result;
    auto [config, configError] = LoadDirectoryConfig(*context);
    if (!config) {
        result.steps.push_back({"configuration", false, configError->text});
        return result;
    }
    std::optional<DirectoryCredentials> credentials;
    if (userName) credentials = DirectoryCredentials{*userName, password.value_or("")};
    DirectoryOutcome outcome = Converse(*context, *config, credentials);
    Record(outcome.reached, outcome.server, outcome.error);
    if (!outcome.error.empty()) LogError("Directory connection test failed: {0}", outcome.error);
    result.succeeded = outcome.verdict == DirectoryVerdict::Succeeded;
    result.server = outcome.server;
    result.steps = std::move(outcome.steps);
    return result;
}

DirectoryStatus DirectoryLogin::Status() {
    std::lock_guard<std::mutex> lock(statusMutex);
    return status;
}

void DirectoryLogin::Record(bool reached, const std::string& server, const std::string& error) {
    std::lock_guard<std::mutex> lock(statusMutex);
    status.attempted = true;
    status.reached = reached;
    status.lastAttemptUnixSeconds = context->Now();
    status.server = server;
    status.lastError = error;
}

} // namespace Kyr::PlatformServices
