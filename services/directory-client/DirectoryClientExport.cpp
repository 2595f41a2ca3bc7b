// The entry point that the services look up after loading this library.
#include <ldap.h>

#include "DirectoryClient.h"
#include "DirectoryConnection.h"
#include "DirectoryConversation.h"
#include "Kyr/System/Commons/Api.h"

namespace Kyr::PlatformServices {

namespace {
bool IsValidDn(const std::string& dn) {
    LDAPDN parsed = nullptr;
    if (dn.empty() || ldap_str2dn(dn.c_str(), &parsed, LDAP_DN_FORMAT_LDAPV3) != LDAP_SUCCESS) return false;
    ldap_dnfree(parsed);
    return true;
}

bool IsValidServerUri(const std::string& uri) {
    LDAPURLDesc* url = nullptr;
    bool valid = ldap_url_parse(uri.c_str(), &url) == LDAP_URL_SUCCESS;
    if (valid) {
        const std::string scheme = url->lud_scheme ? url->lud_scheme : "";
        valid = (scheme == "ldap" || scheme == "ldaps") && url->lud_host && *url->lud_host &&
                (!url->lud_dn || !*url->lud_dn) && !url->lud_attrs && !url->lud_filter && !url->lud_exts;
    }
    if (url) ldap_free_urldesc(url);
    return valid;
}

constexpr DirectoryClientFunctions Functions{&Converse, &IsValidDn, &IsValidServerUri, &EscapeFilterValue};
} // namespace

} // namespace Kyr::PlatformServices

extern "C" KYR_API const Kyr::PlatformServices::DirectoryClientFunctions* KyrDirectoryClientFunctions() {
    return &Kyr::PlatformServices::Functions;
}
