// What the search of a form body costs, on bodies made for a backtracking search of the form
// expressions, up to the 64 KiB the host lets through: it must grow linearly with the body.
#include <benchmark/benchmark.h>

#include <string>

#include "Kyr/System/Commons/Singleton.h"
#include "Kyr/System/Nm/Notifications.h"
#include "handlers/UmHandler.h"
#include "notifications/SecurityNotifications.h"

namespace {

using Kyr::Services::Modules::Wbm::Um::Internal::SecurityNotifications;
using Kyr::Services::Modules::Wbm::Um::Internal::UmHandler;

std::string Repeated(const std::string& part, std::size_t bytes) {
    std::string text;
    while (text.size() + part.size() <= bytes) text += part;
    return text;
}

// Neither body reaches a service: the first never matches, the second has passwords that differ.
void AddUserSearch(benchmark::State& state, const std::string& head, const std::string& part) {
    // Where the invalid-request notifications go (nobody subscribes).
    Kyr::System::Commons::Singleton<Kyr::System::Nm::NotificationManager>::CreateInstance();
    Kyr::System::Commons::Singleton<SecurityNotifications>::CreateInstance();
    const UmHandler handler;
    const auto bytes = static_cast<std::size_t>(state.range(0));
    const UmHandler::WbmRequest request("AddUser", {}, Kyr::Services::Commons::Wbm::Messages::RequestData(head + Repeated(part, bytes)), {});
    for (auto _ : state) benchmark::DoNotOptimize(handler.AddUser(request));
    state.SetComplexityN(state.range(0));
    Kyr::System::Commons::Singleton<SecurityNotifications>::DestroyInstance();
    Kyr::System::Commons::Singleton<Kyr::System::Nm::NotificationManager>::DestroyInstance();
}

void AddUserWithoutMatch(benchmark::State& state) { AddUserSearch(state, "", "username=&password="); }
void AddUserWithLongConfirmation(benchmark::State& state) {
    AddUserSearch(state, "username=u&password=p&confirmPassword=p", "&password=x");
}
BENCHMARK(AddUserWithoutMatch)->RangeMultiplier(4)->Range(1024, 64 * 1024)->Complexity(benchmark::oN);
BENCHMARK(AddUserWithLongConfirmation)->RangeMultiplier(4)->Range(1024, 64 * 1024)->Complexity(benchmark::oN);

} // namespace
