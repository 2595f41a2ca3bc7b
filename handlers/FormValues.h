#pragma once
// Where the values of a form body lie, as the form functions' expressions
// "(?:key1)(.+)(?:key2)(.+)...(?:keyN)(.+)" find them, in one pass linear in the body's length.
// A backtracking search of such an expression costs up to the cube of the length on bodies made for
// it (many keys, no match); this finds the same place and the same values without backtracking:
// the first key at its first occurrence, every later key at the last occurrence that still leaves
// at least one byte for each value after it, and the last value running to the end of the body.
#include <cstddef>
#include <optional>
#include <vector>

#include "Kyr/System/Commons/String.h"

namespace Kyr::Services::Modules::Wbm::Um::Internal {

struct FormValues {
    std::size_t start = 0;      // where the first key stands
    std::vector<String> values; // one per key, each at least one byte
};

// Nothing when the expression made of `keys` has no match in `body` (keys in the order of the expression).
std::optional<FormValues> LocateFormValues(const String& body, const std::vector<String>& keys);

} // namespace Kyr::Services::Modules::Wbm::Um::Internal
