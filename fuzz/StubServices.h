#pragma once
// Platform services with fixed answers, published in the ServiceManager for as long as the object
// lives, so that the module's handlers run their request functions end to end without a database.
// Every change succeeds; an uploaded LDAP file and the login text are kept, so that reading them
// back returns what was stored.
#include <filesystem>
#include <memory>
#include <vector>

namespace Kyr::Fuzzing {

class StubServices {
public:
    StubServices();
    ~StubServices();
    StubServices(const StubServices&) = delete;
    StubServices& operator=(const StubServices&) = delete;

    // A private folder for the handlers' temporary upload file and the stored LDAP file.
    const std::filesystem::path& Folder() const { return folder; }

private:
    std::filesystem::path folder;
};

} // namespace Kyr::Fuzzing
