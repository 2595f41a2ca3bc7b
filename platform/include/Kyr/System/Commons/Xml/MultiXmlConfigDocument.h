#pragma once
#include "Kyr/System/Commons/Api.h"
#include "Kyr/System/Commons/String.h"
#include "Kyr/System/Commons/Xml/IXmlSerializable.h"

namespace Kyr::System::Commons::Xml {

// An XML configuration document: a document element of a fixed name whose content one
// IXmlSerializable reads.
class KYR_API MultiXmlConfigDocument {
public:
    MultiXmlConfigDocument(String documentElementName, IXmlSerializable& configuration);

    // Opens `path`, checks the document element's name and calls configuration.ReadXml with the
    // reader standing on the document element. A missing file: XmlException "Cannot open XML file
    // '{path}'"; a wrong document element: XmlException "Unexpected document element '{found}',
    // expected '{expected}'" (with the line number).
    void Load(const String& path);

private:
    String documentElementName;
    IXmlSerializable& configuration;
};

} // namespace Kyr::System::Commons::Xml
