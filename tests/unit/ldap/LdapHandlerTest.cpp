// "LdapDp" against the service fakes, with the temporary upload file in a folder of its own.
#include <gmock/gmock.h>

#include <filesystem>
#include <fstream>

#include "fakes/CapturingLogSink.h"
#include "fakes/ScopedServices.h"
#include "fakes/TempDir.h"
#include "handlers/LdapHandler.h"

namespace {

using namespace testing;
using namespace Kyr::Services::Commons::Wbm::Messages;
namespace fs = std::filesystem;
using Kyr::String;
using Kyr::Testing::ReadFileText;
using Kyr::Services::Modules::Wbm::Um::Internal::LdapHandler;
using Kyr::System::Rsc::RscString;
using Error = Kyr::System::Um::Services::UserManagerConfigError;

struct Ldap : Test {
    Kyr::Testing::CapturingLogSink log;
    Kyr::Testing::ScopedServices services;
    Kyr::Testing::TempDir tempDir;
    const fs::path folder = tempDir.Path();
    const fs::path temp = folder / "ldap.config";
    LdapHandler handler;

    Ldap() { handler.SetTempFilePath(temp.string()); handler.SubscribeServices(); }
    WbmResponse Call(const String& function, const String& body = "") {
        return handler.HandleRequest(WbmRequest(function, {}, RequestData(body), RequestParams()));
    }
};

TEST_F(Ldap, UploadGoesThroughAFreshTemporaryFileRemovedAfterwards) {
    const fs::path victim = folder / "victim";
    std::ofstream(victim) << "untouched";
    const std::vector<std::pair<String, fs::path>> cases = {{"", victim}, {"uri ldaps://dir\r\nbase dc=x\\y\n", folder / "nowhere"}};
    for (const auto& [body, linkTarget] : cases) {
        fs::create_symlink(linkTarget, temp);  // a leftover link is removed, not written through
        String seen = "(not called)";
        EXPECT_CALL(*services.userManagerConfiguration, SetLdapConfigurationFromFile(RscString<256>(temp.string()), false))
            .WillOnce(Invoke([&](const auto&, bool) { seen = ReadFileText(temp); return Error::NoError; }));
        EXPECT_EQ(Call("SetLdapConfiguration", body).GetBody(), R"({"error":false,"errorText":"","result":"NoError"})");
        EXPECT_EQ(seen, body);
        EXPECT_FALSE(fs::exists(temp));
        EXPECT_EQ(ReadFileText(victim), "untouched");
        EXPECT_FALSE(fs::exists(folder / "nowhere"));
    }
    EXPECT_TRUE(log.Contains("Receiving LDAP config file data...", 7) && log.Contains("LDAP config file received successfully", 7));
}

TEST_F(Ldap, UploadFailuresKeepTheirCodes) {
    ON_CALL(*services.userManagerConfiguration, SetLdapConfigurationFromFile(_, _)).WillByDefault(Return(Error::NotFound));
    EXPECT_EQ(Call("SetLdapConfiguration", "x").GetBody(),
              R"({"error":true,"errorText":"Failed to set LDAP configuration","result":"NotFound"})");
    EXPECT_TRUE(log.Contains("Failed to set LDAP configuration with error code NotFound", 3));
    EXPECT_FALSE(fs::exists(temp));

    handler.SetTempFilePath((folder / "missing" / "ldap.config").string());  // cannot be written
    EXPECT_CALL(*services.userManagerConfiguration, SetLdapConfigurationFromFile(_, _)).Times(0);
    EXPECT_EQ(Call("SetLdapConfiguration", "x").GetBody(),
              R"({"error":true,"errorText":"An exception has occurred while writing LDAP configs to file","result":"FileError"})");
}

TEST_F(Ldap, DownloadEscapesBackslashesOrAnswersAnXmlError) {
    const fs::path stored = folder / "current.config";
    ON_CALL(*services.userManagerConfiguration, GetLdapConfigurationFilePath(_))
        .WillByDefault(Invoke([&](RscString<256>& path) { path = stored.string(); return Error::NoError; }));
    for (const auto& [content, expected] : std::vector<std::pair<String, String>>{
             {"base dc=example\n", "base dc=example\n"}, {"dir\\sub", "dir\\\\sub"}, {"\\\\", "\\\\\\\\"}}) {
        std::ofstream(stored, std::ios::binary | std::ios::trunc) << content;
        const WbmResponse response = Call("GetLdapConfiguration");
        EXPECT_EQ(response.GetBody(), expected);
        EXPECT_EQ(static_cast<int>(response.GetHeader().GetContentSubtype()), 3);
    }
    fs::remove(stored);
    EXPECT_EQ(Call("GetLdapConfiguration").GetBody(),
              "<Error code=\"NoError\" text=\"An exception has occurred while reading LDAP config file with path " +
                  stored.string() + "\" />");
    ON_CALL(*services.userManagerConfiguration, GetLdapConfigurationFilePath(_)).WillByDefault(Return(Error::NotFound));
    const WbmResponse failed = Call("GetLdapConfiguration");
    EXPECT_EQ(failed.GetBody(), R"(<Error code="NotFound" text="Failed to get LDAP configuration with error code NotFound" />)");
    EXPECT_EQ(static_cast<int>(failed.GetHeader().GetContentSubtype()), 3);
}

TEST_F(Ldap, EnableSwitchTakesTheFirstCaseSensitiveMatch) {
    const String ok = R"({"result":"NoError", "errorText":"", "error":false})";
    const String invalid = R"({"result":"InvalidArgument", "errorText":"Setting LDAP config enabled: Invalid Request", "error":true})";
    const std::vector<std::tuple<String, int, bool, String>> cases = {
        {"EnableLdap=truex", 1, true, ok},
        {"x=1&EnableLdap=false&EnableLdap=true", 1, false, ok},
        {"enableLdap=true", 0, false, invalid},
    };
    for (const auto& [body, calls, enable, answer] : cases) {
        EXPECT_CALL(*services.userManagerConfiguration, EnableLdapConfiguration(enable)).Times(calls);
        EXPECT_EQ(Call("SetLdapConfigurationEnabled", body).GetBody(), answer) << body;
        Mock::VerifyAndClearExpectations(services.userManagerConfiguration.get());
    }
    ON_CALL(*services.userManagerConfiguration, EnableLdapConfiguration(_)).WillByDefault(Return(Error::FileError));
    EXPECT_EQ(Call("SetLdapConfigurationEnabled", "EnableLdap=false").GetBody(),
              R"({"result":"FileError", "errorText":"Setting LDAP enabling status failed with error code FileError", "error":true})");
}

TEST_F(Ldap, TrustStoreNamesAsAnArray) { // the enabled state: ModuleFunctionsTest.cpp
    ON_CALL(*services.trustStore, GetTrustStoreNames()).WillByDefault(Return(std::vector<RscString<64>>{"ca", "b"}));
    EXPECT_EQ(Call("ListTrustStoresNames").GetBody(), R"({"error":false,"errorText":"","result":["ca","b"]})");
}

} // namespace
