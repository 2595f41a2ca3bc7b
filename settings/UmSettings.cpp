#include "settings/UmSettings.h"

#include <boost/algorithm/string/classification.hpp>
#include <boost/algorithm/string/split.hpp>

#include "Kyr/System/Commons/Exceptions.h"
#include "Kyr/System/Commons/Format.h"
#include "Kyr/System/Commons/Xml/XmlReader.h"

namespace Kyr::Services::Modules::Wbm::Um::Internal::Settings {

using Kyr::System::Commons::SafeFormat;
using Kyr::System::Commons::XmlException;

namespace {
constexpr const char* documentElementName = "UmWbmModuleSettingsDocument";
constexpr const char* settingsElementName = "UmWbmModuleSettings";
constexpr const char* supportedLanguagesAttribute = "supportedLanguages";
constexpr const char* ldapEnabledAttribute = "ldapEnabled";
constexpr const char* missingAttributeTemplate = "GetAttributeValue failed for mandatory attribute: {0} elementName: {1}";
} // namespace

String UmSettings::GetDocumentElementName() { return documentElementName; }

void UmSettings::ReadXml(XmlReader& reader, XmlSerializationContext& /*context*/) {
    if (reader.IsEmptyElement()) return;
    bool settingsRead = false;
    while (reader.TryReadStartElement()) {
        if (reader.GetElementLocalName() != settingsElementName) {
            reader.ReadEndElement();
            continue;
        }
        ReadSettingsElement(reader);
        // Anything inside the settings element is not ours; continue after its end tag.
        reader.ReadEndElement();
        settingsRead = true;
    }
    if (!settingsRead)
        throw XmlException(SafeFormat("Missing XML element '{0}'", settingsElementName), reader.GetLineNumber());
}

void UmSettings::ReadSettingsElement(XmlReader& reader) {
    const String elementName = reader.GetElementLocalName();
    String languages;
    if (!reader.TryGetAttributeValue<String>(supportedLanguagesAttribute, languages))
        throw XmlException(SafeFormat(missingAttributeTemplate, supportedLanguagesAttribute, elementName),
                           reader.GetLineNumber());
    // Every comma separates; empty codes are kept as they are.
    std::vector<String> codes;
    boost::algorithm::split(codes, languages, boost::algorithm::is_any_of(","));
    supportedLanguages = std::move(codes);

    bool enabled = true;
    if (!reader.TryGetAttributeValue<bool>(ldapEnabledAttribute, enabled))
        throw XmlException(SafeFormat(missingAttributeTemplate, ldapEnabledAttribute, elementName), reader.GetLineNumber());
    ldapEnabled = enabled;
}

void UmSettings::WriteXml(XmlWriter& /*writer*/, XmlSerializationContext& /*context*/) {}

} // namespace Kyr::Services::Modules::Wbm::Um::Internal::Settings
