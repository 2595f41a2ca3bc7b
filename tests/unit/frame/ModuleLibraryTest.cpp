// The library as the host loads it: one entry symbol, one library object, the factory "Um".
#include <gtest/gtest.h>

#include <cstdio>
#include <memory>

#include "FrameSupport.h"
#include "Kyr/System/Commons/Logging/LogManager.h"

namespace {

using Kyr::System::Commons::AppDomain;
using Kyr::System::Commons::Singleton;
using Kyr::System::Commons::Logging::LogManager;
using FrameTests::LoadedModuleLibrary;

TEST(ModuleLibrary, OneObjectAndTheFirstDomainWins) {
    LoadedModuleLibrary& loaded = LoadedModuleLibrary::Get();
    EXPECT_EQ(&Singleton<AppDomain>::GetInstance(), &loaded.hostDomain) << "the host's domain was replaced";
    EXPECT_EQ(LogManager::GetAppDomain(), &loaded.firstCallDomain) << "logging adopts the entry's domain";

    AppDomain later("later");
    EXPECT_EQ(loaded.create(later), loaded.library);
    EXPECT_EQ(&Singleton<AppDomain>::GetInstance(), &loaded.hostDomain);
    EXPECT_EQ(LogManager::GetAppDomain(), &loaded.firstCallDomain);

    EXPECT_EQ(loaded.factory->GetModuleNames(), std::vector<Kyr::String>{"Um"});
    const auto first = loaded.factory->CreateModule("Um");
    EXPECT_TRUE(first && first != loaded.factory->CreateModule("Um")) << "each module is a new object";
}

TEST(ModuleLibrary, ExportsNoSymbolOfItsOwnButTheEntry) {
    const std::string command = "nm -D --defined-only '" + FrameTests::libraryPath + "' | c++filt";
    std::unique_ptr<FILE, int (*)(FILE*)> pipe(popen(command.c_str(), "r"), pclose);
    ASSERT_TRUE(pipe);
    std::string output;
    char buffer[4096];
    while (std::fgets(buffer, sizeof buffer, pipe.get()) != nullptr) output += buffer;
    EXPECT_NE(output.find(" T CreateWbmModuleLibrary\n"), std::string::npos) << output;
    EXPECT_EQ(output.find("Kyr::Services::Modules"), std::string::npos) << output;
}

} // namespace
