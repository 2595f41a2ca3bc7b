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
    // Lines whose text contains `fragment` (and, when level > 0, of that level).
    std::vector<LogLine> Find(const String& fragment, int level = 0) const;
    bool Contains(const String& fragment, int level = 0) const { return !Find(fragment, level).empty(); }
    // Whether any line's text contains `fragment` anywhere (for "no password in the log" checks).
    bool AnyTextContains(const String& fragment) const { return Contains(fragment); }
    void Clear();

private:
    class Sink;
    std::shared_ptr<Sink> sink;
    std::shared_ptr<Kyr::System::Commons::Logging::ILogSink> previousSink;
    int previousLevel;
};

} // namespace Kyr::Testing
