#include <fstream>

#include "AtomicFile.h"
#include "Sqlite.h"
#include "ServicesTestSupport.h"

namespace Kyr::Testing {
namespace {

using Kyr::System::Commons::Io::FileSystemError;
namespace Svc = Kyr::System::Commons::Services;

struct Files : ServicesTest {
    std::shared_ptr<Svc::ISystemUseNotificationService> LoginText() {
        return ServiceManager::GetService<Svc::ISystemUseNotificationService, Svc::SystemUseNotificationServiceProxyFactory>();
    }
};

TEST_F(Files, AtomicWriteReplacesWholeAndLeavesNoTemporaryFile) {
    std::string path = directory + "/file";
    ASSERT_EQ(Ps::WriteFileAtomically(path, "first version, longer"), 0);
    ASSERT_EQ(Ps::WriteFileAtomically(path, "second"), 0);
    EXPECT_EQ(ReadFileText(path), "second");
    for (const auto& entry : std::filesystem::directory_iterator(directory))
        EXPECT_EQ(entry.path().filename().string().find(".tmp"), std::string::npos) << entry.path();
    EXPECT_EQ(Ps::WriteFileAtomically(directory + "/missing/file", "x"), ENOENT);
}

// An administrator reading the start-up error must learn which file is damaged.
TEST_F(Files, ADamagedDatabaseIsNamedWhenOpened) {
    const std::string path = directory + "/damaged.db";
    std::ofstream(path) << std::string(100, 'x');
    try {
        Ps::Database damaged(path);
        ADD_FAILURE() << "a damaged database opened";
    } catch (const Ps::DatabaseError& error) {
        EXPECT_EQ(std::string(error.what()), "Cannot open database " + path + ": SQL failed: file is not a database");
    }
}

TEST_F(Files, LoginTextRoundTripsBytesAndIsEmptyAtFirst) {
    std::vector<std::uint8_t> text;
    ASSERT_EQ(LoginText()->ReadNotification(text), FileSystemError::Success);
    EXPECT_TRUE(text.empty());
    std::vector<std::uint8_t> written = {'H', 'i', '\r', '\n', 0xC3, 0xA4, '<', '&'};
    ASSERT_EQ(LoginText()->WriteNotification(written), FileSystemError::Success);
    Open();
    ASSERT_EQ(LoginText()->ReadNotification(text), FileSystemError::Success);
    EXPECT_EQ(text, written);
    EXPECT_EQ(LoginText()->WriteNotification(std::vector<std::uint8_t>(64 * 1024 + 1, 'x')), FileSystemError::TooLarge);
}

TEST_F(Files, LoginTextErrorsMapToFileSystemErrors) {
    std::filesystem::create_directory(directory + "/login-text"); // a folder where the file should be
    std::vector<std::uint8_t> text;
    EXPECT_NE(LoginText()->ReadNotification(text), FileSystemError::Success);
    EXPECT_NE(LoginText()->WriteNotification({'x'}), FileSystemError::Success);
}

TEST_F(Files, TrustStoresAreTheFoldersSorted) {
    namespace Ssm = Kyr::Services::SecurityStoreManager;
    auto stores = ServiceManager::GetService<Ssm::ITrustStoreManagementService, Ssm::TrustStoreManagementServiceProxyFactory>();
    for (const char* name : {"zeta", "Alpha", "mid", ".hidden"})
        std::filesystem::create_directories(directory + "/truststores/" + name);
    std::ofstream(directory + "/truststores/file-not-store") << "x";
    std::vector<std::string> names;
    for (const auto& name : stores->GetTrustStoreNames()) names.push_back(name.ToString());
    EXPECT_EQ(names, (std::vector<std::string>{"Alpha", "mid", "zeta"}));
}

// The files in it are checked by WebServerTest.cpp, the absence of passwords by AuditSecretsTest.cpp.
TEST_F(Files, DataDirectoryIsPrivate) {
    auto permissions = std::filesystem::status(directory).permissions();
    EXPECT_EQ(permissions & (std::filesystem::perms::group_all | std::filesystem::perms::others_all),
              std::filesystem::perms::none);
}

} // namespace
} // namespace Kyr::Testing
