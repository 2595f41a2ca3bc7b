#pragma once
// The second factor over the database and the device key (see SecondFactors.h). The key file is read,
// or made, on the first use that needs it, so that a device without second factors never has one.
#include <atomic>
#include <memory>
#include <mutex>

#include "Kyr/PlatformServices/SecondFactors.h"
#include "Kyr/System/Commons/Logging/Loggable.h"
#include "SecondFactorKeys.h"
#include "ServiceContext.h"

namespace Kyr::PlatformServices {

class SecondFactorService final : public SecondFactors,
                                  private Kyr::System::Commons::Logging::Loggable<SecondFactorService> {
public:
    explicit SecondFactorService(std::shared_ptr<ServiceContext> context);
    // Reads the policy and the names of the users with a second factor into memory (once the
    // database's tables exist).
    void Load();

    SecondFactorPolicy GetPolicy() override;
    void SetPolicy(SecondFactorPolicy policy) override;
    bool IsEnrolled(const String& userName) override;
    std::uint32_t RecoveryCodesLeft(const String& userName) override;
    std::vector<String> EnrolledUsers() override;
    String NewSecret() override;
    EnrolmentResult Enrol(const String& userName, bool directoryUser, const String& secret, const String& code) override;
    bool AcceptCode(const String& userName, const String& code) override;
    bool UseRecoveryCode(const String& userName, const String& code) override;
    bool Remove(const String& userName) override;

private:
    const SecondFactorKeys& Keys();
    std::uint64_t CurrentStep() const;

    std::shared_ptr<ServiceContext> context;
    // The stored policy, in memory: the host asks for it with every request, and only this service
    // changes it.
    std::atomic<int> policy{0};
    std::mutex keysMutex;
    std::unique_ptr<SecondFactorKeys> keys;
};

} // namespace Kyr::PlatformServices
