#pragma once
// The second factor at login: time-based one-time codes (HMAC-SHA-1, 6 digits, 30 s steps) from an
// authenticator app, and ten one-time recovery codes. Secrets are kept encrypted under the device
// key of the data directory; recovery codes only as keyed hashes. Local and directory users alike.
#include <cstdint>
#include <optional>
#include <vector>

#include "Kyr/System/Commons/String.h"

namespace Kyr::PlatformServices {

using Kyr::String;

// Who must have a second factor.
enum class SecondFactorPolicy { Off, Administrators, Everyone };

// "off", "administrators", "everyone"; and back (nothing for any other text).
const char* ToText(SecondFactorPolicy policy);
std::optional<SecondFactorPolicy> ParseSecondFactorPolicy(const String& text);

inline bool SecondFactorRequired(SecondFactorPolicy policy, bool isAdministrator) {
    return policy == SecondFactorPolicy::Everyone || (policy == SecondFactorPolicy::Administrators && isAdministrator);
}

enum class EnrolmentOutcome { Enrolled, WrongCode, AlreadyEnrolled };

struct EnrolmentResult {
    EnrolmentOutcome outcome = EnrolmentOutcome::WrongCode;
    std::vector<String> recoveryCodes; // the ten codes, only when enrolled; shown once, never again
};

// GetPolicy, IsEnrolled and EnrolledUsers answer from memory (never waiting for the database), so
// that the host may ask them with every request.
class SecondFactors {
public:
    virtual ~SecondFactors() = default;

    virtual SecondFactorPolicy GetPolicy() = 0;
    virtual void SetPolicy(SecondFactorPolicy policy) = 0;

    virtual bool IsEnrolled(const String& userName) = 0;
    virtual std::uint32_t RecoveryCodesLeft(const String& userName) = 0;
    virtual std::vector<String> EnrolledUsers() = 0; // ordered by name

    // A new random secret of 160 bits in base32 (32 characters), not stored anywhere yet.
    virtual String NewSecret() = 0;
    // Takes `secret` (from NewSecret) into use for `userName` when `code` is valid for it now; the
    // code's time step counts as used.
    virtual EnrolmentResult Enrol(const String& userName, bool directoryUser, const String& secret, const String& code) = 0;

    // Whether `code` is valid now for the user's secret: the current time step or one either side,
    // and later than every step accepted before (a code works once). False without a second factor.
    virtual bool AcceptCode(const String& userName, const String& code) = 0;
    // Whether `code` is one of the user's unused recovery codes; it is used up by this.
    virtual bool UseRecoveryCode(const String& userName, const String& code) = 0;

    // Forgets the user's second factor and recovery codes; false when there was none.
    virtual bool Remove(const String& userName) = 0;
};

} // namespace Kyr::PlatformServices
