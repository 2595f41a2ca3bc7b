#pragma once
// At most a few TLS handshakes in progress at once; the connections beyond wait their turn holding
// only their socket. A handshake in progress takes about 40 KiB (OpenSSL's handshake and record
// buffers) and the CPU of a key exchange and a signature: a burst of new connections must take
// neither without bound, and the heap it would leave behind stays with the process.
#include <cstddef>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>

namespace Kyr::WbmHost {

class HandshakeGate {
public:
    // Held while a handshake runs; the next waiting one starts when it is let go.
    using Place = std::shared_ptr<void>;
    using Start = std::function<void(Place)>;

    explicit HandshakeGate(std::size_t limit);
    ~HandshakeGate(); // the waiting ones are dropped

    // Calls `start` with a place: at once when one is free (on the calling thread), otherwise on the
    // thread that lets one go. `start` moves the work onto its connection's own thread.
    void Enter(Start start);
    // Drops the waiting ones (their connections end); call while their event loops still exist.
    void DropWaiting();

    std::size_t Running() const;
    std::size_t Waiting() const;

private:
    struct State;
    static Place MakePlace(const std::shared_ptr<State>& state);
    static void Leave(const std::shared_ptr<State>& state);

    std::shared_ptr<State> state; // shared with the places, which may outlive the gate
};

} // namespace Kyr::WbmHost
