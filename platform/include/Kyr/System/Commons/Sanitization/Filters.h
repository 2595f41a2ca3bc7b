#pragma once
#include "Kyr/System/Commons/Api.h"
#include "Kyr/System/Commons/String.h"

namespace Kyr::System::Commons::Sanitization {

// A named text filter. Filters hold no mutable state: one object may serve many threads.
class KYR_API FilterBase {
public:
    explicit FilterBase(String name);
    virtual ~FilterBase();
    const String& GetName() const noexcept { return name; }
    virtual String Filter(const String& input) const = 0;

private:
    String name;
};

// Puts `escapePrefix` in front of every byte that is in `charactersToEscape`; other bytes are kept.
class KYR_API CharactersEscaper : public FilterBase {
public:
    CharactersEscaper(String name, String charactersToEscape, String escapePrefix);
    String Filter(const String& input) const override;

private:
    String charactersToEscape;
    String escapePrefix;
};

enum class XmlHtmlEntitiesCoderMode : int { Encode = 1, Decode = 2 };

// Mode 1 encodes XML character entities (< > & " ' ; a text of spaces only gets its first space as
// "&#32;"); mode 2 decodes them (also numeric &#NN; and &#xHH;); any other mode passes through.
class KYR_API XmlHtmlEntitiesCoder : public FilterBase {
public:
    XmlHtmlEntitiesCoder(String name, int mode);
    String Filter(const String& input) const override;
    int GetMode() const noexcept { return mode; }

private:
    int mode;
};

enum class StringFilterKind : int {
    // Keeps a text on one line: CR becomes the two characters "\r", LF "\n", and a backslash "\\".
    NewLine = 1,
};

class KYR_API StringFilter : public FilterBase {
public:
    StringFilter(StringFilterKind kind, String name);
    String Filter(const String& input) const override;

private:
    StringFilterKind kind;
};

} // namespace Kyr::System::Commons::Sanitization
