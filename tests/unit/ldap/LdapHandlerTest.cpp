// "LdapDp" against the service fakes, with the temporary upload file in a folder of its own.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>

#include "fakes/CapturingLogSink.h"
#include "fakes/ScopedServices.h"
#include "handlers/LdapHandler.h"

namespace {

using namespace testing;
namespace fs = std::filesystem;
using Kyr::String;
using Kyr::Services::Commons::Wbm::Messages::RequestData;
using Kyr::Services::Commons::Wbm::Messages::RequestParams;
using Kyr::Services::Commons::Wbm::Messages::WbmRequest;
using Kyr::Services::Commons::Wbm::Messages::WbmResponse;
using Kyr::Services::Modules::Wbm::Um::Internal::LdapHandler;
using Kyr::System::Rsc::RscString;
using Error = Kyr::System::Um::Services::UserManagerConfigError;

String ReadFile(const fs::path& path) {
    std::ifstream in(path, std::ios::binary);
    std::ostringstream text;
    text << in.rdbuf();
    return text.str();
}

void WriteFile(const fs::path& path, const String& text) { std::ofstream(path, std::ios::binary) << text; }

struct Ldap : Test {
    Kyr::Testing::CapturingLogSink log;
    Kyr::Testing::ScopedServices services;
    fs::path folder;
    LdapHandler handler;

