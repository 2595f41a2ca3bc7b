#pragma once
// What a new device starts with: roles and their permission objects, the two password rulesets,
// the block list and the session policy.
#include <cstdint>
#include <string>
#include <vector>

#include "Kyr/System/Um/Services/UmStructs.h"

namespace Kyr::PlatformServices {

using Kyr::System::Um::Services::Internal::Roleruleset;
using Kyr::System::Um::Services::Internal::SessionPolicyParameter;

inline constexpr std::int64_t AllRights = 0xFFFFFFFF;
inline constexpr const char* SettingAuthenticationRequired = "authenticationRequired";
inline constexpr const char* SettingLdapEnabled = "ldapEnabled";
// Who must have a second factor at login: 0 nobody, 1 administrators, 2 everyone.
inline constexpr const char* SettingSecondFactorPolicy = "secondFactorPolicy";
inline constexpr const char* AdminRulesetName = "admin";
inline constexpr const char* DefaultRulesetName = "default";
inline constexpr const char* InitialAdminName = "admin";

struct DefaultRole {
    const char* name;
    std::vector<const char*> objects; // permission objects held with every right
};

const std::vector<DefaultRole>& DefaultRoles();
Roleruleset DefaultAdminRuleset();
Roleruleset DefaultDefaultRuleset();
std::vector<std::string> DefaultBlockList();
SessionPolicyParameter DefaultSessionPolicy();

} // namespace Kyr::PlatformServices
