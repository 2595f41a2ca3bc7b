#include "net/ConnectionRegistry.h"

#include <vector>

namespace Kyr::WbmHost {

ConnectionRegistry::Handle ConnectionRegistry::Add(const std::shared_ptr<StoppableConnection>& connection) {
    std::lock_guard<std::mutex> lock(mutex);
    return connections.insert(connections.end(), connection);
}

void ConnectionRegistry::Remove(Handle handle) {
    std::lock_guard<std::mutex> lock(mutex);
    connections.erase(handle);
}

void ConnectionRegistry::StopAll() {
    std::vector<std::shared_ptr<StoppableConnection>> open;
    {
        std::lock_guard<std::mutex> lock(mutex);
        stopping = true;
        for (auto& weak : connections)
            if (auto connection = weak.lock()) open.push_back(std::move(connection));
    }
    for (auto& connection : open) connection->Stop();
}

bool ConnectionRegistry::Stopping() const {
    std::lock_guard<std::mutex> lock(mutex);
    return stopping;
}

} // namespace Kyr::WbmHost
