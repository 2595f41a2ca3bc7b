#include "fakes/CapturingLogSink.h"

namespace Kyr::Testing {

using Kyr::System::Commons::Logging::LogManager;

class CapturingLogSink::Sink : public Kyr::System::Commons::Logging::ILogSink {
public:
    void Write(int level, const String& loggerName, const String& text) override {
        std::lock_guard<std::mutex> lock(mutex);
        lines.push_back(LogLine{level, loggerName, text});
    }
    mutable std::mutex mutex;
    std::vector<LogLine> lines;
};

CapturingLogSink::CapturingLogSink()
    : sink(std::make_shared<Sink>()), previousSink(LogManager::GetSink()), previousLevel(LogManager::GetLogLevel()) {
    LogManager::SetLogLevel(7);
    LogManager::SetSink(sink);
}

CapturingLogSink::~CapturingLogSink() {
    LogManager::SetSink(previousSink);
    LogManager::SetLogLevel(previousLevel);
}

std::vector<LogLine> CapturingLogSink::GetLines() const {
    std::lock_guard<std::mutex> lock(sink->mutex);
    return sink->lines;
}

bool CapturingLogSink::Contains(const String& fragment, int level) const {
    for (const LogLine& line : GetLines())
        if (line.text.find(fragment) != String::npos && (level <= 0 || line.level == level)) return true;
    return false;
}

void CapturingLogSink::Clear() {
    std::lock_guard<std::mutex> lock(sink->mutex);
    sink->lines.clear();
}

} // namespace Kyr::Testing
