#include "Kyr/System/Commons/Xml/XmlReader.h"

#include <libxml/xmlreader.h>

#include <limits>
#include <optional>
#include <utility>
#include <vector>

#include "Kyr/System/Commons/Exceptions.h"
#include "Kyr/System/Commons/Format.h"
#include "Kyr/System/Commons/Io/File.h"

namespace Kyr::System::Commons::Xml {

namespace {

String ToString(const xmlChar* text) { return text == nullptr ? String() : String(reinterpret_cast<const char*>(text)); }

// The reader is seen as a stream of start and end tags; everything else (text, comments,
// whitespace, processing instructions) is skipped. <x/> yields a start and an end tag.
struct Token {
    enum class Kind { Start, End, EndOfDocument } kind = Kind::EndOfDocument;
    String localName;
    std::vector<std::pair<String, String>> attributes;
    int depth = 0;
    int line = 0;
};

// The element the reader stands on.
struct CurrentElement {
    Token start;
    bool empty = false;  // written <x/> or without child nodes
    bool closed = false; // its end tag has been consumed
};

struct ErrorRecord {
    bool failed = false;
    String message;
    int line = 0;
};

void OnStructuredError(void* userData, const xmlError* error) {
    auto* record = static_cast<ErrorRecord*>(userData);
    if (error == nullptr || error->level == XML_ERR_WARNING || record->failed) return;
    record->failed = true;
    record->message = error->message == nullptr ? String("XML parse error") : String(error->message);
    while (!record->message.empty() && (record->message.back() == '\n' || record->message.back() == '\r'))
        record->message.pop_back();
    record->line = error->line;
}

} // namespace

struct XmlReader::Impl {
    String buffer; // keeps the text of FromMemory alive while the reader uses it
    xmlTextReaderPtr reader = nullptr;
    ErrorRecord error;
    std::optional<Token> lookahead;
    bool pendingEndOfEmpty = false; // <x/> was read; its end tag is the next token
    Token pendingEnd;
    std::vector<Token> entered; // elements whose content is being read, outermost first
    std::optional<CurrentElement> current;
    int lastLine = 0;

    ~Impl() {
        if (reader != nullptr) xmlFreeTextReader(reader);
    }

    [[noreturn]] void Fail(const String& message, int line) const { throw XmlException(message, line); }

    // libxml2's global state is set up once, before the first reader, even when two threads race.
    static void EnsureParserInitialised() {
        static const bool initialised = [] {
            xmlInitParser();
            return true;
        }();
        (void)initialised;
    }

    void Attach(xmlTextReaderPtr created, const String& source) {
        if (created == nullptr) Fail(SafeFormat("Cannot open XML file '{0}'", source), 0);
        reader = created;
        xmlTextReaderSetStructuredErrorHandler(reader, reinterpret_cast<xmlStructuredErrorFunc>(&OnStructuredError), &error);
    }

    int ParserLine() const {
        const int line = xmlTextReaderGetParserLineNumber(reader);
        return line > 0 ? line : lastLine;
    }

    Token ReadToken() {
        if (pendingEndOfEmpty) {
            pendingEndOfEmpty = false;
            return pendingEnd;
        }
        for (;;) {
            const int result = xmlTextReaderRead(reader);
            if (result < 0 || error.failed) {
                const int line = error.line > 0 ? error.line : ParserLine();
                Fail(error.failed ? error.message : String("Malformed XML document"), line);
            }
            Token token;
            if (result == 0) {
                token.line = ParserLine();
                return token;
            }
            const int type = xmlTextReaderNodeType(reader);
            if (type != XML_READER_TYPE_ELEMENT && type != XML_READER_TYPE_END_ELEMENT) continue;
            token.depth = xmlTextReaderDepth(reader);
            token.localName = ToString(xmlTextReaderConstLocalName(reader));
            const xmlNodePtr node = xmlTextReaderCurrentNode(reader);
            const long nodeLine = node == nullptr ? 0 : xmlGetLineNo(node);
            token.line = nodeLine > 0 && nodeLine < std::numeric_limits<int>::max() ? static_cast<int>(nodeLine) : ParserLine();
            lastLine = token.line;
            if (type == XML_READER_TYPE_END_ELEMENT) {
                token.kind = Token::Kind::End;
                return token;
            }
            token.kind = Token::Kind::Start;
            const bool selfClosing = xmlTextReaderIsEmptyElement(reader) == 1;
            while (xmlTextReaderMoveToNextAttribute(reader) == 1)
                token.attributes.emplace_back(ToString(xmlTextReaderConstName(reader)), ToString(xmlTextReaderConstValue(reader)));
            xmlTextReaderMoveToElement(reader);
            if (selfClosing) {
                pendingEndOfEmpty = true;
                pendingEnd = Token{Token::Kind::End, token.localName, {}, token.depth, token.line};
            }
            return token;
        }
    }

    Token Next() {
        if (lookahead) {
            Token token = std::move(*lookahead);
            lookahead.reset();
            return token;
        }
        return ReadToken();
    }

    const Token& Peek() {
        if (!lookahead) lookahead = ReadToken();
        return *lookahead;
    }

    // Makes `start` the current element; enters it unless it has no child nodes.
    void StandOn(Token start) {
        const Token& following = Peek();
        const bool empty = following.kind == Token::Kind::End && following.depth == start.depth;
        if (empty) {
            Next();
        } else {
            entered.push_back(start);
        }
        current = CurrentElement{std::move(start), empty, empty};
    }

