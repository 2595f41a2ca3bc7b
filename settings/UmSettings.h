#pragma once
#include <vector>

#include "Kyr/System/Commons/String.h"
#include "Kyr/System/Commons/Xml/IXmlSerializable.h"

namespace Kyr::Services::Modules::Wbm::Um::Internal::Settings {

// The module's settings file, read once at set-up and never written:
//   <UmWbmModuleSettingsDocument>
//     <UmWbmModuleSettings supportedLanguages="en,de" ldapEnabled="true"/>
//   </UmWbmModuleSettingsDocument>
class UmSettings : public Kyr::System::Commons::Xml::IXmlSerializable {
public:
    using XmlReader = Kyr::System::Commons::Xml::XmlReader;
    using XmlWriter = Kyr::System::Commons::Xml::XmlWriter;
    using XmlSerializationContext = Kyr::System::Commons::Xml::XmlSerializationContext;

    static String GetDocumentElementName();

    // Reader stands on the document element. An empty document element keeps the defaults; otherwise
    // a "UmWbmModuleSettings" element with both attributes is required (XmlException), and a later
    // one overrides an earlier one.
    void ReadXml(XmlReader& reader, XmlSerializationContext& context) override;
    // The settings are read-only: writes nothing.
    void WriteXml(XmlWriter& writer, XmlSerializationContext& context) override;

    const std::vector<String>& GetSupportedLanguages() const noexcept { return supportedLanguages; }
    bool IsLdapEnabled() const noexcept { return ldapEnabled; }

private:
    void ReadSettingsElement(XmlReader& reader);

    std::vector<String> supportedLanguages;
    bool ldapEnabled = true;
};

} // namespace Kyr::Services::Modules::Wbm::Um::Internal::Settings
