// Pages installed gzip-compressed: found under their own names, sent compressed to clients that take
// gzip and inflated for the others.
#include <gtest/gtest.h>
#include <zlib.h>

#include <fstream>

#include "fakes/TempDir.h"
#include "static/Gzip.h"
#include "static/StaticFiles.h"

namespace Kyr::WbmHost {
namespace {

std::string Compressed(const std::string& text) {
    z_stream stream{};
    EXPECT_EQ(deflateInit2(&stream, 9, Z_DEFLATED, 16 + MAX_WBITS, 8, Z_DEFAULT_STRATEGY), Z_OK);
    std::string out(deflateBound(&stream, text.size()) + 32, '\0');
    stream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(text.data()));
    stream.avail_in = static_cast<uInt>(text.size());
    stream.next_out = reinterpret_cast<Bytef*>(out.data());
    stream.avail_out = static_cast<uInt>(out.size());
    EXPECT_EQ(deflate(&stream, Z_FINISH), Z_STREAM_END);
    out.resize(stream.total_out);
    deflateEnd(&stream);
    return out;
}

TEST(CompressedPages, AcceptEncodingIsReadAsHttpSaysWithQualities) {
    const struct {
        const char* header;
        bool accepts;
    } cases[] = {
        {"gzip, deflate, br", true}, {"br;q=1.0, GZIP;q=0.5", true}, {"x-gzip", true}, {" gzip ; q=0.001", true},
        {"", false}, {"identity", false}, {"deflate, br", false}, {"gzip;q=0", false}, {"gzip; q=0.000", false},
        {"gzipped", false}, {"*", false},
    };
    for (const auto& c : cases) EXPECT_EQ(AcceptsGzip(c.header), c.accepts) << "'" << c.header << "'";
}

TEST(CompressedPages, InflatingGivesTheTextBackAndRefusesWhatIsBrokenOrTooLarge) {
    const std::string page = "<!doctype html><title>Login</title>" + std::string(50000, 'x');
    const std::string packed = Compressed(page);
    EXPECT_EQ(Gunzip(packed, 1 << 20), page);
    EXPECT_FALSE(Gunzip(packed.substr(0, packed.size() / 2), 1 << 20)) << "truncated";
    EXPECT_FALSE(Gunzip("not gzip at all", 1 << 20));
    EXPECT_FALSE(Gunzip(packed, 1000)) << "over the limit";
}

TEST(CompressedPages, AFileInstalledCompressedIsFoundUnderItsOwnName) {
    Kyr::Testing::TempDir root;
    std::ofstream(root.Path() / "login.html.gz", std::ios::binary) << Compressed("<p>compressed</p>");
    std::ofstream(root.Path() / "app.js") << "plain();";
    std::ofstream(root.Path() / "app.js.gz", std::ios::binary) << Compressed("stale();");

    auto login = ReadStaticFile(root.Path().string(), "/login.html");
    ASSERT_TRUE(login);
    EXPECT_TRUE(login->gzipped);
    EXPECT_EQ(login->contentType, "text/html; charset=utf-8") << "the type of the page, not of a .gz file";
    EXPECT_EQ(Gunzip(login->content, 1 << 20), "<p>compressed</p>");

    auto script = ReadStaticFile(root.Path().string(), "/app.js");
    ASSERT_TRUE(script);
    EXPECT_FALSE(script->gzipped) << "a file as it is wins over a compressed one";
    EXPECT_EQ(script->content, "plain();");

    EXPECT_FALSE(ReadStaticFile(root.Path().string(), "/../login.html"));
    EXPECT_FALSE(ReadStaticFile(root.Path().string(), "/missing.html"));
}

} // namespace
} // namespace Kyr::WbmHost
