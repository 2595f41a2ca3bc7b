#include "Kyr/System/Commons/Xml/IXmlSerializable.h"

namespace Kyr::System::Commons::Xml {

IXmlSerializable::~IXmlSerializable() = default;

} // namespace Kyr::System::Commons::Xml
