#include "Kyr/System/Commons/Xml/XmlReader.h"

#include <expat.h>

#include <algorithm>
#include <limits>
#include <optional>
#include <utility>
#include <vector>

#include "Kyr/System/Commons/Exceptions.h"
#include "Kyr/System/Commons/Format.h"
#include "Kyr/System/Commons/Io/File.h"

namespace Kyr::System::Commons::Xml {

namespace {

// The document is seen as a stream of start and end tags; everything else (text, comments,
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

// "prefix:name" -> "name": elements are matched by their local name.
String LocalName(const XML_Char* name) {
    const String qualified(name);
    const std::size_t colon = qualified.rfind(':');
    return colon == String::npos ? qualified : qualified.substr(colon + 1);
}

struct ParseError {
    String message;
    int line = 0;
};

// Settings files are small, so Expat parses the whole text at once into tags. A malformed part
// is kept as an error that the reader raises only when it reaches that place, as a pull reader
// would: what comes before it can still be read.
class TagCollector {
public:
    // No encoding is imposed: the document's declaration (UTF-8 when it has none) decides, and
    // names and values arrive in UTF-8.
    explicit TagCollector(const String& text) : text(text), parser(XML_ParserCreate(nullptr)) {}
    ~TagCollector() {
        if (parser != nullptr) XML_ParserFree(parser);
    }
    TagCollector(const TagCollector&) = delete;
    TagCollector& operator=(const TagCollector&) = delete;

    // Returns false when Expat could not even be set up (out of memory).
    bool Run() {
        if (parser == nullptr) return false;
        XML_SetUserData(parser, this);
        XML_SetElementHandler(parser, &TagCollector::OnStart, &TagCollector::OnEnd);
        // External entities are never fetched: no handler is set, so Expat does not load them.
        // Expat takes int lengths: the text goes in pieces.
        constexpr std::size_t piece = 1 << 20;
        std::size_t offset = 0;
        do {
            const std::size_t length = std::min(piece, text.size() - offset);
            const bool last = offset + length == text.size();
            if (XML_Parse(parser, text.data() + offset, static_cast<int>(length), last ? XML_TRUE : XML_FALSE) == XML_STATUS_ERROR) {
                const XML_Error code = XML_GetErrorCode(parser);
                const char* message = XML_ErrorString(code);
                error = ParseError{message == nullptr ? String("Malformed XML document") : String(message), ErrorLine(code)};
                break;
            }
            offset += length;
        } while (offset < text.size());
        return true;
    }

    std::vector<Token> tokens;
    std::optional<ParseError> error;

private:
    static void XMLCALL OnStart(void* userData, const XML_Char* name, const XML_Char** attributes) {
        auto* self = static_cast<TagCollector*>(userData);
        Token token{Token::Kind::Start, LocalName(name), {}, self->depth++, self->StartTagEndLine()};
        for (const XML_Char** attribute = attributes; attribute[0] != nullptr; attribute += 2)
            token.attributes.emplace_back(attribute[0], attribute[1]);
        self->tokens.push_back(std::move(token));
    }

    static void XMLCALL OnEnd(void* userData, const XML_Char* name) {
        auto* self = static_cast<TagCollector*>(userData);
        self->tokens.push_back(Token{Token::Kind::End, LocalName(name), {}, --self->depth, static_cast<int>(XML_GetCurrentLineNumber(self->parser))});
    }

    // An element's line is the one on which its start tag ends (a tag may span lines).
    int StartTagEndLine() const {
        const auto line = static_cast<int>(XML_GetCurrentLineNumber(parser));
        const XML_Index begin = XML_GetCurrentByteIndex(parser);
        const int count = XML_GetCurrentByteCount(parser);
        if (begin < 0 || count <= 0 || static_cast<std::size_t>(begin) + static_cast<std::size_t>(count) > text.size()) return line;
        return line + NewlinesIn(static_cast<std::size_t>(begin), static_cast<std::size_t>(count));
    }

    // An error at the end of the text (an element left open) belongs to the last line with content,
    // not to the empty line after a final newline.
    int ErrorLine(XML_Error code) const {
        const auto line = static_cast<int>(XML_GetCurrentLineNumber(parser));
        if (code != XML_ERROR_NO_ELEMENTS && code != XML_ERROR_UNCLOSED_TOKEN) return line;
        std::size_t end = text.size();
        while (end > 0 && (text[end - 1] == '\n' || text[end - 1] == '\r' || text[end - 1] == ' ' || text[end - 1] == '\t')) --end;
        return 1 + NewlinesIn(0, end);
    }

    // Counts line breaks as Expat does: "\r\n", "\n" and a lone "\r" each end one line.
    int NewlinesIn(std::size_t begin, std::size_t count) const {
        int lines = 0;
        for (std::size_t i = begin; i < begin + count; ++i) {
            if (text[i] == '\n' || (text[i] == '\r' && (i + 1 >= text.size() || text[i + 1] != '\n'))) ++lines;
        }
        return lines;
    }

    const String& text;
    XML_Parser parser;
    int depth = 0;
};

} // namespace

struct XmlReader::Impl {
    std::vector<Token> tokens;
    std::size_t position = 0;
    std::optional<ParseError> error; // raised once every token before it was read
    std::optional<Token> lookahead;
    std::vector<Token> entered; // elements whose content is being read, outermost first
    std::optional<CurrentElement> current;
    int lastLine = 0;

    [[noreturn]] void Fail(const String& message, int line) const { throw XmlException(message, line); }

    void Parse(const String& text, const String& source) {
        TagCollector collector(text);
        if (!collector.Run()) Fail(SafeFormat("Cannot open XML file '{0}'", source), 0);
        tokens = std::move(collector.tokens);
        error = std::move(collector.error);
    }

    Token ReadToken() {
        if (position < tokens.size()) {
            Token token = tokens[position++];
            lastLine = token.line;
            return token;
        }
        if (error) Fail(error->message, error->line);
        Token end;
        end.line = lastLine;
        return end;
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

XmlReader::XmlReader(std::unique_ptr<Impl> impl) : impl(std::move(impl)) {}
XmlReader::~XmlReader() = default;

std::unique_ptr<XmlReader> XmlReader::FromFile(const String& path) {
    if (!Io::File::Exists(path)) throw XmlException(SafeFormat("Cannot open XML file '{0}'", path), 0);
    String text;
    try {
        const std::vector<std::uint8_t> bytes = Io::File::ReadAll(path);
        text.assign(bytes.begin(), bytes.end());
    } catch (const std::exception&) {
        throw XmlException(SafeFormat("Cannot open XML file '{0}'", path), 0);
    }
    auto impl = std::make_unique<Impl>();
    impl->Parse(text, path);
    return std::unique_ptr<XmlReader>(new XmlReader(std::move(impl)));
}

std::unique_ptr<XmlReader> XmlReader::FromMemory(const String& text) {
    auto impl = std::make_unique<Impl>();
    impl->Parse(text, "memory");
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
