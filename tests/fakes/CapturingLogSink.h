#pragma once
// Installs itself as the process's log sink at level 7 (everything passes) for its lifetime and
// records every line; the previous sink and level come back on destruction. Thread-safe.
#include <memory>
#include <mutex>
#include <vector>

#include "Kyr/System/Commons/Logging/LogManager.h"

namespace Kyr::Testing {

struct LogLine {
    int level = 0;
    String loggerName;
    String text;
};

class CapturingLogSink {
public:
    CapturingLogSink();
    ~CapturingLogSink();
    CapturingLogSink(const CapturingLogSink&) = delete;
    CapturingLogSink& operator=(const CapturingLogSink&) = delete;

    std::vector<LogLine> GetLines() const;
    // Whether a line's text contains `fragment` (and, when level > 0, is of that level).
    bool Contains(const String& fragment, int level = 0) const;
    void Clear();

private:
    class Sink;
    std::shared_ptr<Sink> sink;
    std::shared_ptr<Kyr::System::Commons::Logging::ILogSink> previousSink;
    int previousLevel;
};

} // namespace Kyr::Testing
