#pragma once
#include <memory>
#include <vector>

#include "Kyr/System/Commons/Api.h"
#include "Kyr/System/Commons/String.h"

namespace Kyr::System::Commons::Xml {

// Forward-only XML reader over Expat. Every failure (unreadable file, malformed
// document) throws XmlException carrying the line number where it happened.
//
// The reader stands on one element at a time (the "current element"):
//  - after ReadDocumentElement()/ReadStartElement()/TryReadStartElement() it stands on the start tag
//    just read, and it has entered that element unless it is empty: its content is now the content
//    being read;
//  - IsEmptyElement() tells whether the current element is written <x/> or has no child elements
//    (text, comments and whitespace do not count);
//  - TryReadStartElement() moves to the next child start element of the innermost entered element
//    (skipping text, comments and whitespace). So right after a non-empty element it answers that
//    element's first child, not its next sibling. At the entered element's end tag it consumes the
//    end tag, leaves the element and answers false;
//  - ReadEndElement() skips the rest of the current element (its whole subtree) and its end tag, so
//    that the next TryReadStartElement() answers its next sibling; on an empty or finished element it
//    does nothing;
//  - attributes are read from the current element;
//  - GetLineNumber() is the current element's line: the line on which its
//    start tag ends.
class KYR_API XmlReader {
public:
    static std::unique_ptr<XmlReader> FromFile(const String& path);
    static std::unique_ptr<XmlReader> FromMemory(const String& text);
    ~XmlReader();
    XmlReader(const XmlReader&) = delete;
    XmlReader& operator=(const XmlReader&) = delete;

    // Moves to the document element; throws XmlException when there is none.
    void ReadDocumentElement();
    bool IsEmptyElement() const;
    bool TryReadStartElement();
    // Like TryReadStartElement, but throws XmlException "Missing XML element '{0}'" unless the next
    // child is named `localName`.
    void ReadStartElement(const String& localName);
    void ReadEndElement();
    String GetElementLocalName() const;
    int GetLineNumber() const;
    // Reads the rest of the document, so that a malformed tail is reported too (XmlException).
    void ReadToEnd();

    // False when the attribute is absent. bool accepts "true"/"false"/"1"/"0"; any other text throws
    // XmlException. Unsigned accepts decimal digits only.
    template <class T>
    bool TryGetAttributeValue(const String& name, T& value) const;

private:
    struct Impl;
    explicit XmlReader(std::unique_ptr<Impl> impl);
    std::unique_ptr<Impl> impl;
};

template <>
KYR_API bool XmlReader::TryGetAttributeValue<String>(const String& name, String& value) const;
template <>
KYR_API bool XmlReader::TryGetAttributeValue<bool>(const String& name, bool& value) const;
template <>
KYR_API bool XmlReader::TryGetAttributeValue<unsigned>(const String& name, unsigned& value) const;

// Minimal writer (the module's settings are read-only; the type exists for IXmlSerializable).
class KYR_API XmlWriter {
public:
    void WriteStartElement(const String& localName);
    void WriteAttribute(const String& name, const String& value);
    void WriteEndElement();
    const String& GetText() const noexcept { return text; }

private:
    String text;
    std::vector<String> open;
    bool startTagOpen = false;
};

} // namespace Kyr::System::Commons::Xml
