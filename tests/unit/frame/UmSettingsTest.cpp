// The settings document: defaults, the mandatory attributes, language splitting, which element counts.
#include <gtest/gtest.h>

#include "FrameSupport.h"
#include "Kyr/System/Commons/Exceptions.h"
#include "Kyr/System/Commons/Xml/MultiXmlConfigDocument.h"
#include "fakes/Thrown.h"
#include "settings/UmSettings.h"

namespace {

using Kyr::String;
using Kyr::Services::Modules::Wbm::Um::Internal::Settings::UmSettings;

TEST(UmSettings, Cases) {
    const String missing = "GetAttributeValue failed for mandatory attribute: ";
    struct Case { std::string inner; String error; std::vector<String> languages; bool ldapEnabled; };
    const std::vector<Case> cases = {
        {R"(<UmWbmModuleSettings supportedLanguages="en,de" ldapEnabled="false"/>)", "", {"en", "de"}, false},
        {R"(<UmWbmModuleSettings supportedLanguages="" ldapEnabled="0"/>)", "", {""}, false},
        {R"(<UmWbmModuleSettings supportedLanguages=",en, de," ldapEnabled="true"/>)", "", {"", "en", " de", ""}, true},
        {"<UmWbmModuleSettingsDocument/>", "", {}, true},
        // Other elements are skipped with their content; a later settings element wins, even after
        // one with children.
        {R"(<Other><UmWbmModuleSettings supportedLanguages="xx" ldapEnabled="true"/></Other>
            <UmWbmModuleSettings supportedLanguages="en" ldapEnabled="true"><x/></UmWbmModuleSettings>
            <UmWbmModuleSettings supportedLanguages="fr" ldapEnabled="false"/>)",
         "", {"fr"}, false},
        {"<Other/>", "Missing XML element 'UmWbmModuleSettings'", {}, true},
        {R"(<UmWbmModuleSettings ldapEnabled="true"/>)", missing + "supportedLanguages elementName: UmWbmModuleSettings", {}, true},
        {R"(<UmWbmModuleSettings supportedLanguages="en" ldapEnabled="true"/><UmWbmModuleSettings supportedLanguages="de"/>)",
         missing + "ldapEnabled elementName: UmWbmModuleSettings", {"de"}, true},
    };
    for (const auto& c : cases) {
        const FrameTests::SettingsFile file(c.inner);
        UmSettings settings;
        const auto error = Kyr::Testing::Thrown<Kyr::System::Commons::XmlException>(
            [&] { Kyr::System::Commons::Xml::MultiXmlConfigDocument(UmSettings::GetDocumentElementName(), settings).Load(file.path); });
        EXPECT_EQ(error ? error->GetMessage() : "", c.error) << c.inner;
        EXPECT_EQ(settings.GetSupportedLanguages(), c.languages) << c.inner;
        EXPECT_EQ(settings.IsLdapEnabled(), c.ldapEnabled) << c.inner;
    }
}

} // namespace
