#include "http/WorkerPool.h"

namespace Kyr::WbmHost {

WorkerPool::WorkerPool(std::size_t threadCount, std::size_t queueLimit) : queueLimit(queueLimit) {
    threads.reserve(threadCount);
    for (std::size_t i = 0; i < threadCount; ++i) threads.emplace_back([this] { Work(); });
}

WorkerPool::~WorkerPool() {
    {
        std::lock_guard<std::mutex> lock(mutex);
        stopping = true;
    }
    wake.notify_all();
    for (auto& thread : threads) thread.join();
}

bool WorkerPool::TryPost(std::function<void()> task) {
    {
        std::lock_guard<std::mutex> lock(mutex);
        if (stopping || tasks.size() >= queueLimit) return false;
        tasks.push_back(std::move(task));
    }
    wake.notify_one();
    return true;
}

void WorkerPool::Work() {
    for (;;) {
        std::function<void()> task;
        {
            std::unique_lock<std::mutex> lock(mutex);
            wake.wait(lock, [this] { return stopping || !tasks.empty(); });
            if (tasks.empty()) return;
            task = std::move(tasks.front());
            tasks.pop_front();
        }
        task();
    }
}

} // namespace Kyr::WbmHost
