#pragma once
// Files that are either wholly old or wholly new after a crash: the content goes to a temporary
// file beside the target, is flushed to disk, renamed over the target, and the folder is flushed.
// Results are errno values (0 on success) so that callers can map them to their own error codes.
#include <cstdint>
#include <string>
#include <vector>

namespace Kyr::PlatformServices {

int WriteFileAtomically(const std::string& path, const std::string& content);
// Reads the whole file; at most `maxBytes` (EFBIG when larger).
int ReadWholeFile(const std::string& path, std::string& content, std::size_t maxBytes);
// Appends one chunk and flushes it to disk.
int AppendToFile(const std::string& path, const std::string& content);

} // namespace Kyr::PlatformServices
