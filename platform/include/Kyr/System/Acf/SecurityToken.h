#pragma once
#include "Kyr/System/Commons/Api.h"
#include <utility>

#include "Kyr/System/Commons/String.h"

namespace Kyr::System::Acf {

// Identifies the caller's session; empty for a caller without a session.
class KYR_API SecurityToken {
public:
    SecurityToken() = default;
    explicit SecurityToken(String sessionId) : sessionId(std::move(sessionId)) {}
    const String& GetSessionId() const noexcept { return sessionId; }
    bool IsAnonymous() const noexcept { return sessionId.empty(); }

private:
    String sessionId;
};

} // namespace Kyr::System::Acf
