#include "static/StaticFiles.h"

#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <sstream>

namespace Kyr::WbmHost {

namespace fs = std::filesystem;

namespace {
constexpr std::uintmax_t maxStaticFileSize = 16u << 20;

bool SafeRelativePath(const Kyr::String& urlPath) {
    if (urlPath.empty() || urlPath.front() != '/') return false;
    if (urlPath.find('\0') != Kyr::String::npos || urlPath.find('\\') != Kyr::String::npos) return false;
    std::size_t start = 1;
    while (start <= urlPath.size()) {
        std::size_t end = urlPath.find('/', start);
        if (end == Kyr::String::npos) end = urlPath.size();
        const Kyr::String segment = urlPath.substr(start, end - start);
        if (segment.empty() || segment == "." || segment == "..") return false;
        start = end + 1;
    }
    return true;
}
} // namespace

Kyr::String ContentTypeOf(const Kyr::String& path) {
    static const std::map<Kyr::String, Kyr::String> types = {
        {".html", "text/html; charset=utf-8"}, {".css", "text/css; charset=utf-8"},
        {".js", "text/javascript; charset=utf-8"}, {".mjs", "text/javascript; charset=utf-8"},
        {".json", "application/json; charset=utf-8"}, {".svg", "image/svg+xml"},
        {".png", "image/png"}, {".ico", "image/x-icon"}, {".txt", "text/plain; charset=utf-8"},
        {".woff2", "font/woff2"}};
    auto type = types.find(fs::path(path).extension().string());
    return type == types.end() ? "application/octet-stream" : type->second;
}

namespace {
std::optional<StaticFile> ReadOneFile(const Kyr::String& webRoot, const Kyr::String& urlPath) {
    std::error_code error;
    const fs::path root = fs::canonical(webRoot, error);
    if (error) return std::nullopt;
    const fs::path file = fs::canonical(root / fs::path(urlPath.substr(1)), error);
    if (error) return std::nullopt;
    // Links may not lead out of the web root.
    auto [rootEnd, unused] = std::mismatch(root.begin(), root.end(), file.begin(), file.end());
    (void)unused;
    if (rootEnd != root.end()) return std::nullopt;
    if (!fs::is_regular_file(file, error) || error) return std::nullopt;
    if (fs::file_size(file, error) > maxStaticFileSize || error) return std::nullopt;
    std::ifstream stream(file, std::ios::binary);
    if (!stream) return std::nullopt;
    std::ostringstream content;
    content << stream.rdbuf();
    return StaticFile{content.str(), ContentTypeOf(file.string()), false};
}
} // namespace

std::optional<StaticFile> ReadStaticFile(const Kyr::String& webRoot, const Kyr::String& urlPath) {
    if (!SafeRelativePath(urlPath)) return std::nullopt;
    if (auto plain = ReadOneFile(webRoot, urlPath)) return plain;
    auto compressed = ReadOneFile(webRoot, urlPath + ".gz");
    if (!compressed) return std::nullopt;
    compressed->contentType = ContentTypeOf(urlPath);
    compressed->gzipped = true;
    return compressed;
}

} // namespace Kyr::WbmHost
