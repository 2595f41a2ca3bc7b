#pragma once
#include <mutex>

#include "Kyr/System/Commons/Logging/LogManager.h"

namespace Kyr::WbmHost {

// Writes each log line to stderr: UTC time, level, logger name, text (control characters escaped).
class StderrLogSink : public Kyr::System::Commons::Logging::ILogSink {
public:
    void Write(int level, const Kyr::String& loggerName, const Kyr::String& text) override;

private:
    std::mutex mutex;
};

} // namespace Kyr::WbmHost
