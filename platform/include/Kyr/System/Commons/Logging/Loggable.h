#pragma once
#include <fmt/format.h>

#include <exception>
#include <memory>
#include <mutex>
#include <utility>

#include "Kyr/System/Commons/Logging/LogManager.h"
#include "Kyr/System/Commons/Mutex.h"
#include "Kyr/System/Commons/TypeName.h"

namespace Kyr::System::Commons::Logging {

// Mix-in giving class T one logger, named after T's full type name, created on first use under a
// Mutex. A message template is formatted only when its level passes the logger's level.
template <class T>
class Loggable {
public:
    static LogAdapter& GetLogger() {
        static Mutex mutex;
        static std::shared_ptr<LogAdapter> logger;
        MutexLock lock(mutex);
        if (!logger) logger = LogManager::CreateLogAdapter(GetTypeName<T>());
        return *logger;
    }

    template <class... Args>
    static void Log(int level, const char* pattern, Args&&... args) {
        LogAdapter& logger = GetLogger();
        if (level > logger.GetLogLevel()) return;
        String text;
        try {
            text = fmt::format(fmt::runtime(pattern), std::forward<Args>(args)...);
        } catch (const std::exception& error) {
            text = String("Exception occurs during format of log message: ") + error.what();
        } catch (...) {
            text = "Exception occurs during format of log message: Unknown exception";
        }
        logger.Log(level, text);
    }
    template <class... Args>
    static void LogError(const char* pattern, Args&&... args) { Log(static_cast<int>(LogLevel::Error), pattern, std::forward<Args>(args)...); }
    template <class... Args>
    static void LogInfo(const char* pattern, Args&&... args) { Log(static_cast<int>(LogLevel::Information), pattern, std::forward<Args>(args)...); }

protected:
    Loggable() = default;
    ~Loggable() = default;
};

} // namespace Kyr::System::Commons::Logging
