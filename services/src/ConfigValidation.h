#pragma once
// Checks of configuration values before they are stored. Each answers NoError or the error whose
// name says what is wrong; the ranges are documented in services/README.md.
#include <string>
#include <vector>

#include "Kyr/System/Um/Services/UmEnums.h"
#include "Kyr/System/Um/Services/UmStructs.h"

namespace Kyr::PlatformServices {

using Kyr::System::Um::Services::UserManagerConfigError;
using Kyr::System::Um::Services::Internal::Roleruleset;
using Kyr::System::Um::Services::Internal::SessionPolicyParameter;

UserManagerConfigError ValidateRuleset(const Roleruleset& ruleset, const std::string& expectedName);
UserManagerConfigError ValidateBlockList(const std::vector<std::string>& entries);
UserManagerConfigError ValidateSessionPolicy(const SessionPolicyParameter& policy);
// A user name: 1-63 bytes of UTF-8 without control characters, '/', ':' or surrounding spaces,
// and not the name of the role that stands for callers without a session.
bool IsValidUserName(const std::string& name);

} // namespace Kyr::PlatformServices
