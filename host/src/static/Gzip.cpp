#include "static/Gzip.h"

#include <zlib.h>

#include <algorithm>
#include <cctype>

namespace Kyr::WbmHost {

namespace {
std::string Trimmed(const std::string& text) {
    const auto first = text.find_first_not_of(" \t");
    if (first == std::string::npos) return {};
    return text.substr(first, text.find_last_not_of(" \t") - first + 1);
}

std::string Lowered(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(), [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return text;
}

// "q=0", "q=0.0", "q=0.000": refused.
bool RefusedByQuality(const std::string& parameters) {
    std::size_t start = 0;
    while (start < parameters.size()) {
        std::size_t end = parameters.find(';', start);
        if (end == std::string::npos) end = parameters.size();
        const std::string parameter = Lowered(Trimmed(parameters.substr(start, end - start)));
        if (parameter.rfind("q=", 0) == 0) {
            const std::string value = parameter.substr(2);
            return !value.empty() && value[0] == '0' && value.find_first_not_of("0.", 1) == std::string::npos;
        }
        start = end + 1;
    }
    return false;
}
} // namespace

bool AcceptsGzip(const std::string& acceptEncoding) {
    std::size_t start = 0;
    while (start < acceptEncoding.size()) {
        std::size_t end = acceptEncoding.find(',', start);
        if (end == std::string::npos) end = acceptEncoding.size();
        const std::string item = acceptEncoding.substr(start, end - start);
        const std::size_t semicolon = item.find(';');
        const std::string coding = Lowered(Trimmed(item.substr(0, semicolon)));
        if ((coding == "gzip" || coding == "x-gzip") &&
            !RefusedByQuality(semicolon == std::string::npos ? std::string() : item.substr(semicolon + 1)))
            return true;
        start = end + 1;
    }
    return false;
}

std::optional<std::string> Gunzip(const std::string& compressed, std::size_t limit) {
    z_stream stream{};
    if (inflateInit2(&stream, 16 + MAX_WBITS) != Z_OK) return std::nullopt; // 16: the gzip wrapper
    stream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(compressed.data()));
    stream.avail_in = static_cast<uInt>(compressed.size());
    std::string out;
    int result = Z_OK;
    while (result == Z_OK) {
        char chunk[16384];
        stream.next_out = reinterpret_cast<Bytef*>(chunk);
        stream.avail_out = sizeof chunk;
        result = inflate(&stream, Z_NO_FLUSH);
        out.append(chunk, sizeof chunk - stream.avail_out);
        if (out.size() > limit) result = Z_MEM_ERROR;
        if (result == Z_BUF_ERROR && stream.avail_in == 0) break; // truncated
    }
    inflateEnd(&stream);
    if (result != Z_STREAM_END) return std::nullopt;
    return out;
}

} // namespace Kyr::WbmHost
