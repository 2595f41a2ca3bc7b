// The host's session store and login waits, with a clock the test moves (limits of minutes).
#include <gtest/gtest.h>

#include "FakeClock.h"

#include "session/LoginThrottle.h"
#include "session/SessionStore.h"

namespace Kyr::WbmHost {
namespace {

using namespace std::chrono_literals;

TEST(SessionStoreTest, SessionsEndWhenIdleOrTooOld) {
    FakeClock clock;
    SessionStore store(30min, clock.Function());
    auto session = store.Create("admin", 0);
    EXPECT_NE(session.id, session.csrfToken);
    for (int i = 0; i < 4; ++i) {
        clock.now += 29min; // activity restarts the idle time
        EXPECT_TRUE(store.Touch(session.id)) << i;
    }
    clock.now += 30min;
    EXPECT_FALSE(store.FindUserOfSession(session.id));

    auto active = store.Create("admin", 0);
    clock.now += 20min;
    EXPECT_TRUE(store.Touch(active.id));
    store.SetMaxSessionTime(20min); // a lower maximum applies to live sessions too
    EXPECT_FALSE(store.Touch(active.id));
}

TEST(SessionStoreTest, NewLoginEndsTheOldestSessionsOfThatUserOnly) {
    FakeClock clock;
    SessionStore store(30min, clock.Function());
    auto first = store.Create("alice", 2);
    auto other = store.Create("bob", 2);
    auto second = store.Create("alice", 2);
    auto third = store.Create("alice", 2);
    EXPECT_FALSE(store.Find(first.id));
    EXPECT_TRUE(store.Find(second.id) && store.Find(third.id) && store.Find(other.id));
    store.Create("alice", 1);
    EXPECT_EQ(store.CountLiveSessions("alice"), 1u);
}

Kyr::System::Um::Services::Internal::SessionPolicyParameter Policy(std::uint32_t initial, std::uint32_t increment,
                                                                   std::uint32_t maximum, bool adminsWait) {
    Kyr::System::Um::Services::Internal::SessionPolicyParameter policy;
    policy.timeoutInitialSeconds = initial;
    policy.timeoutIncrementSeconds = increment;
    policy.timeoutMaximumSeconds = maximum;
    policy.issueTimeoutToAdminUsers = adminsWait;
    return policy;
}

TEST(LoginThrottleTest, WaitsGrowUpToTheMaximumAndAreForgotten) {
    FakeClock clock;
    LoginThrottle throttle(clock.Function());
    const auto policy = Policy(10, 5, 22, false);
    for (auto expected : {10s, 15s, 20s, 22s, 22s}) {
        EXPECT_FALSE(throttle.BeginAttempt("ghost", policy, false));
        EXPECT_EQ(throttle.RecordFailure("ghost", policy, false), expected);
        clock.now += expected - 1500ms;
        EXPECT_EQ(throttle.BeginAttempt("ghost", policy, false), 2s); // rounded up
        clock.now += 1500ms;
    }
    EXPECT_FALSE(throttle.BeginAttempt("other", policy, false));
    throttle.RecordSuccess("ghost");
    EXPECT_EQ(throttle.RecordFailure("ghost", policy, false), 10s);
    clock.now += 16min; // a quiet quarter of an hour after the wait
    EXPECT_FALSE(throttle.BeginAttempt("ghost", policy, false));
    EXPECT_EQ(throttle.RecordFailure("ghost", policy, false), 10s);
    // Administrators wait only when the policy says so; spared ones may also try in parallel.
    for (int i = 0; i < 2; ++i) EXPECT_FALSE(throttle.BeginAttempt("admin", policy, true));
    EXPECT_EQ(throttle.RecordFailure("admin", policy, true), 0s);
    EXPECT_EQ(throttle.RecordFailure("admin", Policy(10, 5, 22, true), true), 10s);
    EXPECT_EQ(throttle.BeginAttempt("admin", Policy(10, 5, 22, true), true), 10s);
}

TEST(LoginThrottleTest, OneAttemptPerNameAtATime) {
    FakeClock clock;
    LoginThrottle throttle(clock.Function());
    const auto policy = Policy(0, 0, 0, true);
    ASSERT_FALSE(throttle.BeginAttempt("alice", policy, false));
    EXPECT_EQ(throttle.BeginAttempt("alice", policy, false), 1s); // a parallel guess waits for the first outcome
    EXPECT_FALSE(throttle.BeginAttempt("bob", policy, false));
    throttle.RecordFailure("alice", policy, false);
    EXPECT_FALSE(throttle.BeginAttempt("alice", policy, false));
    clock.now += 31s; // an outcome that never came does not block the name for ever
    EXPECT_FALSE(throttle.BeginAttempt("alice", policy, false));
}

TEST(LoginThrottleTest, ARightPasswordBeforeASecondFactorForgetsNoFailures) {
    FakeClock clock;
    LoginThrottle throttle(clock.Function());
    const auto policy = Policy(10, 5, 22, false);
    ASSERT_FALSE(throttle.BeginAttempt("alice", policy, false));
    EXPECT_EQ(throttle.RecordFailure("alice", policy, false), 10s); // a wrong code
    clock.now += 10s;
    ASSERT_FALSE(throttle.BeginAttempt("alice", policy, false)); // the password again, right
    throttle.EndAttempt("alice");
    ASSERT_FALSE(throttle.BeginAttempt("alice", policy, false)); // the next code may be tried at once
    EXPECT_EQ(throttle.RecordFailure("alice", policy, false), 15s); // and, wrong again, waits longer
}

TEST(LoginThrottleTest, ManyNamesFromOneAddressWaitThere) {
    FakeClock clock;
    LoginThrottle throttle(clock.Function());
    const auto policy = Policy(10, 5, 22, false);
    for (std::uint32_t i = 0; i < LoginThrottle::AddressFreeFailures; ++i) {
        const std::string name = "guess" + std::to_string(i);
        ASSERT_FALSE(throttle.BeginAttempt(name, "10.0.0.9", policy, false));
        EXPECT_EQ(throttle.RecordFailure(name, "10.0.0.9", policy, false), 10s) << "only the name waits";
    }
    EXPECT_EQ(throttle.RecordFailure("one-more", "10.0.0.9", policy, false), 10s);
    EXPECT_EQ(throttle.BeginAttempt("fresh-name", "10.0.0.9", policy, false), 10s) << "the address waits";
    // Administrators whom the policy spares wait there too, but nowhere else.
    EXPECT_EQ(throttle.BeginAttempt("admin", "10.0.0.9", policy, true), 10s);
    EXPECT_FALSE(throttle.BeginAttempt("admin", "10.0.0.10", policy, true));
    EXPECT_FALSE(throttle.BeginAttempt("fresh-name", "10.0.0.10", policy, false));
}

TEST(LoginThrottleTest, AFloodOfDistinctNamesCostsBoundedMemory) {
    FakeClock clock;
    LoginThrottle throttle(clock.Function(), 100);
    const auto policy = Policy(10, 5, 22, false);
    const std::string longName(4096, 'n');
    for (int i = 0; i < 1000; ++i) {
        const std::string name = longName + std::to_string(i);
        throttle.BeginAttempt(name, "", policy, false);
        throttle.RecordFailure(name, "", policy, false);
    }
    EXPECT_LE(throttle.TrackedNames(), 100u);
    EXPECT_EQ(throttle.BeginAttempt(longName + "999", "", policy, false), 10s) << "the newest names are kept";
}

} // namespace
} // namespace Kyr::WbmHost
