#include "handlers/FormValues.h"

namespace Kyr::Services::Modules::Wbm::Um::Internal {

std::optional<FormValues> LocateFormValues(const String& body, const std::vector<String>& keys) {
    if (keys.empty()) return std::nullopt;
    std::vector<std::size_t> at(keys.size());
    // From the last key back to the second: the last occurrence that ends at least one byte before
    // `end`, the place of the key after it (or the end of the body). A greedy value takes the most it
    // can, and any earlier occurrence of the keys after it would leave less.
    std::size_t end = body.size();
    for (std::size_t i = keys.size(); i-- > 1;) {
        if (end < keys[i].size() + 1) return std::nullopt;
        const std::size_t found = body.rfind(keys[i], end - keys[i].size() - 1);
        if (found == String::npos) return std::nullopt;
        at[i] = found;
        end = found;
    }
    // The search takes the leftmost start; when the first occurrence of the first key leaves no room
    // before the second key, no later occurrence does either.
    const std::size_t first = body.find(keys[0]);
    if (first == String::npos || first + keys[0].size() + 1 > end) return std::nullopt;
    at[0] = first;

    FormValues located;
    located.start = first;
    for (std::size_t i = 0; i < keys.size(); ++i) {
        const std::size_t valueStart = at[i] + keys[i].size();
        const std::size_t valueEnd = i + 1 < keys.size() ? at[i + 1] : body.size();
        located.values.push_back(body.substr(valueStart, valueEnd - valueStart));
    }
    return located;
}

} // namespace Kyr::Services::Modules::Wbm::Um::Internal
