#include "Kyr/System/Um/Services/UmStructs.h"

#include "RemotingFields.h"

namespace Kyr::System::Um::Services::Internal {

using Kyr::System::Rsc::RemotingReader;
using Kyr::System::Rsc::RemotingWriter;

namespace {

// Each list names the fields of one struct in wire order; `Self` is the struct, const or not.
template <class Self, class Visit>
void PasswordPolicyFields(Self& p, Visit visit) {
    visit(p.allowedASCIISymbols);
    visit(p.reusedGenerationCount);
    visit(p.allowedPasswordChanges);
    visit(p.intervalType);
    visit(p.intervalCount);
    visit(p.blockUsername);
    visit(p.blockReusedPasswords);
    visit(p.checkBlockList);
    visit(p.checkPwChangableInterval);
    visit(p.minCharCount);
    visit(p.minASCIICount);
    visit(p.minMixedCharCount);
    visit(p.minNumberCount);
    visit(p.minSymbolCount);
    visit(p.minUnicodeCount);
}

template <class Self, class Visit>
void ExpirationPolicyFields(Self& p, Visit visit) {
    visit(p.policyActive);
    visit(p.lockUserActive);
    visit(p.daysToExpiration);
    visit(p.daysToWarning);
}

template <class Self, class Visit>
void SessionPolicyFields(Self& p, Visit visit) {
    visit(p.timeoutInitialSeconds);
    visit(p.timeoutIncrementSeconds);
    visit(p.timeoutMaximumSeconds);
    visit(p.maxConcurrentSessionsCount);
    visit(p.maxSessionTimeMinutes);
    visit(p.issueTimeoutToAdminUsers);
}

template <class Self, class Visit>
void PasswordInfoFields(Self& p, Visit visit) {
    visit(p.passwordState);
    visit(p.timeToExpire);
    visit(p.userName);
    visit(p.isUsingInitialPassword);
}

} // namespace

void PasswordPolicyParameter::Serialize(RemotingWriter& writer) const { PasswordPolicyFields(*this, Wire::Writing{writer}); }
void PasswordPolicyParameter::Deserialize(RemotingReader& reader) { PasswordPolicyFields(*this, Wire::Reading{reader}); }

void ExpirationPolicyParameter::Serialize(RemotingWriter& writer) const { ExpirationPolicyFields(*this, Wire::Writing{writer}); }
void ExpirationPolicyParameter::Deserialize(RemotingReader& reader) { ExpirationPolicyFields(*this, Wire::Reading{reader}); }

void SessionPolicyParameter::Serialize(RemotingWriter& writer) const { SessionPolicyFields(*this, Wire::Writing{writer}); }
void SessionPolicyParameter::Deserialize(RemotingReader& reader) { SessionPolicyFields(*this, Wire::Reading{reader}); }

void UserPasswordInfo::Serialize(RemotingWriter& writer) const { PasswordInfoFields(*this, Wire::Writing{writer}); }
void UserPasswordInfo::Deserialize(RemotingReader& reader) { PasswordInfoFields(*this, Wire::Reading{reader}); }

// The nested structs travel each behind a begin-struct marker with its field count.
void Roleruleset::Serialize(RemotingWriter& writer) const {
    Wire::Write(writer, roleRulesetName);
    writer.WriteBeginStruct(PasswordPolicyParameter::FieldCount);
    passwordPolicy.Serialize(writer);
    writer.WriteBeginStruct(ExpirationPolicyParameter::FieldCount);
    expirationPolicy.Serialize(writer);
}

void Roleruleset::Deserialize(RemotingReader& reader) {
    Wire::Read(reader, roleRulesetName);
    reader.ReadBeginStruct(PasswordPolicyParameter::FieldCount);
    passwordPolicy.Deserialize(reader);
    reader.ReadBeginStruct(ExpirationPolicyParameter::FieldCount);
    expirationPolicy.Deserialize(reader);
}

} // namespace Kyr::System::Um::Services::Internal
