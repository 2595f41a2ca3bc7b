#include <gtest/gtest.h>

#include "Kyr/System/Commons/Sanitization/Filters.h"

using Kyr::String;
using namespace Kyr::System::Commons::Sanitization;

TEST(XmlHtmlEntitiesCoderTest, EncodesDecodesOrPassesThroughByMode) {
    struct Case { int mode; String input; String expected; };
    const Case cases[] = {
        {1, "a<b>&\"c'\r\n\xC3\xA4", "a&lt;b&gt;&amp;&quot;c&apos;\r\n\xC3\xA4"},
        {1, "   ", "&#32;  "}, // spaces only: just the first one is encoded
        {1, " a ", " a "},
        {2, "&lt;b&gt; &amp; &quot;&apos;", "<b> & \"'"},
        {2, "&#32;&#65;&#x42;&#xe4;", " AB\xC3\xA4"},
        {2, "&unknown; & &#; &#xZZ; &#0;", "&unknown; & &#; &#xZZ; &#0;"},
        {2, "&amp;lt;", "&lt;"},
        {0, "<&>", "<&>"},
        {3, "&lt;", "&lt;"},
    };
    for (const Case& c : cases) {
        const XmlHtmlEntitiesCoder coder("coder", c.mode);
        EXPECT_EQ(coder.Filter(c.input), c.expected) << "mode " << c.mode << " input '" << c.input << "'";
    }
}

TEST(CharactersEscaperTest, PrefixesEveryByteOfTheSetAndNothingElse) {
    struct Case { String set; String prefix; String input; String expected; };
    const Case cases[] = {
        {"\\", "\\", "dir\\sub \\\\", "dir\\\\sub \\\\\\\\"},
        {"\"'", "^", "say \"hi\" 'x'", "say ^\"hi^\" ^'x^'"},
        {"", "\\", "a\\b", "a\\b"},
    };
    for (const Case& c : cases)
        EXPECT_EQ(CharactersEscaper("escaper", c.set, c.prefix).Filter(c.input), c.expected) << c.input;
}

TEST(StringFilterTest, NewLineFilterKeepsTextOnOneLine) {
    const StringFilter filter(StringFilterKind::NewLine, "New line filter");
    EXPECT_EQ(filter.Filter("a\r\nb\nc"), "a\\r\\nb\\nc");
    EXPECT_EQ(filter.Filter("typed \\n"), "typed \\\\n") << "a typed backslash-n stays distinguishable";
}
