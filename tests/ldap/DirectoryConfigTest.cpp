// The directory configuration file as the configuration service takes it: validated as a whole,
// nothing stored on error, the bind password never shown back.
#include <filesystem>
#include <fstream>

#include "services/ServicesTestSupport.h"

namespace Kyr::Testing {
namespace {

using E = Um::UserManagerConfigError;

constexpr const char* Secret = "Reader-Secret-1";

const std::string ValidFile = "# Plant directory\n"
                              "server = ldaps://ldap1.example.test\n"
                              "server = ldap://ldap2.example.test:389\n"
                              "trust_store = directory-ca\n"
                              "connect_timeout = 3\n"
                              "operation_timeout = 4\n"
                              "user_base = ou=people,dc=example,dc=test\n"
                              "user_filter = (objectClass=inetOrgPerson)\n"
                              "user_name_attribute = uid\n"
                              "bind_dn = cn=reader,dc=example,dc=test\n"
                              "bind_password = Reader-Secret-1\n"
                              "group_base = ou=groups,dc=example,dc=test\n"
                              "group_filter = (objectClass=groupOfNames)\n"
                              "group_member_attribute = member\n"
                              "group_role = Admin : cn=admins,ou=groups,dc=example,dc=test\n"
                              "group_role = Engineer : cn=engineers,ou=groups,dc=example,dc=test\n";

std::string Replaced(std::string text, const std::string& line, const std::string& by) {
    std::size_t at = text.find(line + "\n");
    if (at == std::string::npos) throw std::logic_error("no line " + line);
    return text.replace(at, line.size() + 1, by.empty() ? "" : by + "\n");
}

struct DirectoryConfigFile : ServicesTest {
    DirectoryConfigFile() { std::filesystem::create_directories(directory + "/truststores/directory-ca"); }

    E Upload(const std::string& text) {
        std::ofstream(upload, std::ios::trunc) << text;
        return Config()->SetLdapConfigurationFromFile(upload.c_str(), false);
    }
    std::string Stored() {
        Kyr::System::Rsc::RscString<256> path;
        if (Config()->GetLdapConfigurationFilePath(path) != E::NoError) return "<none>";
        return ReadFileText(path.c_str());
    }

