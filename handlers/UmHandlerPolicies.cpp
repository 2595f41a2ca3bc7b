// UmHandler's request functions for the password role rulesets, the password block list and the
// session policy. The three setters record which policy area they changed and, when they end with
// an error, put every changed area back from the set-up backup (UmHandlerBackup.cpp).
#include <rapidjson/document.h>

#include "Kyr/System/Commons/Format.h"
#include "Kyr/System/Commons/Singleton.h"
#include "config/JsonHelper.h"
#include "config/PasswordRulesConfig.h"
#include "config/PasswordsBlockList.h"
#include "config/SessionPolicyConfig.h"
#include "handlers/UmHandler.h"
#include "notifications/SecurityNotifications.h"

namespace Kyr::Services::Modules::Wbm::Um::Internal {

using Config::PasswordRulesConfig;
using Config::PasswordsBlockList;
using Config::SessionPolicyConfig;
using Kyr::System::Commons::SafeFormat;
using Kyr::System::Commons::Singleton;
using Kyr::System::Um::Services::UserManagerConfigError;
using Kyr::System::Um::Services::Internal::Roleruleset;
using Kyr::System::Um::Services::Internal::SessionPolicyParameter;

namespace {

constexpr const char* invalidRequestText = "Invalid Request!";
// What the security notification names as the expected form of a policy request body.
constexpr const char* expectedJsonForm = "JSON-Object";

bool Failed(UserManagerConfigError result) { return result != UserManagerConfigError::NoError; }

String ErrorText(UserManagerConfigError result) { return SafeFormat("{0}", result); }

void ReportInvalidRequest(const char* functionName) {
    Singleton<SecurityNotifications>::GetInstance().SendUserManagerInvalidRequest(expectedJsonForm, functionName);
}

// The setters' answer: whether their policy area is marked as changed.
UmHandler::WbmResponse ChangedAnswer(const String& errorText, bool changed) {
    rapidjson::Document document(rapidjson::kObjectType);
    rapidjson::Value value(changed);
    return JsonHelper::BuildJsonResponse(document, !errorText.empty(), errorText, value);
}

} // namespace

UmHandler::WbmResponse UmHandler::GetSessionPolicyConfig(const WbmRequest& /*request*/) const {
    rapidjson::Document document(rapidjson::kObjectType);
    rapidjson::Value value(rapidjson::kObjectType);

    SessionPolicyParameter parameter;
    const UserManagerConfigError result = userManagerConfigurationService->GetSessionPolicyParameter(parameter);
    if (Failed(result)) {
        LogError("Failed to get Session Policy Parameter with error: {0}", result);
    } else {
        SessionPolicyConfig(parameter).ToJson(document, value);
    }
    // The error text carries the result's name also on success.
    return JsonHelper::BuildJsonResponse(document, Failed(result), ErrorText(result), value);
}

UmHandler::WbmResponse UmHandler::GetPasswordRoleRulesets(const WbmRequest& /*request*/) const {
    rapidjson::Document document(rapidjson::kObjectType);
    rapidjson::Value value(rapidjson::kObjectType);

    PasswordRulesConfig rulesets;
    Roleruleset adminRuleset;
    UserManagerConfigError result = userManagerConfigurationService->GetActiveAdminRoleRuleset(adminRuleset);
    if (Failed(result)) {
        LogError("Failed to get active admin role ruleset: Error: {0}", result);
    } else {
        rulesets.AddRoleRuleset(adminRuleset);
        Roleruleset defaultRuleset;
        result = userManagerConfigurationService->GetActiveDefaultRoleRuleset(defaultRuleset);
        if (Failed(result)) {
            LogError("Failed to get active default role ruleset: Error: {0}", result);
        } else {
            rulesets.AddRoleRuleset(defaultRuleset);
            rulesets.ToJson(document, value);
        }
    }
    return JsonHelper::BuildJsonResponse(document, Failed(result), ErrorText(result), value);
}

UmHandler::WbmResponse UmHandler::GetPasswordBlockList(const WbmRequest& /*request*/) const {
    rapidjson::Document document(rapidjson::kObjectType);
    rapidjson::Value value(rapidjson::kArrayType); // what a failed read answers

    PasswordsBlockList::RscEntries entries;
    const UserManagerConfigError result = userManagerConfigurationService->GetActivePasswordsBlockList(entries);
    if (Failed(result)) {
        LogError("Failed to get active block list with error: {0}", result);
    } else {
        value.SetObject();
        PasswordsBlockList(entries).ToJson(document, value);
    }
    return JsonHelper::BuildJsonResponse(document, Failed(result), ErrorText(result), value);
}

UmHandler::WbmResponse UmHandler::SetSessionPolicyConfig(const WbmRequest& request) {
    String errorText;
    bool setFailed = false;

    SessionPolicyConfig config;
    if (config.ParseJson(request.GetRequestData().GetDataString(true))) {
        const UserManagerConfigError result =
            userManagerConfigurationService->SetSessionPolicyParameter(config.GetParameter());
        sessionPolicyChanged = !Failed(result);
        if (Failed(result)) {
            setFailed = true;
            errorText = ErrorText(result);
            LogError("Failed to set session policy parameter. Error: {0}", result);
        }
    } else {
        ReportInvalidRequest("SetSessionPolicyConfig");
        LogError("Failed to set session policy config. Invalid request!");
        errorText = invalidRequestText;
    }
    if (setFailed || !errorText.empty()) RestoreUmConfigBackup();
    return ChangedAnswer(errorText, sessionPolicyChanged);
}

UmHandler::WbmResponse UmHandler::SetPasswordBlockList(const WbmRequest& request) {
    String errorText;

    PasswordsBlockList blockList;
    PasswordsBlockList::RscEntries entries;
    if (blockList.ParseJson(request.GetRequestData().GetDataString(true))) {
        // An entry that does not fit throws "Input string is too long" out of the request on
        // purpose, before anything is changed.
        entries = blockList.ToRscEntries();
    } else {
        ReportInvalidRequest("SetPasswordBlockList");
        LogError("Failed to set active password block list. Invalid request!");
        errorText = invalidRequestText;
    }
    // Sent also after a refused body, then as an empty list; the restore below puts the set-up list
    // back when this succeeded.
    const UserManagerConfigError result = userManagerConfigurationService->SetActivePasswordsBlockList(entries);
    blockListChanged = !Failed(result);
    if (Failed(result)) {
        errorText = ErrorText(result);
        LogError("Failed to set active passwords block list. Error: {0}", result);
    }
    if (!errorText.empty()) RestoreUmConfigBackup();
    return ChangedAnswer(errorText, blockListChanged);
}

UmHandler::WbmResponse UmHandler::SetPasswordRoleRulesets(const WbmRequest& request) {
    String errorText;

    PasswordRulesConfig rulesets;
    if (!rulesets.ParseJson(request.GetRequestData().GetDataString(true))) {
        ReportInvalidRequest("SetPasswordRoleRulesets");
        LogError("Failed to set password role rulesets. Invalid request!");
        errorText = invalidRequestText;
    }
    // Checked also after a failed parse, on what was parsed: this message then replaces the first.
    if (!rulesets.CheckRscRoleRuleSetExists(adminRulesetName) || !rulesets.CheckRscRoleRuleSetExists(defaultRulesetName)) {
        LogError("Failed to get admin and/or default password role ruleset. Object is missing!");
        errorText = "Missing Admin/Default password ruleset!";
    }
    if (errorText.empty()) {
        Roleruleset ruleset;
        rulesets.GetRscRoleRuleSet(adminRulesetName, ruleset);
        const UserManagerConfigError result = userManagerConfigurationService->SetAdminRoleRuleset(ruleset);
        adminRulesetChanged = !Failed(result);
        if (Failed(result)) {
            // The published log line names the default ruleset here as well.
            LogError("Failed to set default password role ruleset. Object is missing!");
            errorText = ErrorText(result);
        }
    }
    if (errorText.empty()) {
        Roleruleset ruleset;
        rulesets.GetRscRoleRuleSet(defaultRulesetName, ruleset);
        const UserManagerConfigError result = userManagerConfigurationService->SetDefaultRoleRuleset(ruleset);
        defaultRulesetChanged = !Failed(result);
        if (Failed(result)) {
            errorText = ErrorText(result);
            LogError("Failed to set default password role ruleset. Error: {0}", result);
        }
    }
    if (!errorText.empty()) RestoreUmConfigBackup();
    return ChangedAnswer(errorText, adminRulesetChanged && defaultRulesetChanged);
}

} // namespace Kyr::Services::Modules::Wbm::Um::Internal
