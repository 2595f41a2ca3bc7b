#pragma once
// Runs `action` and hands back a copy of the exception of type E that it threw, or nothing when it
// threw none (exceptions of other types pass on), so that a test checks the exception's fields
// with plain assertions instead of a try block of its own.
#include <optional>
#include <utility>

namespace Kyr::Testing {

template <class E, class Action>
std::optional<E> Thrown(Action&& action) {
    try {
        std::forward<Action>(action)();
    } catch (const E& error) {
        return error;
    }
    return std::nullopt;
}

} // namespace Kyr::Testing
