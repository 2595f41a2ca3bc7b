#include "net/HandshakeGate.h"

#include <utility>

namespace Kyr::WbmHost {

struct HandshakeGate::State {
    explicit State(std::size_t limit) : limit(limit) {}
    const std::size_t limit;
    mutable std::mutex mutex;
    std::size_t running = 0;
    std::deque<Start> waiting;
};

HandshakeGate::HandshakeGate(std::size_t limit) : state(std::make_shared<State>(limit < 1 ? 1 : limit)) {}

HandshakeGate::~HandshakeGate() { DropWaiting(); }

HandshakeGate::Place HandshakeGate::MakePlace(const std::shared_ptr<State>& state) {
    return Place(nullptr, [state](void*) { Leave(state); });
}

void HandshakeGate::Leave(const std::shared_ptr<State>& state) {
    Start next;
    {
        std::lock_guard<std::mutex> lock(state->mutex);
        if (state->waiting.empty()) {
            --state->running;
            return;
        }
        next = std::move(state->waiting.front());
        state->waiting.pop_front();
    }
    next(MakePlace(state)); // the place passes on: `running` stays
}

void HandshakeGate::Enter(Start start) {
    {
        std::lock_guard<std::mutex> lock(state->mutex);
        if (state->running >= state->limit) {
            state->waiting.push_back(std::move(start));
            return;
        }
        ++state->running;
    }
    start(MakePlace(state));
}

void HandshakeGate::DropWaiting() {
    std::deque<Start> dropped;
    {
        std::lock_guard<std::mutex> lock(state->mutex);
        dropped.swap(state->waiting);
    }
    // Destroyed outside the lock: what they hold may end a connection.
}

std::size_t HandshakeGate::Running() const {
    std::lock_guard<std::mutex> lock(state->mutex);
    return state->running;
}

std::size_t HandshakeGate::Waiting() const {
    std::lock_guard<std::mutex> lock(state->mutex);
    return state->waiting.size();
}

} // namespace Kyr::WbmHost
