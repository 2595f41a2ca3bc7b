// Feeds arbitrary bytes, as an uploaded LDAP configuration file, to the services' parser and
// validation of that file and to the masking of its bind password. Nothing may crash, hang or throw;
// exactly one of a configuration and a fault; the masked file shows the accepted bind password
// fewer times than the file did.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>

#include "DirectoryConfig.h"

namespace {
std::size_t Occurrences(const std::string& text, const std::string& part) {
    std::size_t count = 0;
    for (std::size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + part.size())) ++count;
    return count;
}
} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace Kyr::PlatformServices;
    const std::string text(reinterpret_cast<const char*>(data), size);
    DirectoryConfigContext context;
    context.trustStoreExists = [](const std::string& name) { return name == "ca"; };
    context.roleExists = [](const std::string& role) { return role == "Admin" || role == "Viewer"; };
    context.storedBindPassword = std::string("stored-secret");
    const auto [config, error] = ParseDirectoryConfig(text, context);
    if (config.has_value() == error.has_value()) std::abort();
    // The password's own line loses it; the same text elsewhere in the file (a comment) stays.
    const std::string masked = MaskDirectoryConfig(text);
    // (Not when the file held the mask and the stored password took its place: that one may stand
    // anywhere else in the file.)
    if (config && !config->bindPassword.empty() && config->bindPassword.find('*') == std::string::npos &&
        config->bindPassword != *context.storedBindPassword &&
        Occurrences(text, config->bindPassword) > 0 &&
        Occurrences(masked, config->bindPassword) >= Occurrences(text, config->bindPassword))
        std::abort();
    return 0;
}
