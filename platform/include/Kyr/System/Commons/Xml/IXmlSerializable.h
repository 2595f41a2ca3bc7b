#pragma once
#include "Kyr/System/Commons/Api.h"

namespace Kyr::System::Commons::Xml {

class XmlReader;
class XmlWriter;

// Context handed through (de)serialisation; carries nothing the module uses.
class KYR_API XmlSerializationContext {
public:
    XmlSerializationContext() = default;
};

class KYR_API IXmlSerializable {
public:
    virtual ~IXmlSerializable();
    virtual void ReadXml(XmlReader& reader, XmlSerializationContext& context) = 0;
    virtual void WriteXml(XmlWriter& writer, XmlSerializationContext& context) = 0;
};

} // namespace Kyr::System::Commons::Xml
