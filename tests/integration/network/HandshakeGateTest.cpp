// The gate in front of TLS handshakes: a bounded number run, the rest wait in order and start as
// places are let go; waiting ones can be dropped.
#include <gtest/gtest.h>

#include <vector>

#include "net/HandshakeGate.h"

namespace Kyr::WbmHost {
namespace {

TEST(HandshakeGateTest, AtMostTheLimitRunAndTheOthersStartInOrderAsPlacesAreLetGo) {
    HandshakeGate gate(2);
    std::vector<HandshakeGate::Place> places(4);
    std::vector<int> started;
    for (int i = 0; i < 4; ++i)
        gate.Enter([&, i](HandshakeGate::Place place) {
            started.push_back(i);
            places[static_cast<std::size_t>(i)] = std::move(place);
        });
    EXPECT_EQ(started, (std::vector<int>{0, 1}));
    EXPECT_EQ(gate.Running(), 2u);
    EXPECT_EQ(gate.Waiting(), 2u);

    places[1].reset();
    EXPECT_EQ(started, (std::vector<int>{0, 1, 2})) << "a place let go passes to the first waiting";
    EXPECT_EQ(gate.Running(), 2u);
    places[0].reset();
    places[2].reset();
    EXPECT_EQ(started, (std::vector<int>{0, 1, 2, 3}));
    places[3].reset();
    EXPECT_EQ(gate.Running(), 0u);
    EXPECT_EQ(gate.Waiting(), 0u);
}

TEST(HandshakeGateTest, DroppedWaitersNeverStartAndPlacesMayOutliveTheGate) {
    HandshakeGate::Place kept;
    bool lateStart = false;
    {
        HandshakeGate gate(1);
        gate.Enter([&](HandshakeGate::Place place) { kept = std::move(place); });
        gate.Enter([&](HandshakeGate::Place) { lateStart = true; });
        gate.DropWaiting();
        EXPECT_EQ(gate.Waiting(), 0u);
    }
    kept.reset(); // the gate is gone; letting the place go must be harmless
    EXPECT_FALSE(lateStart);
}

} // namespace
} // namespace Kyr::WbmHost
