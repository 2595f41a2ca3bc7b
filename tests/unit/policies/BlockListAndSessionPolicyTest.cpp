// The block list and session policy models: their JSON forms and what they refuse.
#include <gtest/gtest.h>

#include <string>

#include "JsonTestSupport.h"
#include "config/PasswordsBlockList.h"
#include "config/SessionPolicyConfig.h"

namespace {

using namespace Kyr::Services::Modules::Wbm::Um::Internal::Config;
using PolicyTests::Edit;
using PolicyTests::WriteCompact;

template <class TModel>
std::string ToJsonText(const TModel& model) {
    rapidjson::Document document;
    document.SetObject();
    model.ToJson(document, document);
    return WriteCompact(document);
}

TEST(PasswordsBlockList, KeepsOrderAndDuplicatesBothWays) {
    const std::string json = R"({"passwordsBlockList":["zeta","alpha","zeta","","quote\"d"]})";
    PasswordsBlockList blockList;
    ASSERT_TRUE(blockList.ParseJson(json));
    EXPECT_EQ(blockList.GetEntries(), (std::vector<Kyr::String>{"zeta", "alpha", "zeta", "", "quote\"d"}));
    EXPECT_EQ(ToJsonText(blockList), json);
}

struct BlockListCase {
    const char* name;
    const char* body;
    bool parsed;
};

class PasswordsBlockListParse : public ::testing::TestWithParam<BlockListCase> {};

TEST_P(PasswordsBlockListParse, ReplacesTheEntriesOnlyOnSuccess) {
    PasswordsBlockList blockList({"before"});
    EXPECT_EQ(blockList.ParseJson(GetParam().body), GetParam().parsed);
    if (!GetParam().parsed) {
        EXPECT_EQ(blockList.GetEntries(), std::vector<Kyr::String>{"before"});
    }
}

INSTANTIATE_TEST_SUITE_P(Documents, PasswordsBlockListParse,
                         ::testing::Values(BlockListCase{"Empty", R"({"passwordsBlockList":[]})", true},
                                           BlockListCase{"NotJson", "passwordsBlockList=a", false},
                                           BlockListCase{"RootArray", R"([["a"]])", false},
                                           BlockListCase{"Missing", R"({"blockList":["a"]})", false},
                                           BlockListCase{"NotArray", R"({"passwordsBlockList":"a"})", false},
                                           BlockListCase{"NumberEntry", R"({"passwordsBlockList":["a",1]})", false}),
                         [](const ::testing::TestParamInfo<BlockListCase>& info) { return info.param.name; });

// ---- Session policy ----------------------------------------------------------------------------

const std::string flatPolicy =
    R"({"timeoutInitialSeconds":300,"timeoutIncrementSeconds":60,"timeoutMaximumSeconds":3600,)"
    R"("maxConcurrentSessionsCount":4294967295,"maxSessionTimeMinutes":0,"issueTimeoutToAdminUsers":true})";
const std::string wrappedPolicy = R"({"sessionPolicyParameter":)" + flatPolicy + "}";

TEST(SessionPolicyConfig, ReadsTheWrappedFormAndWritesTheFlatOne) {
    SessionPolicyConfig config;
    ASSERT_TRUE(config.ParseJson(wrappedPolicy));
    EXPECT_EQ(config.GetParameter().maxConcurrentSessionsCount, 4294967295u);
    EXPECT_EQ(ToJsonText(config), flatPolicy);
}

struct SessionCase {
    const char* name;
    std::string body;
    bool parsed;
};

class SessionPolicyParse : public ::testing::TestWithParam<SessionCase> {};

TEST_P(SessionPolicyParse, AcceptsOnlyTheWrappedFormWithSixValidKeys) {
    SessionPolicyConfig config;
    EXPECT_EQ(config.ParseJson(GetParam().body), GetParam().parsed);
}

const std::string wrapped = "/sessionPolicyParameter";

INSTANTIATE_TEST_SUITE_P(
    Documents, SessionPolicyParse,
    ::testing::Values(SessionCase{"GetterForm", flatPolicy, false}, SessionCase{"NotJson", "timeout=1", false},
                      SessionCase{"WrapperNotObject", R"({"sessionPolicyParameter":[]})", false},
                      SessionCase{"AllZero",
                                  R"({"sessionPolicyParameter":{"timeoutInitialSeconds":0,"timeoutIncrementSeconds":0,)"
                                  R"("timeoutMaximumSeconds":0,"maxConcurrentSessionsCount":0,"maxSessionTimeMinutes":0,)"
                                  R"("issueTimeoutToAdminUsers":false}})",
                                  true},
                      SessionCase{"FlagAsNumber", Edit(wrappedPolicy, wrapped + "/issueTimeoutToAdminUsers", "1"), false},
                      SessionCase{"Negative", Edit(wrappedPolicy, wrapped + "/timeoutInitialSeconds", "-1"), false},
                      SessionCase{"Float", Edit(wrappedPolicy, wrapped + "/timeoutMaximumSeconds", "60.5"), false},
                      SessionCase{"TooLarge", Edit(wrappedPolicy, wrapped + "/maxConcurrentSessionsCount", "4294967296"), false},
                      SessionCase{"MissingLast", Edit(wrappedPolicy, wrapped + "/maxSessionTimeMinutes", "<erase>"), false}),
    [](const ::testing::TestParamInfo<SessionCase>& info) { return info.param.name; });

TEST(SessionPolicyConfig, KeepsTheValuesReadBeforeAMissingKey) {
    SessionPolicyConfig config;
    EXPECT_FALSE(config.ParseJson(Edit(wrappedPolicy, wrapped + "/maxSessionTimeMinutes", "<erase>")));
    EXPECT_EQ(config.GetParameter().timeoutMaximumSeconds, 3600u);
}

} // namespace
