#include <gtest/gtest.h>

#include <sys/stat.h>
#include <unistd.h>

#include "Kyr/System/Commons/Io/File.h"
#include "Kyr/System/Commons/RscString.h"
#include "fakes/TempDir.h"
#include "fakes/Thrown.h"

using Kyr::String;
using namespace Kyr::System::Commons;
using Kyr::Testing::Thrown;

TEST(SecureStrncpyTest, CopiesUpToCapacityMinusOneAndRefusesMoreOrAZeroWithoutCopying) {
    struct Case { String source; String refusal; }; // no refusal: copied
    const Case cases[] = {
        {"", ""},
        {"xxxxxxx", ""},
        {"xxxxxxxx", "Input string is too long"},
        {String(20, 'x'), "Input string is too long"},
        {String("\\\0x", 3), "Input string contains a zero byte"},
    };
    for (const Case& c : cases) {
        char buffer[8] = "keep me";
        const auto error = Thrown<ArgumentException>([&] { SecureStrncpy(buffer, sizeof buffer, c.source.data(), c.source.size()); });
        EXPECT_EQ(error ? error->GetArgumentName() + ": " + error->what() : "", c.refusal.empty() ? "" : "arg: " + c.refusal);
        EXPECT_EQ(String(buffer), error ? "keep me" : c.source);
        EXPECT_EQ(error ? error->GetValue().find('x') : String::npos, String::npos) << "the refused text may be a password";
    }
}

TEST(FileTest, WritesOwnerOnlyFilesAndNeverThroughASymbolicLink) {
    using Kyr::System::Commons::Io::File;
    const Kyr::Testing::TempDir directory;
    const String target = (directory.Path() / "target").string(), link = (directory.Path() / "link").string();
    ASSERT_EQ(::symlink(target.c_str(), link.c_str()), 0); // points nowhere yet
    EXPECT_THROW(File::WriteAll(link, {'x'}), IoException);
    EXPECT_FALSE(File::Exists(target));
    File::Delete(link);
    struct stat info {};
    EXPECT_NE(::lstat(link.c_str(), &info), 0) << "the link itself is gone";

    File::WriteAll(target, {'a', 'b'});
    ASSERT_EQ(::stat(target.c_str(), &info), 0);
    EXPECT_EQ(info.st_mode & 0777, 0600u);
    EXPECT_EQ(File::ReadAll(target), (std::vector<std::uint8_t>{'a', 'b'}));
    File::Delete(target);
    EXPECT_NO_THROW(File::Delete(target)) << "deleting an absent file is no error";
    EXPECT_THROW(File::ReadAll(target), IoException);
}
