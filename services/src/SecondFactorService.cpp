#include "SecondFactorService.h"

#include "ConfigStore.h"
#include "Defaults.h"
#include "RecoveryCodes.h"
#include "SecondFactorStore.h"
#include "TotpCodes.h"

namespace Kyr::PlatformServices {

namespace {
constexpr std::int64_t PolicyNumbers[] = {0, 1, 2}; // Off, Administrators, Everyone, as stored
} // namespace

const char* ToText(SecondFactorPolicy policy) {
    switch (policy) {
    case SecondFactorPolicy::Administrators: return "administrators";
    case SecondFactorPolicy::Everyone: return "everyone";
    case SecondFactorPolicy::Off: break;
    }
    return "off";
}

std::optional<SecondFactorPolicy> ParseSecondFactorPolicy(const String& text) {
    for (auto policy : {SecondFactorPolicy::Off, SecondFactorPolicy::Administrators, SecondFactorPolicy::Everyone})
        if (text == ToText(policy)) return policy;
    return std::nullopt;
}

SecondFactorService::SecondFactorService(std::shared_ptr<ServiceContext> context) : context(std::move(context)) {}

const SecondFactorKeys& SecondFactorService::Keys() {
    std::lock_guard<std::mutex> lock(keysMutex);
    if (!keys) keys = std::make_unique<SecondFactorKeys>(context->paths.secondFactorKey);
    return *keys;
}

std::uint64_t SecondFactorService::CurrentStep() const { return Totp::StepAt(context->Now()); }

void SecondFactorService::Load() {
    auto lock = context->database.Lock();
    const std::int64_t stored = ConfigStore(context->database).GetSetting(SettingSecondFactorPolicy, 0);
    policy.store(stored == PolicyNumbers[2] ? 2 : stored == PolicyNumbers[1] ? 1 : 0);
    context->secondFactorIndex.Load(SecondFactorStore(context->database).UserNames());
}

SecondFactorPolicy SecondFactorService::GetPolicy() { return static_cast<SecondFactorPolicy>(policy.load()); }

void SecondFactorService::SetPolicy(SecondFactorPolicy newPolicy) {
    Transaction transaction(context->database);
    ConfigStore(context->database).SetSetting(SettingSecondFactorPolicy, PolicyNumbers[static_cast<int>(newPolicy)]);
    transaction.Commit();
    policy.store(static_cast<int>(newPolicy));
    LogInfo("Second factor policy set to '{0}'", ToText(newPolicy));
}

bool SecondFactorService::IsEnrolled(const String& userName) { return context->secondFactorIndex.Contains(userName); }

std::uint32_t SecondFactorService::RecoveryCodesLeft(const String& userName) {
    auto lock = context->database.Lock();
    return SecondFactorStore(context->database).CountRecoveryCodes(userName);
}

std::vector<String> SecondFactorService::EnrolledUsers() { return context->secondFactorIndex.Names(); }

String SecondFactorService::NewSecret() { return Totp::ToBase32(Totp::NewSecret()); }

EnrolmentResult SecondFactorService::Enrol(const String& userName, bool directoryUser, const String& secret, const String& code) {
    EnrolmentResult result;
    const auto raw = Totp::FromBase32(secret);
    if (!raw || raw->size() != Totp::SecretBytes) return result;
    const SecondFactorKeys& sealing = Keys();
    Transaction transaction(context->database);
    SecondFactorStore store(context->database);
    if (store.Find(userName)) {
        result.outcome = EnrolmentOutcome::AlreadyEnrolled;
        return result;
    }
    const auto step = Totp::AcceptedStep(*raw, code, CurrentStep(), std::nullopt);
    if (!step) return result;
    SecondFactorRecord record;
    record.userName = userName;
    record.directoryUser = directoryUser;
    record.sealedSecret = sealing.Seal(*raw);
    record.lastStep = static_cast<std::int64_t>(*step); // the confirming code cannot log in afterwards
    std::vector<std::string> codes = RecoveryCodes::Generate();
    std::vector<std::string> hashes;
    for (const std::string& recovery : codes) hashes.push_back(sealing.RecoveryCodeHash(recovery));
    store.Add(record, hashes, context->Now());
    transaction.Commit();
    context->secondFactorIndex.Add(userName);
    LogInfo("User '{0}' set up a second factor", userName);
    result.outcome = EnrolmentOutcome::Enrolled;
    result.recoveryCodes.assign(codes.begin(), codes.end());
    return result;
}

bool SecondFactorService::AcceptCode(const String& userName, const String& code) {
    const SecondFactorKeys& sealing = Keys();
    Transaction transaction(context->database);
    SecondFactorStore store(context->database);
    const auto record = store.Find(userName);
    if (!record) return false;
    const auto secret = sealing.Open(record->sealedSecret);
    if (!secret) {
        LogError("The second factor of user '{0}' cannot be decrypted with the device key", userName);
        return false;
    }
    const auto last = record->lastStep < 0 ? std::nullopt : std::optional<std::uint64_t>(static_cast<std::uint64_t>(record->lastStep));
    const auto step = Totp::AcceptedStep(*secret, code, CurrentStep(), last);
    if (!step) return false;
    store.SetLastStep(userName, static_cast<std::int64_t>(*step));
    transaction.Commit();
    return true;
}

bool SecondFactorService::UseRecoveryCode(const String& userName, const String& code) {
    const std::string hash = Keys().RecoveryCodeHash(RecoveryCodes::Normalise(code));
    Transaction transaction(context->database);
    if (!SecondFactorStore(context->database).UseRecoveryCode(userName, hash)) return false;
    transaction.Commit();
    LogInfo("User '{0}' used a recovery code", userName);
    return true;
}

bool SecondFactorService::Remove(const String& userName) {
    Transaction transaction(context->database);
    if (!SecondFactorStore(context->database).Remove(userName)) return false;
    transaction.Commit();
    context->secondFactorIndex.Forget(userName);
    LogInfo("The second factor of user '{0}' was removed", userName);
    return true;
}

} // namespace Kyr::PlatformServices
