#pragma once
// The names of the users with a second factor, kept in memory: the host asks with every request of
// a session whether it is held to the enrolment, and that must not wait for the database. Loaded at
// start, and told of every committed change (enrolment, removal, a local user added or removed).
// Thread-safe.
#include <mutex>
#include <set>
#include <string>
#include <vector>

namespace Kyr::PlatformServices {

class SecondFactorIndex {
public:
    void Load(const std::vector<std::string>& names);
    void Add(const std::string& name);
    void Forget(const std::string& name);
    bool Contains(const std::string& name) const;
    std::vector<std::string> Names() const; // ordered

private:
    mutable std::mutex mutex;
    std::set<std::string> names;
};

} // namespace Kyr::PlatformServices
