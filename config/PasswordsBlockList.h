#pragma once
#include <vector>

#include <rapidjson/document.h>

#include "Kyr/System/Commons/Logging/Loggable.h"
#include "Kyr/System/Commons/RscString.h"
#include "Kyr/System/Commons/String.h"

namespace Kyr::Services::Modules::Wbm::Um::Internal::Config {

// The passwords users may not choose, in the order given; duplicates are kept.
class PasswordsBlockList : public Kyr::System::Commons::Logging::Loggable<PasswordsBlockList> {
public:
    // The list as the configuration service keeps it.
    using RscEntries = std::vector<Kyr::System::Rsc::RscString<128>>;

    PasswordsBlockList() = default;
    // Each entry up to its terminating zero, order kept.
    explicit PasswordsBlockList(const RscEntries& rscEntries);

    // The entries for the service. An entry over 127 bytes throws ArgumentException
    // "Input string is too long".
    RscEntries ToRscEntries() const;

    // Writes "passwordsBlockList": the entries as an array of strings.
    void ToJson(rapidjson::Document& document, rapidjson::Value& value) const;
    // Replaces the entries with those of the request body; on failure they stay as they were.
    bool ParseJson(const String& json);

private:
    std::vector<String> entries;
};

} // namespace Kyr::Services::Modules::Wbm::Um::Internal::Config