    Ldap() {
        String pattern = (fs::temp_directory_path() / "kyr-ldap-XXXXXX").string();
        folder = mkdtemp(pattern.data());
        LdapHandler::LdapTempFilePath = (folder / "ldap.config").string();
        handler.SubscribeServices();
    }
    ~Ldap() override {
        LdapHandler::LdapTempFilePath = LdapHandler::defaultLdapTempFilePath;
        fs::remove_all(folder);
    }
    WbmResponse Call(const String& function, const String& body = "") {
        return handler.HandleRequest(WbmRequest(function, {}, RequestData(body), RequestParams()));
    }
};

TEST_F(Ldap, UploadReachesTheServiceThroughAFreshTemporaryFile) {
    const fs::path temp = LdapHandler::LdapTempFilePath;
    const fs::path victim = folder / "victim";
    WriteFile(victim, "not to be touched");
    for (const String& body : {String(""), String("uri ldaps://dir\r\nbase dc=x\\y\n")}) {
        // A leftover is removed, not written through (here it points at another file).
        fs::create_symlink(victim, temp);
        String seen = "(not called)";
        EXPECT_CALL(*services.userManagerConfiguration, SetLdapConfigurationFromFile(RscString<256>(temp.string()), false))
            .WillOnce(Invoke([&](const auto&, bool) { seen = ReadFile(temp); return Error::NoError; }));
        EXPECT_EQ(Call("SetLdapConfiguration", body).GetBody(), R"({"error":false,"errorText":"","result":"NoError"})");
        EXPECT_EQ(seen, body);
        EXPECT_FALSE(fs::exists(temp));
        EXPECT_EQ(ReadFile(victim), "not to be touched");
    }
    EXPECT_TRUE(log.Contains("Receiving LDAP config file data...", 7));
    EXPECT_TRUE(log.Contains("LDAP config file received successfully", 7));
}

TEST_F(Ldap, UploadFailuresKeepTheirCodes) {
    ON_CALL(*services.userManagerConfiguration, SetLdapConfigurationFromFile(_, _)).WillByDefault(Return(Error::LdapConfigurationInvalid));
    EXPECT_EQ(Call("SetLdapConfiguration", "x").GetBody(),
              R"({"error":true,"errorText":"Failed to set LDAP configuration","result":"LdapConfigurationInvalid"})");
    EXPECT_TRUE(log.Contains("Failed to set LDAP configuration with error code LdapConfigurationInvalid", 3));

    LdapHandler::LdapTempFilePath = (folder / "missing" / "ldap.config").string();  // cannot be written
    EXPECT_CALL(*services.userManagerConfiguration, SetLdapConfigurationFromFile(_, _)).Times(0);
    EXPECT_EQ(Call("SetLdapConfiguration", "x").GetBody(),
              R"({"error":true,"errorText":"An exception has occurred while writing LDAP configs to file","result":"FileError"})");
}

TEST_F(Ldap, DownloadEscapesBackslashesOrAnswersAnXmlError) {
    const fs::path stored = folder / "current.config";
    ON_CALL(*services.userManagerConfiguration, GetLdapConfigurationFilePath(_))
        .WillByDefault(Invoke([&](RscString<256>& path) { path = stored.string(); return Error::NoError; }));
    const std::vector<std::pair<String, String>> cases = {
        {"base dc=example\n", "base dc=example\n"}, {"dir\\sub", "dir\\\\sub"}, {"\\\\", "\\\\\\\\"}, {"", ""}};
    for (const auto& [content, expected] : cases) {
        WriteFile(stored, content);
        const WbmResponse response = Call("GetLdapConfiguration");
        EXPECT_EQ(response.GetBody(), expected);
        EXPECT_EQ(static_cast<int>(response.GetHeader().GetContentSubtype()), 3);
    }

    fs::remove(stored);
    EXPECT_EQ(Call("GetLdapConfiguration").GetBody(), "<Error code=\"NoError\" text=\"An exception has occurred while "
                                                      "reading LDAP config file with path " + stored.string() + "\" />");
    ON_CALL(*services.userManagerConfiguration, GetLdapConfigurationFilePath(_)).WillByDefault(Return(Error::NotFound));
    EXPECT_EQ(Call("GetLdapConfiguration").GetBody(),
              R"(<Error code="NotFound" text="Failed to get LDAP configuration with error code NotFound" />)");
}

TEST_F(Ldap, EnableSwitchTakesTheFirstCaseSensitiveMatch) {
    struct Case { String body; int enableCalls; bool enable; String answer; };
    const std::vector<Case> cases = {
        {"EnableLdap=true", 1, true, R"({"result":"NoError", "errorText":"", "error":false})"},
        {"EnableLdap=truex", 1, true, R"({"result":"NoError", "errorText":"", "error":false})"},
        {"x=1&EnableLdap=false&EnableLdap=true", 1, false, R"({"result":"NoError", "errorText":"", "error":false})"},
        {"enableLdap=true", 0, false,
         R"({"result":"InvalidArgument", "errorText":"Setting LDAP config enabled: Invalid Request", "error":true})"},
        {"EnableLdap=TRUE", 0, false,
         R"({"result":"InvalidArgument", "errorText":"Setting LDAP config enabled: Invalid Request", "error":true})"},
    };
    for (const Case& c : cases) {
        EXPECT_CALL(*services.userManagerConfiguration, EnableLdapConfiguration(c.enable)).Times(c.enableCalls);
        EXPECT_EQ(Call("SetLdapConfigurationEnabled", c.body).GetBody(), c.answer) << c.body;
        Mock::VerifyAndClearExpectations(services.userManagerConfiguration.get());
    }
    ON_CALL(*services.userManagerConfiguration, EnableLdapConfiguration(_)).WillByDefault(Return(Error::FileError));
    EXPECT_EQ(Call("SetLdapConfigurationEnabled", "EnableLdap=false").GetBody(),
              R"({"result":"FileError", "errorText":"Setting LDAP enabling status failed with error code FileError", "error":true})");
}

TEST_F(Ldap, EnabledStateTrustStoresAndAvailability) {
    ON_CALL(*services.userManagerConfiguration, IsLdapConfigurationEnabled()).WillByDefault(Return(true));
    EXPECT_EQ(Call("IsLdapConfigurationEnabled").GetBody(), R"({"result":true, "errorText":"", "error":false})");

    EXPECT_EQ(Call("ListTrustStoresNames").GetBody(), R"({"error":false,"errorText":"","result":[]})");
    ON_CALL(*services.trustStore, GetTrustStoreNames())
        .WillByDefault(Return(std::vector<RscString<64>>{"ldap-ca", "a\"b"}));
    EXPECT_EQ(Call("ListTrustStoresNames").GetBody(), R"({"error":false,"errorText":"","result":["ldap-ca","a\"b"]})");

    EXPECT_TRUE(handler.IsAvailable());
    handler.SetLdapEnabled(false);
    EXPECT_FALSE(handler.IsAvailable());
    EXPECT_FALSE(static_cast<const Kyr::Services::Commons::Wbm::Modules::WbmPageHandlerBase&>(handler).IsAvailable());
}

} // namespace
