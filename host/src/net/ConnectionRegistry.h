#pragma once
#include <list>
#include <memory>
#include <mutex>

namespace Kyr::WbmHost {

// A connection that can be asked to end: at once when it waits for a request, after its answer
// when a request is under way.
class StoppableConnection {
public:
    virtual ~StoppableConnection() = default;
    virtual void Stop() = 0; // thread-safe
};

// The open connections of a server, so that a stop reaches each of them. Thread-safe.
class ConnectionRegistry {
public:
    using Handle = std::list<std::weak_ptr<StoppableConnection>>::iterator;
    Handle Add(const std::shared_ptr<StoppableConnection>& connection);
    void Remove(Handle handle);
    // Stops every connection now open and every one added from now on.
    void StopAll();
    bool Stopping() const;

private:
    mutable std::mutex mutex;
    std::list<std::weak_ptr<StoppableConnection>> connections;
    bool stopping = false;
};

} // namespace Kyr::WbmHost
