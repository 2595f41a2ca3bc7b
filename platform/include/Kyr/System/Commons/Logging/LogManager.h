#pragma once
#include <memory>

#include "Kyr/System/Commons/Api.h"
#include "Kyr/System/Commons/AppDomain.h"
#include "Kyr/System/Commons/String.h"

namespace Kyr::System::Commons::Logging {

// Levels as numbers, lower is more severe: a message passes when its level is <= the current log
// level. The module uses 3 for errors and 7 for progress information.
enum class LogLevel : int { Critical = 2, Error = 3, Warning = 4, Notice = 5, Information = 7 };

// Where log lines go. The host writes them to stderr; tests capture them.
class KYR_API ILogSink {
public:
    virtual ~ILogSink();
    virtual void Write(int level, const String& loggerName, const String& text) = 0;
};

class KYR_API LogAdapter {
public:
    explicit LogAdapter(String loggerName);
    const String& GetName() const noexcept { return loggerName; }
    // The current threshold (LogManager's level).
    int GetLogLevel() const noexcept;
    // Writes the line to the current sink if `level` passes the threshold. A sink's failure is
    // dropped: logging never fails the caller.
    void Log(int level, const String& text) const;

private:
    String loggerName;
};

// Process-wide logging state: the sink and the threshold. Thread-safe.
class KYR_API LogManager {
public:
    static void SetSink(std::shared_ptr<ILogSink> sink); // nullptr: lines are dropped
    static std::shared_ptr<ILogSink> GetSink();
    static void SetLogLevel(int level);                   // default 7: everything
    static int GetLogLevel() noexcept;
    // A library adopts the host's application domain; later calls keep the first domain.
    static void AssignAppDomain(AppDomain& appDomain);
    static const AppDomain* GetAppDomain() noexcept;
    static std::shared_ptr<LogAdapter> CreateLogAdapter(const String& loggerName);
};

} // namespace Kyr::System::Commons::Logging
