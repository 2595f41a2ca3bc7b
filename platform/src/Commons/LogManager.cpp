#include "Kyr/System/Commons/Logging/LogManager.h"

#include <atomic>
#include <mutex>
#include <utility>

namespace Kyr::System::Commons::Logging {

namespace {
// The process-wide logging state, created once on first use.
struct LoggingState {
    std::mutex mutex;
    std::shared_ptr<ILogSink> sink;
    std::atomic<int> level{static_cast<int>(LogLevel::Information)};
    std::atomic<const AppDomain*> appDomain{nullptr};
};

LoggingState& GetState() {
    static LoggingState* state = new LoggingState(); // never destroyed: loggers may log during exit
    return *state;
}
} // namespace

ILogSink::~ILogSink() = default;

void LogManager::SetSink(std::shared_ptr<ILogSink> sink) {
    LoggingState& state = GetState();
    std::lock_guard<std::mutex> lock(state.mutex);
    state.sink = std::move(sink);
}

std::shared_ptr<ILogSink> LogManager::GetSink() {
    LoggingState& state = GetState();
    std::lock_guard<std::mutex> lock(state.mutex);
    return state.sink;
}

void LogManager::SetLogLevel(int level) { GetState().level.store(level); }

int LogManager::GetLogLevel() noexcept { return GetState().level.load(); }

void LogManager::AssignAppDomain(AppDomain& appDomain) {
    const AppDomain* expected = nullptr;
    GetState().appDomain.compare_exchange_strong(expected, &appDomain);
}

const AppDomain* LogManager::GetAppDomain() noexcept { return GetState().appDomain.load(); }

std::shared_ptr<LogAdapter> LogManager::CreateLogAdapter(const String& loggerName) {
    return std::make_shared<LogAdapter>(loggerName);
}

LogAdapter::LogAdapter(String loggerName) : loggerName(std::move(loggerName)) {}

int LogAdapter::GetLogLevel() const noexcept { return LogManager::GetLogLevel(); }

void LogAdapter::Log(int level, const String& text) const {
    if (level > GetLogLevel()) return;
    std::shared_ptr<ILogSink> sink = LogManager::GetSink();
    if (!sink) return;
    // Callers log from request functions and destructors: a sink that fails must not fail them.
    try {
        sink->Write(level, loggerName, text);
    } catch (...) {
    }
}

} // namespace Kyr::System::Commons::Logging
