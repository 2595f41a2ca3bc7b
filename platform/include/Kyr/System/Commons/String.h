#pragma once
#include <string>
#include <vector>

namespace Kyr {
// The platform's string: UTF-8 bytes, compared byte for byte.
template <class TChar>
using BasicString = std::basic_string<TChar>;
using String = BasicString<char>;
} // namespace Kyr
