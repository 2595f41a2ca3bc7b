#include <utility>

#include "Kyr/System/Commons/Sanitization/Filters.h"

namespace Kyr::System::Commons::Sanitization {

StringFilter::StringFilter(StringFilterKind kind, String name) : FilterBase(std::move(name)), kind(kind) {}

String StringFilter::Filter(const String& input) const {
    if (kind != StringFilterKind::NewLine) return input;
    // Escaping the backslash too keeps the result unambiguous: "\n" in the output always was a LF.
    String output;
    output.reserve(input.size());
    for (char c : input) {
        switch (c) {
        case '\r': output += "\\r"; break;
        case '\n': output += "\\n"; break;
        case '\\': output += "\\\\"; break;
        default: output += c; break;
        }
    }
    return output;
}

} // namespace Kyr::System::Commons::Sanitization
