#include <gtest/gtest.h>

#include "Kyr/Services/Commons/Wbm/Modules/WbmModuleLibrary.h"

using Kyr::String;
using namespace Kyr::Services::Commons::Wbm::Modules;
using Kyr::System::Commons::ArgumentException;

namespace {
struct DummyModule : IWbmModule {
    void SetupModule(const ModuleInfo&, IWbmModuleHandler&) override {}
    void ResetModule(IWbmModuleHandler&) override {}
};
WbmModuleFactory::FactoryFunction MakeDummy() { return [] { return std::make_unique<DummyModule>(); }; }
} // namespace

TEST(ModuleFactoryTest, ChecksNameThenFunctionThenDuplicate) {
    struct Case {
        String name;
        bool withFunction;
        String expected; // argument: message
    };
    const Case cases[] = {
        {"", false, "moduleName: Invalid module name"},
        {"Um", false, "function: Invalid factory function."}, // before the duplicate search
        {"Um", true, "moduleName: Duplicate module name"},
    };
    for (const Case& c : cases) {
        WbmModuleFactory factory;
        factory.AddFactoryFunction("Um", MakeDummy());
        try {
            factory.AddFactoryFunction(c.name, c.withFunction ? MakeDummy() : nullptr);
            ADD_FAILURE() << c.expected;
        } catch (const ArgumentException& error) {
            EXPECT_EQ(error.GetArgumentName() + ": " + error.what(), c.expected);
        }
        EXPECT_EQ(factory.GetModuleNames(), std::vector<String>{"Um"}) << c.expected << ": list unchanged";
    }
}

TEST(ModuleFactoryTest, NamesAreCaseSensitiveAndEachCreationIsANewModule) {
    WbmModuleFactory factory;
    factory.AddFactoryFunction("Um", MakeDummy());
    factory.AddFactoryFunction("um", MakeDummy());
    auto first = factory.CreateModule("Um");
    ASSERT_NE(first, nullptr);
    EXPECT_NE(first, factory.CreateModule("Um"));
    EXPECT_EQ(factory.CreateModule("UM"), nullptr);
}
