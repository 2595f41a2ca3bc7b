// "SystemUseNotificationDp" against the service fake: encoded lines out, exact bytes in.
#include <gmock/gmock.h>

#include "fakes/CapturingLogSink.h"
#include "fakes/ScopedServices.h"
#include "handlers/SystemUseNotificationHandler.h"

namespace {

using namespace testing;
using namespace Kyr::Services::Commons::Wbm::Messages;
using Kyr::String;
using namespace std::string_literals;
using FileSystemError = Kyr::System::Commons::Io::FileSystemError;
using Bytes = std::vector<std::uint8_t>;

Bytes BytesOf(const String& text) { return Bytes(text.begin(), text.end()); }

struct LoginText : Test {
    Kyr::Testing::CapturingLogSink log;
    Kyr::Testing::ScopedServices services;
    Kyr::Services::Modules::Wbm::Um::Internal::SystemUseNotificationHandler handler;
    LoginText() { handler.SubscribeServices(); }

    String Call(const String& function, const String& body = "") {
        return handler.HandleRequest(WbmRequest(function, {}, RequestData(body), RequestParams())).GetBody();
    }
};

TEST_F(LoginText, ReadIsEncodedThenSplitAtEverySingleLineBreak) {
    for (const auto& [stored, lines] : std::vector<std::pair<String, String>>{
             {"a\rb\n", R"(["a","b",""])"},
             {"", R"([""])"},
             {"Tom & Jerry's <b> \"&lt;\"", R"(["Tom &amp; Jerry&apos;s &lt;b&gt; &quot;&amp;lt;&quot;"])"},
         }) {
        ON_CALL(*services.systemUseNotification, ReadNotification(_))
            .WillByDefault(DoAll(SetArgReferee<0>(BytesOf(stored)), Return(FileSystemError::Success)));
        EXPECT_EQ(Call("GetSystemUseNotification"), R"({"error":false,"errorText":"","result":{"SystemUseNotification":)" + lines + "}}");
    }
    ON_CALL(*services.systemUseNotification, ReadNotification(_)).WillByDefault(Return(FileSystemError::AccessDenied));
    EXPECT_EQ(Call("GetSystemUseNotification"), R"({"error":true,"errorText":"AccessDenied","result":null})");
    EXPECT_TRUE(log.Contains("Failed to get System Use Notification stream. File System Error: AccessDenied", 3));
}

TEST_F(LoginText, WriteStoresEverythingAfterTheFirstKeyByteForByte) {
    const String longText(200000, 'x');  // far beyond what a backtracking expression could take
    for (const auto& [body, stored] : std::vector<std::pair<String, String>>{
             {"SystemUseNotification=\n", "\n"},
             {"x=1&SystemUseNotification=Hi", "Hi"},
             {"SystemUseNotification=a SystemUseNotification=b&lt;\r\n\0\xff"s, "a SystemUseNotification=b&lt;\r\n\0\xff"s},
             {"SystemUseNotification=" + longText, longText},
         }) {
        EXPECT_CALL(*services.systemUseNotification, WriteNotification(BytesOf(stored))).WillOnce(Return(FileSystemError::Success));
        EXPECT_EQ(Call("SetSystemUseNotification", body), R"({"error":false,"errorText":"","result":null})");
    }
    Mock::VerifyAndClearExpectations(services.systemUseNotification.get());
    ON_CALL(*services.systemUseNotification, WriteNotification(_)).WillByDefault(Return(FileSystemError::NoSpace));
    EXPECT_EQ(Call("SetSystemUseNotification", "SystemUseNotification=x"), R"({"error":true,"errorText":"NoSpace","result":null})");
    EXPECT_TRUE(log.Contains("Failed to set System Use Notification with error NoSpace", 3));
}

TEST_F(LoginText, RefusedBodiesAreLoggedOnOneLine) {
    EXPECT_CALL(*services.systemUseNotification, WriteNotification(_)).Times(0);
    for (const char* body : {"SystemUseNotification=", "systemUseNotification=x", "evil\r\nforged line"})
        EXPECT_EQ(Call("SetSystemUseNotification", body), R"({"error":true,"errorText":"InvalidRequest","result":null})");
    EXPECT_TRUE(log.Contains(R"(Failed to set System Use Notification. Invalid Request: "evil\r\nforged line")", 3));
}

} // namespace
