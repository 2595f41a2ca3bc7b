#include <gtest/gtest.h>

#include "Kyr/Services/Commons/Wbm/Modules/WbmModuleLibrary.h"
#include "fakes/Thrown.h"

using Kyr::String;
using namespace Kyr::Services::Commons::Wbm::Modules;
using Kyr::System::Commons::ArgumentException;
using Kyr::Testing::Thrown;

namespace {
struct DummyModule : IWbmModule {
    void SetupModule(const ModuleInfo&, IWbmModuleHandler&) override {}
    void ResetModule(IWbmModuleHandler&) override {}
};
WbmModuleFactory::FactoryFunction MakeDummy() { return [] { return std::make_unique<DummyModule>(); }; }
} // namespace

TEST(ModuleFactoryTest, ChecksNameThenFunctionThenDuplicate) {
    struct Case { String name; bool withFunction; String expected; }; // expected: "argument: message", or empty when added
    const Case cases[] = {
        {"", false, "moduleName: Invalid module name"},
        {"Um", false, "function: Invalid factory function."}, // before the duplicate search
        {"Um", true, "moduleName: Duplicate module name"},
        {"um", true, ""}, // names are case-sensitive
    };
    for (const Case& c : cases) {
        WbmModuleFactory factory;
        factory.AddFactoryFunction("Um", MakeDummy());
        const auto error = Thrown<ArgumentException>([&] { factory.AddFactoryFunction(c.name, c.withFunction ? MakeDummy() : nullptr); });
        EXPECT_EQ(error ? error->GetArgumentName() + ": " + error->what() : "", c.expected);
        EXPECT_EQ(factory.GetModuleNames().size(), c.expected.empty() ? 2u : 1u) << c.expected;
        EXPECT_EQ(factory.CreateModule(c.name) != nullptr, c.expected.empty() || c.name == "Um") << c.expected;
    }
}
