#include <gtest/gtest.h>

#include <unistd.h>

#include <cstdlib>

#include "Kyr/System/Commons/Exceptions.h"
#include "Kyr/System/Commons/Io/File.h"
#include "Kyr/System/Commons/Xml/MultiXmlConfigDocument.h"
#include "Kyr/System/Commons/Xml/XmlReader.h"

using Kyr::String;
using Kyr::System::Commons::XmlException;
using namespace Kyr::System::Commons::Xml;

namespace {

const char* goodDocument = R"(<?xml version="1.0"?>
<Doc version="3">
  <!-- a comment -->
  <First flag="true" count="42"/>
  <Second>
    text
    <Inner deep="yes"><Deeper/></Inner>
  </Second>
  <Empty></Empty>
  <Last name="a&amp;b"/>
</Doc>
)";

// Expects the failure of `action` to be an XmlException on `line` whose message contains `fragment`.
template <class Action>
void ExpectXmlError(Action action, int line, const String& fragment) {
    try {
        action();
        ADD_FAILURE() << "expected XmlException containing '" << fragment << "'";
    } catch (const XmlException& error) {
        EXPECT_EQ(error.GetLineNumber(), line) << error.what();
        EXPECT_NE(String(error.what()).find(fragment), String::npos) << error.what();
    }
}

class TempFile {
public:
    explicit TempFile(const String& content) {
        char pattern[] = "/tmp/kyr_xml_XXXXXX";
        const int fd = mkstemp(pattern);
        if (fd >= 0) close(fd);
        path = pattern;
        Kyr::System::Commons::Io::File::WriteAll(path, std::vector<std::uint8_t>(content.begin(), content.end()));
    }
    ~TempFile() { std::remove(path.c_str()); }
    String path;
};

class RecordingConfiguration : public IXmlSerializable {
public:
    void ReadXml(XmlReader& reader, XmlSerializationContext&) override {
        while (reader.TryReadStartElement()) {
            children.push_back(reader.GetElementLocalName());
            reader.ReadEndElement();
        }
    }
    void WriteXml(XmlWriter&, XmlSerializationContext&) override {}
    std::vector<String> children;
};

} // namespace

TEST(XmlReaderTest, WalksChildrenSkippingTextCommentsAndUnreadContent) {
    auto reader = XmlReader::FromMemory(goodDocument);
    reader->ReadDocumentElement();
    EXPECT_EQ(reader->GetElementLocalName(), "Doc");
    EXPECT_EQ(reader->GetLineNumber(), 2);
    EXPECT_FALSE(reader->IsEmptyElement());

    ASSERT_TRUE(reader->TryReadStartElement());
    EXPECT_EQ(reader->GetElementLocalName(), "First");
    EXPECT_EQ(reader->GetLineNumber(), 4);
    EXPECT_TRUE(reader->IsEmptyElement());
    bool flag = false;
    unsigned count = 0;
    EXPECT_TRUE(reader->TryGetAttributeValue("flag", flag));
    EXPECT_TRUE(flag);
    EXPECT_TRUE(reader->TryGetAttributeValue("count", count));
    EXPECT_EQ(count, 42u);
    String missing = "unchanged";
    EXPECT_FALSE(reader->TryGetAttributeValue("absent", missing));
    EXPECT_EQ(missing, "unchanged");

    reader->ReadStartElement("Second"); // ReadEndElement of an empty element is not needed
    ASSERT_TRUE(reader->TryReadStartElement());
    EXPECT_EQ(reader->GetElementLocalName(), "Inner");
    reader->ReadEndElement(); // skips <Deeper/> and </Inner>
    EXPECT_FALSE(reader->TryReadStartElement()) << "end of Second";

    ASSERT_TRUE(reader->TryReadStartElement());
    EXPECT_EQ(reader->GetElementLocalName(), "Empty");
    EXPECT_TRUE(reader->IsEmptyElement()) << "an element without child nodes counts as empty";

    ASSERT_TRUE(reader->TryReadStartElement());
    String name;
    EXPECT_TRUE(reader->TryGetAttributeValue("name", name));
    EXPECT_EQ(name, "a&b");
    EXPECT_FALSE(reader->TryReadStartElement()) << "end of Doc";
    EXPECT_NO_THROW(reader->ReadToEnd());
}

TEST(XmlReaderTest, SkipsTheRestOfAChildThatWasEnteredButNotEnded) {
    auto reader = XmlReader::FromMemory("<Doc><A><B/><C/></A><D/></Doc>");
    reader->ReadDocumentElement();
    ASSERT_TRUE(reader->TryReadStartElement());
    ASSERT_TRUE(reader->TryReadStartElement());
    EXPECT_EQ(reader->GetElementLocalName(), "B");
    reader->ReadEndElement();
    reader->ReadEndElement(); // B is done: nothing more to skip
    ASSERT_TRUE(reader->TryReadStartElement());
    EXPECT_EQ(reader->GetElementLocalName(), "C");
}

TEST(XmlReaderTest, ReportsBrokenDocumentsWithTheirLineNumber) {
    struct Case {
        const char* title;
        String text;
        int line;
        String fragment;
    };
    const Case cases[] = {
        {"mismatched end tag", "<Doc>\n<A>\n</B>\n</Doc>", 3, ""},
        {"unterminated document", "<Doc>\n<A/>\n", 2, ""},
        {"garbage before root", "\n\nnot xml", 3, ""},
        {"no document element", "", 1, ""},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.title);
        ExpectXmlError(
            [&] {
                auto reader = XmlReader::FromMemory(c.text);
                reader->ReadDocumentElement();
                reader->ReadToEnd();
            },
            c.line, c.fragment);
    }
}

TEST(XmlReaderTest, MissingChildAndBadAttributeValuesAreXmlErrorsOnTheElementLine) {
    auto reader = XmlReader::FromMemory("<Doc>\n  <A b=\"yes\" n=\"-1\" big=\"4294967296\" ok=\"0\"/>\n</Doc>");
    reader->ReadDocumentElement();
    ExpectXmlError([&] { reader->ReadStartElement("B"); }, 2, "Missing XML element 'B'");
    bool flag = true;
    unsigned number = 0;
    ExpectXmlError([&] { reader->TryGetAttributeValue("b", flag); }, 2, "b");
    ExpectXmlError([&] { reader->TryGetAttributeValue("n", number); }, 2, "n");
    ExpectXmlError([&] { reader->TryGetAttributeValue("big", number); }, 2, "big");
    EXPECT_TRUE(reader->TryGetAttributeValue("ok", flag));
    EXPECT_FALSE(flag);
}

TEST(MultiXmlConfigDocumentTest, LoadsTheDocumentOrNamesWhatIsWrong) {
    RecordingConfiguration configuration;
    MultiXmlConfigDocument document("Settings", configuration);

    TempFile good("<Settings>\n<A/>\n<B><C/></B>\n</Settings>\n");
    document.Load(good.path);
    EXPECT_EQ(configuration.children, (std::vector<String>{"A", "B"}));

    ExpectXmlError([&] { document.Load("/nonexistent/settings.xml"); }, 0, "Cannot open XML file '/nonexistent/settings.xml'");
    TempFile wrongRoot("\n<Other/>");
    ExpectXmlError([&] { document.Load(wrongRoot.path); }, 2, "Unexpected document element 'Other', expected 'Settings'");
    TempFile brokenTail("<Settings/>\n<Second/>");
    ExpectXmlError([&] { document.Load(brokenTail.path); }, 2, "");
}
