#pragma once
#include <string>

namespace Kyr::WbmHost {

// Creates the data directory (owner only) when it is missing, and removes the temporary files that a
// crash may have left behind by an atomic write ("<file>.tmp-<suffix>").
void PrepareDataDirectory(const std::string& directory);

} // namespace Kyr::WbmHost
