#include <gtest/gtest.h>

#include "Kyr/Services/Commons/Wbm/Modules/WbmModuleLibrary.h"

using Kyr::String;
using Kyr::Services::Commons::Wbm::Modules::IWbmModule;
using Kyr::Services::Commons::Wbm::Modules::WbmModuleFactory;
using Kyr::System::Commons::ArgumentException;

namespace {
struct DummyModule : IWbmModule {
    void SetupModule(const Kyr::Services::Commons::Wbm::Modules::ModuleInfo&,
                     Kyr::Services::Commons::Wbm::Modules::IWbmModuleHandler&) override {}
    void ResetModule(Kyr::Services::Commons::Wbm::Modules::IWbmModuleHandler&) override {}
};
WbmModuleFactory::FactoryFunction MakeDummy() { return [] { return std::make_unique<DummyModule>(); }; }
} // namespace

TEST(ModuleFactoryTest, ChecksNameThenFunctionThenDuplicate) {
    struct Case {
        const char* title;
        String name;
        bool withFunction;
        const char* argument;
        const char* message;
    };
    const Case cases[] = {
        {"empty name wins over empty function", "", false, "moduleName", "Invalid module name"},
        {"empty function wins over duplicate", "Um", false, "function", "Invalid factory function."},
        {"duplicate", "Um", true, "moduleName", "Duplicate module name"},
    };
    for (const Case& c : cases) {
        WbmModuleFactory factory;
        factory.AddFactoryFunction("Um", MakeDummy());
        try {
            factory.AddFactoryFunction(c.name, c.withFunction ? MakeDummy() : nullptr);
            ADD_FAILURE() << c.title;
        } catch (const ArgumentException& error) {
            EXPECT_EQ(error.GetArgumentName(), c.argument) << c.title;
            EXPECT_STREQ(error.what(), c.message) << c.title;
        }
        EXPECT_EQ(factory.GetModuleNames(), std::vector<String>{"Um"}) << c.title << ": list unchanged";
    }
}

TEST(ModuleFactoryTest, NamesAreCaseSensitiveAndEachCreationIsANewModule) {
    WbmModuleFactory factory;
    factory.AddFactoryFunction("Um", MakeDummy());
    factory.AddFactoryFunction("um", MakeDummy());
    EXPECT_EQ(factory.GetModuleNames(), (std::vector<String>{"Um", "um"}));
    auto first = factory.CreateModule("Um");
    auto second = factory.CreateModule("Um");
    ASSERT_NE(first, nullptr);
    EXPECT_NE(first.get(), second.get());
    EXPECT_EQ(factory.CreateModule("UM"), nullptr);
}
