#pragma once
#include "Sqlite.h"

namespace Kyr::PlatformServices {

// Names of the built-in roles.
inline constexpr const char* AdminRole = "Admin";
inline constexpr const char* UnauthenticatedRole = "Unauthenticated";

// Creates the tables on first start and fills them with the defaults. Returns true when the
// database was new (no schema yet). Idempotent: an existing database is left as it is.
bool CreateSchema(Database& database);

} // namespace Kyr::PlatformServices
