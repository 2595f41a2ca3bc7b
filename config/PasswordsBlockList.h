#pragma once
#include <utility>
#include <vector>

#include <rapidjson/document.h>

#include "Kyr/System/Commons/Logging/Loggable.h"
#include "Kyr/System/Commons/String.h"

namespace Kyr::Services::Modules::Wbm::Um::Internal::Config {

// The passwords users may not choose, in the order given; duplicates are kept.
class PasswordsBlockList : public Kyr::System::Commons::Logging::Loggable<PasswordsBlockList> {
public:
    PasswordsBlockList() = default;
    explicit PasswordsBlockList(std::vector<String> entries) : entries(std::move(entries)) {}

    // Writes "passwordsBlockList": the entries as an array of strings.
    void ToJson(rapidjson::Document& document, rapidjson::Value& value) const;
    // Replaces the entries with those of the request body; on failure they stay as they were.
    bool ParseJson(const String& json);

    const std::vector<String>& GetEntries() const noexcept { return entries; }

private:
    std::vector<String> entries;
};

} // namespace Kyr::Services::Modules::Wbm::Um::Internal::Config
