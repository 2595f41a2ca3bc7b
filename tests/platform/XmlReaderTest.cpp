#include <gtest/gtest.h>

#include <unistd.h>

#include "Kyr/System/Commons/Exceptions.h"
#include "Kyr/System/Commons/Io/File.h"
#include "Kyr/System/Commons/Xml/MultiXmlConfigDocument.h"
#include "Kyr/System/Commons/Xml/XmlReader.h"
#include "fakes/Thrown.h"

using Kyr::String;
using Kyr::System::Commons::XmlException;
using namespace Kyr::System::Commons::Xml;

namespace {

// Expects `action` to throw an XmlException on `line` whose message contains `fragment`.
template <class Action>
void ExpectXmlError(Action action, int line, const String& fragment) {
    const auto error = Kyr::Testing::Thrown<XmlException>(action);
    ASSERT_TRUE(error) << "expected XmlException containing '" << fragment << "'";
    EXPECT_EQ(error->GetLineNumber(), line) << error->what();
    EXPECT_NE(String(error->what()).find(fragment), String::npos) << error->what();
}

std::unique_ptr<XmlReader> ReaderOnDocumentElement(const String& text) {
    auto reader = XmlReader::FromMemory(text);
    reader->ReadDocumentElement();
    return reader;
}

// The local names that TryReadStartElement answers, with "/" for each false, until the document ends.
String Walk(XmlReader& reader, bool skipEachElement) {
    String names;
    for (int falses = 0; falses < 3;) {
        if (reader.TryReadStartElement()) {
            names += reader.GetElementLocalName() + (reader.IsEmptyElement() ? "." : "");
            if (skipEachElement) reader.ReadEndElement();
        } else {
            names += "/";
            ++falses;
        }
    }
    return names;
}

} // namespace

TEST(XmlReaderTest, EntersEachNonEmptyElementUnlessItsEndIsReadFirst) {
    const String document = "<Doc><A><B><C/></B>text<D></D></A><!-- note --><E/></Doc>";
    auto reader = ReaderOnDocumentElement(document);
    EXPECT_EQ(Walk(*reader, false), "ABC./D./E./") << "children come before the next sibling; '.' marks an empty element";
    reader = ReaderOnDocumentElement(document);
    EXPECT_EQ(Walk(*reader, true), "AE.///") << "ReadEndElement skips a whole subtree";
    reader = ReaderOnDocumentElement(document);
    ASSERT_TRUE(reader->TryReadStartElement() && reader->TryReadStartElement()); // A, then B
    reader->ReadEndElement();
    reader->ReadEndElement(); // B is finished: nothing more to skip
    ASSERT_TRUE(reader->TryReadStartElement());
    EXPECT_EQ(reader->GetElementLocalName(), "D");
}

TEST(XmlReaderTest, ReadsAttributesAndLineNumbersOfTheCurrentElement) {
    auto reader = ReaderOnDocumentElement("<?xml version=\"1.0\"?>\n<Doc>\n  <A t=\"true\" f=\"0\" n=\"42\" s=\"a&amp;b\" "
                                          "bad=\"yes\" minus=\"-1\" big=\"4294967296\"/>\n</Doc>");
    EXPECT_EQ(reader->GetLineNumber(), 2);
    reader->ReadStartElement("A");
    EXPECT_EQ(reader->GetLineNumber(), 3);
    bool t = false, f = true;
    unsigned n = 0;
    String s = "unchanged";
    EXPECT_FALSE(reader->TryGetAttributeValue("absent", s));
    ASSERT_TRUE(reader->TryGetAttributeValue("t", t) && reader->TryGetAttributeValue("f", f) && reader->TryGetAttributeValue("n", n) &&
                reader->TryGetAttributeValue("s", s));
    EXPECT_TRUE(t && !f && n == 42u && s == "a&b") << s;
    ExpectXmlError([&] { reader->TryGetAttributeValue("bad", t); }, 3, "bad");
    ExpectXmlError([&] { reader->TryGetAttributeValue("minus", n); }, 3, "minus");
    ExpectXmlError([&] { reader->TryGetAttributeValue("big", n); }, 3, "big");
    ExpectXmlError([&] { reader->ReadStartElement("B"); }, 2, "Missing XML element 'B'");
}

TEST(XmlReaderTest, ReportsBrokenDocumentsWithTheirLineNumber) {
    struct Case { String text; int line; };
    for (const Case& c : {Case{"<Doc>\n<A>\n</B>\n</Doc>", 3}, Case{"<Doc>\n<A/>\n", 2}, Case{"\n\nnot xml", 3}, Case{"", 1}})
        ExpectXmlError([&] { ReaderOnDocumentElement(c.text)->ReadToEnd(); }, c.line, "");
}

TEST(MultiXmlConfigDocumentTest, LoadsTheDocumentOrNamesWhatIsWrong) {
    struct Children : IXmlSerializable {
        void ReadXml(XmlReader& reader, XmlSerializationContext&) override {
            while (reader.TryReadStartElement()) {
                names += reader.GetElementLocalName();
                reader.ReadEndElement();
            }
        }
        void WriteXml(XmlWriter&, XmlSerializationContext&) override {}
        String names;
    } configuration;
    MultiXmlConfigDocument document("Settings", configuration);
    const String path = ::testing::TempDir() + "kyr_settings_" + std::to_string(::getpid()) + ".xml";
    const auto load = [&](const String& text) {
        Kyr::System::Commons::Io::File::WriteAll(path, std::vector<std::uint8_t>(text.begin(), text.end()));
        document.Load(path);
    };
    load("<Settings>\n<A/>\n<B><C/></B>\n</Settings>\n");
    EXPECT_EQ(configuration.names, "AB");
    ExpectXmlError([&] { load("\n<Other/>"); }, 2, "Unexpected document element 'Other', expected 'Settings'");
    ExpectXmlError([&] { load("<Settings/>\n<Second/>"); }, 2, "");
    Kyr::System::Commons::Io::File::Delete(path);
    ExpectXmlError([&] { document.Load(path); }, 0, "Cannot open XML file '" + path + "'");
}
