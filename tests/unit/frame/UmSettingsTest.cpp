// The settings document: defaults, the mandatory attributes, language splitting, which element counts.
#include <gtest/gtest.h>

#include "Kyr/System/Commons/Exceptions.h"
#include "Kyr/System/Commons/Xml/MultiXmlConfigDocument.h"
#include "TempFile.h"
#include "settings/UmSettings.h"

namespace {

using Kyr::String;
using Kyr::Services::Modules::Wbm::Um::Internal::Settings::UmSettings;

// Loads `file` and returns the XmlException's message, "" when it loaded.
String Load(const std::string& file, UmSettings& settings) {
    FrameTests::TempFile temp(file);
    Kyr::System::Commons::Xml::MultiXmlConfigDocument document(UmSettings::GetDocumentElementName(), settings);
    try {
        document.Load(temp.Path());
    } catch (const Kyr::System::Commons::XmlException& error) {
        return error.GetMessage();
    }
    return "";
}

TEST(UmSettings, Cases) {
    const String missing = "GetAttributeValue failed for mandatory attribute: ";
    struct Case {
        std::string file;
        String error;
        std::vector<String> languages;
        bool ldapEnabled;
    };
    const auto doc = FrameTests::SettingsDocument;
    const std::vector<Case> cases = {
        {doc(R"(<UmWbmModuleSettings supportedLanguages="en,de" ldapEnabled="false"/>)"), "", {"en", "de"}, false},
        {doc(R"(<UmWbmModuleSettings supportedLanguages="" ldapEnabled="0"/>)"), "", {""}, false},
        {doc(R"(<UmWbmModuleSettings supportedLanguages=",en, de," ldapEnabled="true"/>)"), "", {"", "en", " de", ""}, true},
        {"<UmWbmModuleSettingsDocument/>", "", {}, true},
        // Other elements are skipped with their content; a later settings element wins, even after
        // one with children.
        {doc(R"(<Other><UmWbmModuleSettings supportedLanguages="xx" ldapEnabled="true"/></Other>
                <UmWbmModuleSettings supportedLanguages="en" ldapEnabled="true"><x/></UmWbmModuleSettings>
                <UmWbmModuleSettings supportedLanguages="fr" ldapEnabled="false"/>)"),
         "", {"fr"}, false},
        {doc("<Other/>"), "Missing XML element 'UmWbmModuleSettings'", {}, true},
        {doc(R"(<UmWbmModuleSettings ldapEnabled="true"/>)"),
         missing + "supportedLanguages elementName: UmWbmModuleSettings", {}, true},
        {doc(R"(<UmWbmModuleSettings supportedLanguages="en" ldapEnabled="true"/><UmWbmModuleSettings supportedLanguages="de"/>)"),
         missing + "ldapEnabled elementName: UmWbmModuleSettings", {"de"}, true},
    };
    for (const auto& c : cases) {
        UmSettings settings;
        EXPECT_EQ(Load(c.file, settings), c.error) << c.file;
        EXPECT_EQ(settings.GetSupportedLanguages(), c.languages) << c.file;
        EXPECT_EQ(settings.IsLdapEnabled(), c.ldapEnabled) << c.file;
    }
}

} // namespace
