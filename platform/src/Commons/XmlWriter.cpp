#include "Kyr/System/Commons/Sanitization/Filters.h"
#include "Kyr/System/Commons/Xml/XmlReader.h"

namespace Kyr::System::Commons::Xml {

namespace {
String Escape(const String& text) {
    static const Sanitization::XmlHtmlEntitiesCoder encoder("Xml writer encoder", static_cast<int>(Sanitization::XmlHtmlEntitiesCoderMode::Encode));
    return encoder.Filter(text);
}
} // namespace

void XmlWriter::WriteStartElement(const String& localName) {
    if (startTagOpen) text += ">";
    text += "<" + localName;
    open.push_back(localName);
    startTagOpen = true;
}

void XmlWriter::WriteAttribute(const String& name, const String& value) {
    if (startTagOpen) text += " " + name + "=\"" + Escape(value) + "\"";
}

void XmlWriter::WriteEndElement() {
    if (open.empty()) return;
    if (startTagOpen) {
        text += "/>";
        startTagOpen = false;
    } else {
        text += "</" + open.back() + ">";
    }
    open.pop_back();
}

} // namespace Kyr::System::Commons::Xml
