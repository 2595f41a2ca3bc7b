// The host's session store and login waits with a clock the test moves.
#include <gtest/gtest.h>

#include "LoginThrottle.h"
#include "SessionStore.h"

namespace Kyr::WbmHost {
namespace {

using namespace std::chrono_literals;

struct FakeClock {
    SteadyClock::time_point now = SteadyClock::time_point() + 1000h;
    NowFunction Function() {
        return [this] { return now; };
    }
};

TEST(SessionStoreTest, SessionsEndWhenIdleOrTooOld) {
    FakeClock clock;
    SessionStore store(30min, clock.Function());
    store.SetMaxSessionTime(60min);
    auto session = store.Create("admin", 0);
    EXPECT_EQ(session.id.size(), 64u);
    EXPECT_NE(session.id, session.csrfToken);

    clock.now += 29min;
    EXPECT_TRUE(store.Touch(session.id)); // activity restarts the idle time
    clock.now += 29min;
    EXPECT_EQ(store.FindUserOfSession(session.id), "admin");
    clock.now += 2min; // 60 minutes after login, however active
    EXPECT_FALSE(store.Touch(session.id));

    auto idle = store.Create("admin", 0);
    clock.now += 30min;
    EXPECT_FALSE(store.Find(idle.id));
}

TEST(SessionStoreTest, ShorterMaximumAppliesToExistingSessionsAndZeroMeansNoLimit) {
    FakeClock clock;
    SessionStore store(0min, clock.Function());
    auto session = store.Create("admin", 0);
    clock.now += 1000h;
    EXPECT_TRUE(store.Find(session.id));
    store.SetMaxSessionTime(5min);
    EXPECT_FALSE(store.Find(session.id));
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
    EXPECT_EQ(store.CountLiveSessions("alice"), 2u);
    store.Create("alice", 1);
    EXPECT_EQ(store.CountLiveSessions("alice"), 1u);
}

TEST(LoginThrottleTest, WaitsGrowByTheIncrementUpToTheMaximum) {
    FakeClock clock;
    LoginThrottle throttle(clock.Function());
    const ThrottlePolicy policy{10, 5, 22};
    for (auto expected : {10s, 15s, 20s, 22s, 22s}) {
        EXPECT_FALSE(throttle.RemainingWait("ghost"));
        EXPECT_EQ(throttle.RecordFailure("ghost", policy), expected);
        EXPECT_EQ(throttle.RemainingWait("ghost"), expected);
        clock.now += expected - 1500ms;
        EXPECT_EQ(throttle.RemainingWait("ghost"), 2s); // rounded up
        clock.now += 1500ms;
    }
    EXPECT_FALSE(throttle.RemainingWait("other"));
    throttle.RecordSuccess("ghost");
    EXPECT_EQ(throttle.RecordFailure("ghost", policy), 10s);
}

TEST(LoginThrottleTest, FailuresAreForgottenAfterAQuietQuarterHour) {
    FakeClock clock;
    LoginThrottle throttle(clock.Function());
    const ThrottlePolicy policy{1, 1, 100};
    throttle.RecordFailure("admin", policy);
    clock.now += 10min;
    EXPECT_EQ(throttle.RecordFailure("admin", policy), 2s);
    clock.now += 20min;
    EXPECT_EQ(throttle.RecordFailure("admin", policy), 1s);
}

} // namespace
} // namespace Kyr::WbmHost
