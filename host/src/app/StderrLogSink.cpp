#include "app/StderrLogSink.h"

#include <cstdio>

#include "Kyr/System/Commons/DateTime.h"
#include "audit/LogText.h"

namespace Kyr::WbmHost {

namespace {
const char* LevelName(int level) {
    switch (level) {
    case 0: return "EMERG";
    case 1: return "ALERT";
    case 2: return "CRIT";
    case 3: return "ERROR";
    case 4: return "WARN";
    case 5: return "NOTICE";
    default: return "INFO"; // 6 and 7: the module logs its progress at 7
    }
}
} // namespace

void StderrLogSink::Write(int level, const Kyr::String& loggerName, const Kyr::String& text) {
    const Kyr::String line = Kyr::System::Commons::DateTime::GetUtcNow().ToIso8601() + " " +
                             LevelName(level) + " " + loggerName + ": " + OneLine(RedactPasswords(text)) + "\n";
    std::lock_guard<std::mutex> lock(mutex);
    std::fwrite(line.data(), 1, line.size(), stderr);
    std::fflush(stderr);
}

} // namespace Kyr::WbmHost
