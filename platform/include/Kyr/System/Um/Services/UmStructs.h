#pragma once
#include <cstdint>

#include "Kyr/System/Commons/RscString.h"
#include "Kyr/System/Rsc/Remoting.h"
#include "Kyr/System/Um/Services/UmEnums.h"

namespace Kyr::System::Um::Services::Internal {

using Kyr::System::Rsc::RscString;

// Password composition rules of a ruleset. Wire form: allowed symbols (string, capacity 64);
// reusedGenerationCount, allowedPasswordChanges (tag 9); intervalType (tag 8); intervalCount
// (tag 9); the four bools (tag 2); the six minimum counts (tag 9).
struct KYR_API PasswordPolicyParameter : Kyr::System::Rsc::Services::IRscSerializable {
    RscString<64> allowedASCIISymbols;
    std::uint32_t reusedGenerationCount = 0;
    std::uint32_t allowedPasswordChanges = 0;
    PasswordPolicyInterval intervalType = PasswordPolicyInterval::Hour;
    std::uint32_t intervalCount = 0;
    bool blockUsername = false;
    bool blockReusedPasswords = false;
    bool checkBlockList = false;
    bool checkPwChangableInterval = false;
    std::uint32_t minCharCount = 0;
    std::uint32_t minASCIICount = 0;
    std::uint32_t minMixedCharCount = 0;
    std::uint32_t minNumberCount = 0;
    std::uint32_t minSymbolCount = 0;
    std::uint32_t minUnicodeCount = 0;

    static constexpr std::uint32_t FieldCount = 15;
    void Serialize(Kyr::System::Rsc::RemotingWriter& writer) const override;
    void Deserialize(Kyr::System::Rsc::RemotingReader& reader) override;
};

// Password ageing rules of a ruleset. Wire form: the two bools (tag 2), the two day counts (tag 9).
struct KYR_API ExpirationPolicyParameter : Kyr::System::Rsc::Services::IRscSerializable {
    bool policyActive = false;
    bool lockUserActive = false;
    std::uint32_t daysToExpiration = 0;
    std::uint32_t daysToWarning = 0;

    static constexpr std::uint32_t FieldCount = 4;
    void Serialize(Kyr::System::Rsc::RemotingWriter& writer) const override;
    void Deserialize(Kyr::System::Rsc::RemotingReader& reader) override;
};

// A named password role ruleset. Wire form: name (string, capacity 128); begin-struct(15) and the
// password policy; begin-struct(4) and the expiration policy.
struct KYR_API Roleruleset : Kyr::System::Rsc::Services::IRscSerializable {
    RscString<128> roleRulesetName;
    PasswordPolicyParameter passwordPolicy;
    ExpirationPolicyParameter expirationPolicy;

    void Serialize(Kyr::System::Rsc::RemotingWriter& writer) const override;
    void Deserialize(Kyr::System::Rsc::RemotingReader& reader) override;
};

// Login session rules. Wire form: the five counts (tag 9), then the flag (tag 2).
struct KYR_API SessionPolicyParameter : Kyr::System::Rsc::Services::IRscSerializable {
    std::uint32_t timeoutInitialSeconds = 0;
    std::uint32_t timeoutIncrementSeconds = 0;
    std::uint32_t timeoutMaximumSeconds = 0;
    std::uint32_t maxConcurrentSessionsCount = 0;
    std::uint32_t maxSessionTimeMinutes = 0;
    bool issueTimeoutToAdminUsers = false;

    void Serialize(Kyr::System::Rsc::RemotingWriter& writer) const override;
    void Deserialize(Kyr::System::Rsc::RemotingReader& reader) override;
};

// One user's password state. Wire form: state (tag 8), time to expire in seconds (tag 11, 8 bytes),
// user name (string, capacity 64), initial-password flag (tag 2).
struct KYR_API UserPasswordInfo : Kyr::System::Rsc::Services::IRscSerializable {
    UserPasswordState passwordState = UserPasswordState::Valid;
    std::uint64_t timeToExpire = 0; // seconds until the password expires; 0 when it does not expire
    RscString<64> userName;
    bool isUsingInitialPassword = false;

    void Serialize(Kyr::System::Rsc::RemotingWriter& writer) const override;
    void Deserialize(Kyr::System::Rsc::RemotingReader& reader) override;
};

} // namespace Kyr::System::Um::Services::Internal
