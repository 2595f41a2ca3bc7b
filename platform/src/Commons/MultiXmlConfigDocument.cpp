#include "Kyr/System/Commons/Xml/MultiXmlConfigDocument.h"

#include <utility>

#include "Kyr/System/Commons/Exceptions.h"
#include "Kyr/System/Commons/Format.h"
#include "Kyr/System/Commons/Io/File.h"
#include "Kyr/System/Commons/Xml/XmlReader.h"

namespace Kyr::System::Commons::Xml {

MultiXmlConfigDocument::MultiXmlConfigDocument(String documentElementName, IXmlSerializable& configuration)
    : documentElementName(std::move(documentElementName)), configuration(configuration) {}

void MultiXmlConfigDocument::Load(const String& path) {
    if (!Io::File::Exists(path)) throw XmlException(SafeFormat("Cannot open XML file '{0}'", path), 0);
    std::unique_ptr<XmlReader> reader = XmlReader::FromFile(path);
    reader->ReadDocumentElement();
    const String found = reader->GetElementLocalName();
    if (found != documentElementName)
        throw XmlException(SafeFormat("Unexpected document element '{0}', expected '{1}'", found, documentElementName),
                           reader->GetLineNumber());
    XmlSerializationContext context;
    configuration.ReadXml(*reader, context);
    // A document that is broken after the part the configuration read is still a broken file.
    reader->ReadToEnd();
}

} // namespace Kyr::System::Commons::Xml
