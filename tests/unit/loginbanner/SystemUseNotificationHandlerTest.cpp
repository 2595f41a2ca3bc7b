// "SystemUseNotificationDp" against the service fake: encoded lines out, exact bytes in.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <vector>

#include "fakes/CapturingLogSink.h"
#include "fakes/ScopedServices.h"
#include "handlers/SystemUseNotificationHandler.h"

namespace {

using namespace testing;
using Kyr::String;
using Kyr::Services::Commons::Wbm::Messages::RequestData;
using Kyr::Services::Commons::Wbm::Messages::RequestParams;
using Kyr::Services::Commons::Wbm::Messages::WbmRequest;
using Kyr::Services::Modules::Wbm::Um::Internal::SystemUseNotificationHandler;
using Kyr::Testing::ServiceKind;
using FileSystemError = Kyr::System::Commons::Io::FileSystemError;
using Bytes = std::vector<std::uint8_t>;

Bytes BytesOf(const String& text) { return Bytes(text.begin(), text.end()); }

struct LoginText : Test {
    Kyr::Testing::CapturingLogSink log;
    Kyr::Testing::ScopedServices services;
    SystemUseNotificationHandler handler;
    LoginText() { handler.SubscribeServices(); }

    String Call(const String& function, const String& body = "") {
        return handler.HandleRequest(WbmRequest(function, {}, RequestData(body), RequestParams())).GetBody();
    }
};

TEST_F(LoginText, ReadIsEncodedThenSplitAtEverySingleLineBreak) {
    const std::vector<std::pair<String, String>> cases = {
        {"Welcome\r\nAuthorised use only", R"(["Welcome","","Authorised use only"])"},
        {"a\rb\n", R"(["a","b",""])"},
        {"\n", R"(["",""])"},
        {"   ", R"(["&#32;  "])"},
        {"", R"([""])"},
        {"Tom & Jerry's <b>", R"(["Tom &amp; Jerry&apos;s &lt;b&gt;"])"},
        {"say \"hi\"\t\xC3\xA4", "[\"say &quot;hi&quot;\\t\xC3\xA4\"]"},
        {"&lt;", R"(["&amp;lt;"])"},
    };
    for (const auto& [stored, lines] : cases) {
        ON_CALL(*services.systemUseNotification, ReadNotification(_))
            .WillByDefault(DoAll(SetArgReferee<0>(BytesOf(stored)), Return(FileSystemError::Success)));
        EXPECT_EQ(Call("GetSystemUseNotification"),
                  R"({"error":false,"errorText":"","result":{"SystemUseNotification":)" + lines + "}}")
            << stored;
    }
    ON_CALL(*services.systemUseNotification, ReadNotification(_)).WillByDefault(Return(FileSystemError::AccessDenied));
    EXPECT_EQ(Call("GetSystemUseNotification"), R"({"error":true,"errorText":"AccessDenied","result":null})");
    EXPECT_TRUE(log.Contains("Failed to get System Use Notification stream. File System Error: AccessDenied", 3));
}

TEST_F(LoginText, WriteStoresEverythingAfterTheFirstKeyByteForByte) {
    const std::vector<std::pair<String, String>> cases = {
        {"SystemUseNotification=\n", "\n"},
        {"x=1&SystemUseNotification=Hi", "Hi"},
        {"SystemUseNotification=a SystemUseNotification=b", "a SystemUseNotification=b"},
        {"SystemUseNotification= &lt;%20\r\n", " &lt;%20\r\n"},
    };
    for (const auto& [body, stored] : cases) {
        EXPECT_CALL(*services.systemUseNotification, WriteNotification(BytesOf(stored))).WillOnce(Return(FileSystemError::Success));
        EXPECT_EQ(Call("SetSystemUseNotification", body), R"({"error":false,"errorText":"","result":null})") << body;
    }
    const String longText(200000, 'x');  // far beyond what a backtracking expression could take
    EXPECT_CALL(*services.systemUseNotification, WriteNotification(BytesOf(longText))).WillOnce(Return(FileSystemError::NoSpace));
    EXPECT_EQ(Call("SetSystemUseNotification", "SystemUseNotification=" + longText),
              R"({"error":true,"errorText":"NoSpace","result":null})");
    EXPECT_TRUE(log.Contains("Failed to set System Use Notification with error NoSpace", 3));
}

TEST_F(LoginText, RefusedBodiesAreLoggedOnOneLine) {
    EXPECT_CALL(*services.systemUseNotification, WriteNotification(_)).Times(0);
    for (const String& body : {String("SystemUseNotification="), String("systemUseNotification=x"), String("")})
        EXPECT_EQ(Call("SetSystemUseNotification", body), R"({"error":true,"errorText":"InvalidRequest","result":null})");
    log.Clear();
    Call("SetSystemUseNotification", "evil\r\nforged line");
    EXPECT_TRUE(log.Contains(R"(Failed to set System Use Notification. Invalid Request: "evil\r\nforged line")", 3));
}

TEST(LoginTextService, MissingServiceLeavesTheProviderUnavailable) {
    Kyr::Testing::CapturingLogSink log;
    Kyr::Testing::ScopedServices services(ServiceKind::SystemUseNotification);
    SystemUseNotificationHandler handler;
    handler.SubscribeServices();
    EXPECT_FALSE(handler.IsAvailable());
    EXPECT_TRUE(log.Contains("Could not subscribe ISystemUseNotificationService!", 3));
}

} // namespace
