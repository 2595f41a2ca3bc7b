#pragma once
#include <cstddef>

#include "Kyr/System/Commons/String.h"

namespace Kyr::WbmHost {

// `text` on one line: control characters (line breaks included) become \n, \r, \t or \xHH, so that a
// client cannot forge log lines; longer texts are cut at `maxLength` bytes and marked with "...".
Kyr::String OneLine(const Kyr::String& text, std::size_t maxLength = 4096);

// Hides the values of password fields in request texts that may end up in a log: form fields
// ("newPassword=...") and JSON members ("password": "...") whose name contains "password" in any case.
Kyr::String RedactPasswords(const Kyr::String& text);

} // namespace Kyr::WbmHost
