// Feeds arbitrary bytes to every request function of the module, through its handlers as the host
// calls them, over services with fixed answers. The first byte picks the function; the rest is the
// request body (the form expressions, the JSON documents, the LDAP upload, the login text) or, for
// the own password change, the query string. Nothing may crash, hang or throw anything but the
// platform's ArgumentException for an over-long value (the host answers that with 500); every JSON
// answer must parse; an LDAP upload reads back as sent, with its backslashes escaped; the request
// data comes back complete, zero bytes included.
#include <rapidjson/document.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <iterator>

#include "Kyr/System/Commons/Exceptions.h"
#include "Kyr/System/Commons/Singleton.h"
#include "Kyr/System/Nm/Notifications.h"
#include "StubServices.h"
#include "handlers/LdapHandler.h"
#include "handlers/SystemUseNotificationHandler.h"
#include "handlers/UmHandler.h"
#include "handlers/UmInfoHandler.h"
#include "notifications/SecurityNotifications.h"

namespace {

namespace Um = Kyr::Services::Modules::Wbm::Um::Internal;
namespace Messages = Kyr::Services::Commons::Wbm::Messages;
using Handler = Kyr::Services::Commons::Wbm::Modules::WbmRequestHandlerBase;
using Kyr::String;

// The module's handlers, subscribed to the stub services, created once for the whole run.
struct Module {
    Kyr::Fuzzing::StubServices services;
    Um::UmHandler users;
    Um::LdapHandler ldap;
    Um::SystemUseNotificationHandler loginText;
    Um::UmInfoHandler ownAccount;

    Module() {
        // The notification manager the invalid-request notifications go to (nobody subscribes).
        Kyr::System::Commons::Singleton<Kyr::System::Nm::NotificationManager>::CreateInstance();
        Kyr::System::Commons::Singleton<Um::SecurityNotifications>::CreateInstance();
        users.SubscribeServices();
        ldap.SetTempFilePath((services.Folder() / "upload.conf").string());
        ldap.SubscribeServices();
        loginText.SubscribeServices();
        ownAccount.SubscribeServices();
    }
};

enum class Provider { Users, Ldap, LoginText, OwnAccount };
enum class Input { Body, Query };
struct Function {
    Provider provider;
    const char* name;
    Input input;
};

const Function functions[] = {
    {Provider::Users, "AddUser", Input::Body},
    {Provider::Users, "RemoveUser", Input::Body},
    {Provider::Users, "SetUserPassword", Input::Body},
    {Provider::Users, "ModifyUserConfig", Input::Body},
    {Provider::Users, "SetAuthenticationRequiredState", Input::Body},
    {Provider::Users, "SetSessionPolicyConfig", Input::Body},
    {Provider::Users, "SetPasswordBlockList", Input::Body},
    {Provider::Users, "SetPasswordRoleRulesets", Input::Body},
    {Provider::Users, "GetUserManagementConfig", Input::Body},
    {Provider::Users, "RestartSystem", Input::Body},
    {Provider::Ldap, "SetLdapConfiguration", Input::Body},
    {Provider::Ldap, "SetLdapConfigurationEnabled", Input::Body},
    {Provider::LoginText, "SetSystemUseNotification", Input::Body},
    {Provider::OwnAccount, "ChangeCurrentUserPassword", Input::Query},
};

Handler& HandlerOf(Module& module, Provider provider) {
    switch (provider) {
    case Provider::Users: return module.users;
    case Provider::Ldap: return module.ldap;
    case Provider::LoginText: return module.loginText;
    case Provider::OwnAccount: return module.ownAccount;
    }
    std::abort();
}

Messages::WbmResponse Call(Handler& handler, const char* function, const String& input, Input kind) {
    Messages::RequestData data(kind == Input::Body ? input : String());
    Messages::RequestParams params(Messages::RequestQuery(kind == Input::Query ? input : String()));
    return handler.HandleRequest(Messages::WbmRequest(function, Messages::SecurityToken("fuzz"), data, params));
}

void ExpectJsonWhereDeclared(const Messages::WbmResponse& response) {
    if (response.GetHeader().GetContentSubtype() != Messages::ContentSubtype::Json) return;
    rapidjson::Document document;
    document.Parse(response.GetBody().c_str(), response.GetBody().size());
    if (document.HasParseError()) std::abort();
}

// What the function stored, read back through its reading counterpart.
void ReadBack(Module& module, const Function& function, const String& input) {
    const String name = function.name;
    if (name == "SetLdapConfiguration") {
        const auto stored = Call(module.ldap, "GetLdapConfiguration", String(), Input::Body);
        String expected;
        for (char byte : input) expected += byte == '\\' ? String("\\\\") : String(1, byte);
        if (stored.GetBody() != expected) std::abort();
    } else if (name == "SetSystemUseNotification") {
        ExpectJsonWhereDeclared(Call(module.loginText, "GetSystemUseNotification", String(), Input::Body));
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static Module module;
    if (size == 0) return 0;
    const String input(reinterpret_cast<const char*>(data) + 1, size - 1);
    const std::size_t count = std::size(functions);
    if (data[0] == 0xff) {
        // The request data as the module reads it: complete, or up to the first zero byte.
        const Messages::RequestData requestData(input);
        if (requestData.GetDataString(true) != input) std::abort();
        if (requestData.GetDataString(false) != input.substr(0, input.find('\0'))) std::abort();
        return 0;
    }
    const Function& function = functions[data[0] % count];
    try {
        ExpectJsonWhereDeclared(Call(HandlerOf(module, function.provider), function.name, input, function.input));
    } catch (const Kyr::System::Commons::ArgumentException&) {
        // A value longer than its service field: refused, answered by the host with 500.
        return 0;
    }
    ReadBack(module, function, input);
    return 0;
}
