#pragma once
#include <condition_variable>
#include <cstddef>
#include <deque>
#include <functional>
#include <mutex>
#include <thread>
#include <vector>

namespace Kyr::WbmHost {

// The threads that run request functions, which may block (password hashing, the database), so that
// the network threads never do. At most `queueLimit` tasks wait; beyond that TryPost refuses at once.
class WorkerPool {
public:
    WorkerPool(std::size_t threads, std::size_t queueLimit);
    ~WorkerPool(); // runs what is queued, then joins
    WorkerPool(const WorkerPool&) = delete;
    WorkerPool& operator=(const WorkerPool&) = delete;

    bool TryPost(std::function<void()> task);

private:
    void Work();

    const std::size_t queueLimit;
    std::mutex mutex;
    std::condition_variable wake;
    std::deque<std::function<void()>> tasks;
    bool stopping = false;
    std::vector<std::thread> threads;
};

} // namespace Kyr::WbmHost
