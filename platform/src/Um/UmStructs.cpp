#include "Kyr/System/Um/Services/UmStructs.h"

#include "RemotingFields.h"

namespace Kyr::System::Um::Services::Internal {

using Kyr::System::Rsc::RemotingReader;
using Kyr::System::Rsc::RemotingWriter;

void PasswordPolicyParameter::Serialize(RemotingWriter& writer) const {
    Wire::Write(writer, allowedASCIISymbols);
    Wire::Write(writer, reusedGenerationCount);
    Wire::Write(writer, allowedPasswordChanges);
    Wire::WriteEnum(writer, intervalType);
    Wire::Write(writer, intervalCount);
    Wire::Write(writer, blockUsername);
    Wire::Write(writer, blockReusedPasswords);
    Wire::Write(writer, checkBlockList);
    Wire::Write(writer, checkPwChangableInterval);
    Wire::Write(writer, minCharCount);
    Wire::Write(writer, minASCIICount);
    Wire::Write(writer, minMixedCharCount);
    Wire::Write(writer, minNumberCount);
    Wire::Write(writer, minSymbolCount);
    Wire::Write(writer, minUnicodeCount);
}

void PasswordPolicyParameter::Deserialize(RemotingReader& reader) {
    Wire::Read(reader, allowedASCIISymbols);
    Wire::Read(reader, reusedGenerationCount);
    Wire::Read(reader, allowedPasswordChanges);
    Wire::ReadEnum(reader, intervalType);
    Wire::Read(reader, intervalCount);
    Wire::Read(reader, blockUsername);
    Wire::Read(reader, blockReusedPasswords);
    Wire::Read(reader, checkBlockList);
    Wire::Read(reader, checkPwChangableInterval);
    Wire::Read(reader, minCharCount);
    Wire::Read(reader, minASCIICount);
    Wire::Read(reader, minMixedCharCount);
    Wire::Read(reader, minNumberCount);
    Wire::Read(reader, minSymbolCount);
    Wire::Read(reader, minUnicodeCount);
}

void ExpirationPolicyParameter::Serialize(RemotingWriter& writer) const {
    Wire::Write(writer, policyActive);
    Wire::Write(writer, lockUserActive);
    Wire::Write(writer, daysToExpiration);
    Wire::Write(writer, daysToWarning);
}

void ExpirationPolicyParameter::Deserialize(RemotingReader& reader) {
    Wire::Read(reader, policyActive);
    Wire::Read(reader, lockUserActive);
    Wire::Read(reader, daysToExpiration);
    Wire::Read(reader, daysToWarning);
}

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

void SessionPolicyParameter::Serialize(RemotingWriter& writer) const {
    Wire::Write(writer, timeoutInitialSeconds);
    Wire::Write(writer, timeoutIncrementSeconds);
    Wire::Write(writer, timeoutMaximumSeconds);
    Wire::Write(writer, maxConcurrentSessionsCount);
    Wire::Write(writer, maxSessionTimeMinutes);
    Wire::Write(writer, issueTimeoutToAdminUsers);
}

void SessionPolicyParameter::Deserialize(RemotingReader& reader) {
    Wire::Read(reader, timeoutInitialSeconds);
    Wire::Read(reader, timeoutIncrementSeconds);
    Wire::Read(reader, timeoutMaximumSeconds);
    Wire::Read(reader, maxConcurrentSessionsCount);
    Wire::Read(reader, maxSessionTimeMinutes);
    Wire::Read(reader, issueTimeoutToAdminUsers);
}

void UserPasswordInfo::Serialize(RemotingWriter& writer) const {
    Wire::WriteEnum(writer, passwordState);
    Wire::Write(writer, timeToExpire);
    Wire::Write(writer, userName);
    Wire::Write(writer, isUsingInitialPassword);
}

void UserPasswordInfo::Deserialize(RemotingReader& reader) {
    Wire::ReadEnum(reader, passwordState);
    Wire::Read(reader, timeToExpire);
    Wire::Read(reader, userName);
    Wire::Read(reader, isUsingInitialPassword);
}

} // namespace Kyr::System::Um::Services::Internal
