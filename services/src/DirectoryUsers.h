#pragma once
// The roles of the directory users, as their last login mapped them. Kept in memory only: the
// directory is asked again at every login, and a restart forgets them with the sessions.
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

namespace Kyr::PlatformServices {

class DirectoryUsers {
public:
    void Set(const std::string& name, std::vector<std::string> roles) {
        std::lock_guard<std::mutex> lock(mutex);
        users[name] = std::move(roles);
    }
    void Remove(const std::string& name) {
        std::lock_guard<std::mutex> lock(mutex);
        users.erase(name);
    }
    void Clear() {
        std::lock_guard<std::mutex> lock(mutex);
        users.clear();
    }
    std::optional<std::vector<std::string>> RolesOf(const std::string& name) const {
        std::lock_guard<std::mutex> lock(mutex);
        auto found = users.find(name);
        if (found == users.end()) return std::nullopt;
        return found->second;
    }

private:
    mutable std::mutex mutex;
    std::map<std::string, std::vector<std::string>> users;
};

} // namespace Kyr::PlatformServices