    const std::string upload = (temp.Path() / "upload.conf").string();
};

struct BadFile {
    const char* name;
    std::string text;
    E expected;
    const char* errorText; // part of the error text: the line and the key
};

class RefusedFiles : public DirectoryConfigFile, public ::testing::WithParamInterface<BadFile> {};

TEST_P(RefusedFiles, NameTheFaultLineAndKeyAndStoreNothing) {
    ASSERT_EQ(Upload(ValidFile), E::NoError);
    const std::string before = Stored();
    EXPECT_EQ(Upload(GetParam().text), GetParam().expected);
    const std::string error = services->GetLdapConfigurationErrorText();
    EXPECT_NE(error.find(GetParam().errorText), std::string::npos) << error;
    EXPECT_EQ(error.find(Secret), std::string::npos) << error;
    EXPECT_EQ(Stored(), before);
}

INSTANTIATE_TEST_SUITE_P(
    Cases, RefusedFiles,
    ::testing::Values(
        BadFile{"PlainLdapWithoutStartTls", ValidFile + "start_tls = no\n", E::LdapUnencryptedNotAllowed, "Line 3, key 'server'"},
        BadFile{"UnencryptedNeedsTheOneWord", ValidFile + "start_tls = no\nunencrypted_connection = yes\n", E::LdapInvalidValue,
                "key 'unencrypted_connection'"},
        BadFile{"NotAnLdapUri", Replaced(ValidFile, "server = ldaps://ldap1.example.test", "server = https://ldap1.example.test"),
                E::LdapInvalidServerUri, "Line 2, key 'server'"},
        BadFile{"UriWithSearchPart", Replaced(ValidFile, "server = ldaps://ldap1.example.test", "server = ldaps://ldap1/dc=x?cn"),
                E::LdapInvalidServerUri, "Line 2, key 'server'"},
        BadFile{"UnknownTrustStore", Replaced(ValidFile, "trust_store = directory-ca", "trust_store = nowhere"),
                E::LdapTrustStoreNotFound, "Line 4, key 'trust_store'"},
        BadFile{"TrustStoreNameLeavesItsFolder", Replaced(ValidFile, "trust_store = directory-ca", "trust_store = ../truststores/directory-ca"),
                E::LdapTrustStoreNotFound, "key 'trust_store'"},
        BadFile{"TlsWithoutTrustStore", Replaced(ValidFile, "trust_store = directory-ca", ""), E::LdapMissingKey, "Key 'trust_store'"},
        BadFile{"TimeoutZero", Replaced(ValidFile, "connect_timeout = 3", "connect_timeout = 0"), E::LdapInvalidValue,
                "Line 5, key 'connect_timeout'"},
        BadFile{"TimeoutWithUnit", Replaced(ValidFile, "operation_timeout = 4", "operation_timeout = 4s"), E::LdapInvalidValue,
                "Line 6, key 'operation_timeout'"},
        BadFile{"BaseNotADn", Replaced(ValidFile, "user_base = ou=people,dc=example,dc=test", "user_base = people"),
                E::LdapInvalidDn, "Line 7, key 'user_base'"},
        BadFile{"FilterWithoutParentheses", Replaced(ValidFile, "user_filter = (objectClass=inetOrgPerson)", "user_filter = objectClass=*"),
                E::LdapInvalidFilter, "Line 8, key 'user_filter'"},
        BadFile{"TwoFilters", Replaced(ValidFile, "group_filter = (objectClass=groupOfNames)", "group_filter = (a=1)(b=2)"),
                E::LdapInvalidFilter, "key 'group_filter'"},
        BadFile{"BindDnWithoutPassword", Replaced(ValidFile, "bind_password = Reader-Secret-1", ""), E::LdapIncompleteServiceBind,
                "key 'bind_dn'"},
        BadFile{"UnknownRole", Replaced(ValidFile, "group_role = Engineer : cn=engineers,ou=groups,dc=example,dc=test",
                                        "group_role = Root : cn=engineers,ou=groups,dc=example,dc=test"),
                E::LdapUnknownRole, "Line 16, key 'group_role'"},
        BadFile{"RoleOfTheLoggedOut", Replaced(ValidFile, "group_role = Engineer : cn=engineers,ou=groups,dc=example,dc=test",
                                               "group_role = Unauthenticated : cn=engineers,ou=groups,dc=example,dc=test"),
                E::LdapUnknownRole, "key 'group_role'"},
        BadFile{"RoleWithoutGroup", ValidFile + "group_role = Admin\n", E::LdapSyntaxError, "Line 17, key 'group_role'"},
        BadFile{"NoRoleMapping", Replaced(Replaced(ValidFile, "group_role = Admin : cn=admins,ou=groups,dc=example,dc=test", ""),
                                          "group_role = Engineer : cn=engineers,ou=groups,dc=example,dc=test", ""),
                E::LdapMissingKey, "Key 'group_role'"},
        BadFile{"KeyTwice", ValidFile + "user_base = ou=staff,dc=example,dc=test\n", E::LdapDuplicateKey,
                "Line 17, key 'user_base': given already on line 7"},
        BadFile{"MisspeltKey", ValidFile + "usr_base = ou=staff\n", E::LdapUnknownKey, "Line 17: unknown key 'usr_base'"},
        BadFile{"PastedPasswordLine", ValidFile + "Reader-Secret-1\n", E::LdapSyntaxError, "Line 17: expected 'key = value'"},
        BadFile{"PastedPasswordAsKey", ValidFile + "Reader-Secret-1 = x\n", E::LdapUnknownKey, "Line 17: unknown key"},
        BadFile{"NoServer", Replaced(Replaced(ValidFile, "server = ldaps://ldap1.example.test", ""), "server = ldap://ldap2.example.test:389", ""),
                E::LdapMissingKey, "Key 'server'"}),
    [](const auto& info) { return std::string(info.param.name); });

TEST_F(DirectoryConfigFile, BindPasswordIsNeverShownBackAndTheMaskKeepsIt) {
    const std::string masked = Replaced(ValidFile, "bind_password = Reader-Secret-1", "bind_password = ********");
    EXPECT_EQ(Upload(masked), E::LdapMissingKey) << "no password stored behind the mask yet";
    ASSERT_EQ(Upload(ValidFile), E::NoError);
    const std::string shown = Stored();
    EXPECT_EQ(shown, masked);
    // Only the one file that the directory login reads holds the password.
    std::filesystem::remove(upload);
    EXPECT_EQ(FilesContaining(directory, Secret), std::vector<std::filesystem::path>{directory + "/ldap/bind-password"});

    // The downloaded file sent back, with one change, keeps the stored password.
    ASSERT_EQ(Upload(Replaced(shown, "connect_timeout = 3", "connect_timeout = 9")), E::NoError);
    EXPECT_EQ(ReadFileText(directory + "/ldap/bind-password"), Secret);
    // Without a service bind the password goes.
    ASSERT_EQ(Upload(Replaced(Replaced(ValidFile, "bind_password = Reader-Secret-1", ""), "bind_dn = cn=reader,dc=example,dc=test", "")),
              E::NoError);
    EXPECT_TRUE(FilesContaining(directory, Secret).empty());
}

TEST_F(DirectoryConfigFile, SwitchedOnOnlyWhileItsTrustStoreIsThere) {
    ASSERT_EQ(Upload(ValidFile), E::NoError);
    std::filesystem::remove_all(directory + "/truststores/directory-ca");
    EXPECT_EQ(Config()->EnableLdapConfiguration(true), E::LdapTrustStoreNotFound);
    EXPECT_FALSE(Config()->IsLdapConfigurationEnabled());
    std::filesystem::create_directories(directory + "/truststores/directory-ca");
    EXPECT_EQ(Config()->EnableLdapConfiguration(true), E::NoError);
}

} // namespace
} // namespace Kyr::Testing