    bool TryReadStart() {
        if (entered.empty()) return false;
        const int parentDepth = entered.back().depth;
        for (;;) {
            Token token = Next();
            switch (token.kind) {
            case Token::Kind::EndOfDocument:
                Fail("Unexpected end of XML document", token.line);
            case Token::Kind::Start:
                if (token.depth == parentDepth + 1) {
                    StandOn(std::move(token));
                    return true;
                }
                break; // deeper: the rest of a child that was not read to its end
            case Token::Kind::End:
                if (token.depth == parentDepth) {
                    current = CurrentElement{entered.back(), false, true};
                    entered.pop_back();
                    return false;
                }
                break;
            }
        }
    }

    void SkipCurrent() {
        if (!current || current->closed) return;
        const int depth = current->start.depth;
        for (;;) {
            Token token = Next();
            if (token.kind == Token::Kind::EndOfDocument) Fail("Unexpected end of XML document", token.line);
            if (token.kind == Token::Kind::End && token.depth == depth) break;
        }
        while (!entered.empty() && entered.back().depth >= depth) entered.pop_back();
        current->closed = true;
    }

    const Token& CurrentStart() const {
        if (!current) Fail("The XML reader does not stand on an element", lastLine);
        return current->start;
    }

    const String* FindAttribute(const String& name) const {
        for (const auto& attribute : CurrentStart().attributes)
            if (attribute.first == name) return &attribute.second;
        return nullptr;
    }
};

namespace {
constexpr int ReaderOptions = XML_PARSE_NONET | XML_PARSE_NOCDATA;
} // namespace

XmlReader::XmlReader(std::unique_ptr<Impl> impl) : impl(std::move(impl)) {}
XmlReader::~XmlReader() = default;

std::unique_ptr<XmlReader> XmlReader::FromFile(const String& path) {
    if (!Io::File::Exists(path)) throw XmlException(SafeFormat("Cannot open XML file '{0}'", path), 0);
    Impl::EnsureParserInitialised();
    auto impl = std::make_unique<Impl>();
    impl->Attach(xmlReaderForFile(path.c_str(), nullptr, ReaderOptions), path);
    return std::unique_ptr<XmlReader>(new XmlReader(std::move(impl)));
}

std::unique_ptr<XmlReader> XmlReader::FromMemory(const String& text) {
    Impl::EnsureParserInitialised();
    auto impl = std::make_unique<Impl>();
    impl->buffer = text;
    impl->Attach(xmlReaderForMemory(impl->buffer.data(), static_cast<int>(impl->buffer.size()), "memory", nullptr, ReaderOptions),
                 "memory");
    return std::unique_ptr<XmlReader>(new XmlReader(std::move(impl)));
}

void XmlReader::ReadDocumentElement() {
    if (impl->current) throw XmlException("The document element was already read", GetLineNumber());
    Token token = impl->Next();
    if (token.kind != Token::Kind::Start) throw XmlException("Missing XML document element", token.line);
    impl->StandOn(std::move(token));
}

bool XmlReader::IsEmptyElement() const {
    impl->CurrentStart();
    return impl->current->empty;
}

bool XmlReader::TryReadStartElement() { return impl->TryReadStart(); }

void XmlReader::ReadStartElement(const String& localName) {
    if (!impl->TryReadStart() || impl->current->start.localName != localName)
        throw XmlException(SafeFormat("Missing XML element '{0}'", localName), GetLineNumber());
}

void XmlReader::ReadEndElement() { impl->SkipCurrent(); }

String XmlReader::GetElementLocalName() const { return impl->CurrentStart().localName; }

int XmlReader::GetLineNumber() const { return impl->current ? impl->current->start.line : impl->lastLine; }

void XmlReader::ReadToEnd() {
    while (impl->Next().kind != Token::Kind::EndOfDocument) {
    }
    impl->entered.clear();
    if (impl->current) impl->current->closed = true;
}

template <>
bool XmlReader::TryGetAttributeValue<String>(const String& name, String& value) const {
    const String* found = impl->FindAttribute(name);
    if (found == nullptr) return false;
    value = *found;
    return true;
}

template <>
bool XmlReader::TryGetAttributeValue<bool>(const String& name, bool& value) const {
    const String* found = impl->FindAttribute(name);
    if (found == nullptr) return false;
    if (*found == "true" || *found == "1") {
        value = true;
    } else if (*found == "false" || *found == "0") {
        value = false;
    } else {
        throw XmlException(SafeFormat("Attribute '{0}' has no valid bool value: '{1}'", name, *found), GetLineNumber());
    }
    return true;
}

template <>
bool XmlReader::TryGetAttributeValue<unsigned>(const String& name, unsigned& value) const {
    const String* found = impl->FindAttribute(name);
    if (found == nullptr) return false;
    unsigned long long parsed = 0;
    bool valid = !found->empty() && found->size() <= 10;
    for (char c : *found) {
        if (c < '0' || c > '9') {
            valid = false;
            break;
        }
        parsed = parsed * 10 + static_cast<unsigned>(c - '0');
    }
    if (!valid || parsed > std::numeric_limits<unsigned>::max())
        throw XmlException(SafeFormat("Attribute '{0}' has no valid unsigned value: '{1}'", name, *found), GetLineNumber());
    value = static_cast<unsigned>(parsed);
    return true;
}

} // namespace Kyr::System::Commons::Xml
