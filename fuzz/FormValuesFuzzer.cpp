// Compares the linear location of form values with Boost.Regex's search of the same expression on
// arbitrary bytes: both must agree on whether there is a match, where it starts and on every value.
// The first byte picks the expression: the form functions' own, or short keys that overlap each
// other and the values. Inputs stay short, so that Boost's backtracking stays within its own bound.
#include <boost/regex.hpp>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <iterator>
#include <stdexcept>
#include <vector>

#include "handlers/FormValues.h"

namespace {

using Kyr::String;
using Kyr::Services::Modules::Wbm::Um::Internal::LocateFormValues;

struct Expression {
    std::vector<String> keys;
    boost::regex regex;
};

Expression Make(std::vector<String> keys) {
    String pattern;
    for (const String& key : keys) pattern += "(?:" + key + ")(.+)";
    return Expression{std::move(keys), boost::regex(pattern)};
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const Expression expressions[] = {
        Make({"username=", "&password=", "&confirmPassword="}),
        Make({"username=", "&newPassword=", "&confirmNewPassword="}),
        Make({"username="}),
        Make({"userAthenticationEnabled="}),
        Make({"a=", "&a=", "&b="}),
        Make({"aa", "ab", "a"}),
    };
    if (size == 0 || size > 1024) return 0;
    const Expression& expression = expressions[data[0] % std::size(expressions)];
    const String text(reinterpret_cast<const char*>(data) + 1, size - 1);

    boost::smatch match;
    bool found = false;
    try {
        found = boost::regex_search(text, match, expression.regex);
    } catch (const std::runtime_error&) {
        return 0; // Boost gave up: nothing to compare with
    }
    const auto located = LocateFormValues(text, expression.keys);
    if (found != located.has_value()) std::abort();
    if (!found) return 0;
    if (static_cast<std::size_t>(match.position()) != located->start) std::abort();
    for (std::size_t i = 1; i < match.size(); ++i)
        if (match.str(i) != located->values.at(i - 1)) std::abort();
    return 0;
}
