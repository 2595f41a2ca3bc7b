#pragma once
#include <optional>

#include "Kyr/System/Commons/String.h"

namespace Kyr::WbmHost {

struct StaticFile {
    Kyr::String content;
    Kyr::String contentType; // of the file's own content, compressed or not
    bool gzipped = false;    // `content` is the gzip-compressed file
};

// The regular file `urlPath` (already URL-decoded, starting with "/") below `webRoot`, or its
// compressed form `urlPath.gz` where only that is installed. Nothing for paths with empty, "." or ".."
// segments, backslashes or NUL bytes, for directories, for files that resolve (through links) outside
// the web root, and for files that cannot be read.
std::optional<StaticFile> ReadStaticFile(const Kyr::String& webRoot, const Kyr::String& urlPath);

Kyr::String ContentTypeOf(const Kyr::String& path);

} // namespace Kyr::WbmHost
