// XmlElement and the parse entry points: the six points callers rely on,
// encodings, and documents that are not well formed.
#include <gtest/gtest.h>

#include "db/XmlParse.h"
#include "platform/Paths.h"
#include "support/TestSupport.h"

using namespace lh::db;

namespace {

std::unique_ptr<XmlElement> parseOk(std::string_view text) {
    XmlParseResult result = parseXmlTextChecked(text, "test");
    EXPECT_EQ(result.status, XmlStatus::ok) << result.error.message();
    return std::move(result.root);
}

std::string tag(XmlElement& e) {
    std::string name;
    return e.tagName(name) == 0 ? name : "-";
}

}  // namespace

TEST(Xml, TheSixPoints) {
    auto root = parseOk("<Document>\n"
                        "  <Node NAME=\"x\" owner=\"true\" Empty=\"\" />\n"
                        "  <windowClass>Some <b>bold</b> text</windowClass>\n"
                        "</Document>\n");
    ASSERT_TRUE(root);
    // 5: the root is the outermost element, whatever its tag.
    EXPECT_EQ(tag(*root), "DOCUMENT");

    // 1 and 2: tags in upper case, attributes found without regard to case.
    auto node = root->childAt(0);
    ASSERT_TRUE(node);
    EXPECT_EQ(tag(*node), "NODE");
    std::string value = "prefilled";
    EXPECT_EQ(node->attribute("NAME", value), 0);
    EXPECT_EQ(value, "x");
    // 3: values as written.
    EXPECT_EQ(node->attribute("OWNER", value), 0);
    EXPECT_EQ(value, "true");
    // 6: absent differs from empty; an absent one leaves the buffer alone.
    EXPECT_EQ(node->attribute("EMPTY", value), 0);
    EXPECT_EQ(value, "");
    value = "prefilled";
    EXPECT_EQ(node->attribute("MISSING", value), -1);
    EXPECT_EQ(value, "prefilled");
    char buffer[8] = "keep";
    EXPECT_EQ(node->attribute("MISSING", buffer, sizeof buffer), -1);
    EXPECT_STREQ(buffer, "keep");

    // 4: children in document order with the text pieces among them.
    auto mixed = root->childAt(1);
    ASSERT_TRUE(mixed);
    EXPECT_EQ(tag(*mixed), "WINDOWCLASS");
    std::vector<std::string> seen;
    for (size_t i = 0;; ++i) {
        auto child = mixed->childAt(i);
        if (!child) break;
        seen.push_back(tag(*child) + "|" + child->text().value_or("(none)"));
    }
    EXPECT_EQ(seen, (std::vector<std::string>{"-|Some", "B|bold", "-|text"}));
    EXPECT_EQ(mixed->text().value_or(""), "Someboldtext");
    // Any order of indexes gives the same children; a comment is no child.
    auto withComment = parseOk("<r>a<!-- note --><b/>c</r>");
    const std::vector<std::string> expected = {"-a", "B", "-c", "null"};
    for (size_t i : {2, 0, 1, 3, 1, 0}) {
        auto child = withComment->childAt(i);
        EXPECT_EQ(child ? tag(*child) + child->text().value_or("") : "null", expected[i]) << i;
    }
    EXPECT_EQ(withComment->childCount(), 3u);

    // Past the end, and on an element without children, childAt is null.
    EXPECT_EQ(root->childAt(2), nullptr);
    EXPECT_EQ(node->childAt(0), nullptr);
    EXPECT_FALSE(node->text().has_value());

    // Elements keep the document alive on their own.
    auto orphan = root->childAt(1);
    root.reset();
    mixed.reset();
    EXPECT_EQ(tag(*orphan), "WINDOWCLASS");
    EXPECT_EQ(tag(*orphan->childAt(1)), "B");
}

TEST(Xml, EntitiesAndEightBitText) {
    auto root = parseOk("<root a=\"&lt;&amp;&gt;&quot;&apos;&#233;&#x20AC;\">&#65;&#x42;&lt;tag&gt;"
                        "<![CDATA[<raw & text>]]></root>");
    std::string value;
    ASSERT_EQ(root->attribute("A", value), 0);
    EXPECT_EQ(value, "<&>\"'\xE9\x80");
    EXPECT_EQ(root->childAt(0)->text().value_or(""), "AB<tag>");
    EXPECT_EQ(root->childAt(1)->text().value_or(""), "<raw & text>");

    // A character outside Windows-1252 becomes '?'; raw 8-bit bytes in an
    // undeclared document pass as they are.
    root = parseOk("<root a=\"&#x65E5;\" b=\"caf\xE9\"/>");
    root->attribute("A", value);
    EXPECT_EQ(value, "?");
    root->attribute("B", value);
    EXPECT_EQ(value, "caf\xE9");
}

TEST(Xml, DeclaredEncodingsConvertOnTheWayIn) {
    // A Latin-1 document: "é" is the byte 0xE9, 0x80 reads as the euro sign
    // of Windows-1252, and "Ã©" (0xC3 0xA9) must stay two characters.
    auto root = parseOk("<?xml version=\"1.0\" encoding=\"ISO-8859-1\"?>\n"
                        "<r\xE9sum\xE9 n=\"\xC3\xA9\x80\">d\xE9j\xE0</r\xE9sum\xE9>");
    EXPECT_EQ(tag(*root), "R\xE9SUM\xE9");
    std::string value;
    root->attribute("N", value);
    EXPECT_EQ(value, "\xC3\xA9\x80");
    EXPECT_EQ(root->text().value_or(""), "d\xE9j\xE0");

    // UTF-8 with a byte order mark, and UTF-16 in both byte orders.
    root = parseOk("\xEF\xBB\xBF<root v=\"caf\xC3\xA9\"/>");
    root->attribute("V", value);
    EXPECT_EQ(value, "caf\xE9");
    std::string le = "\xFF\xFE", be = "\xFE\xFF";
    for (char c : std::string("<root v=\"caf\xE9\"/>")) {
        le += c, le += '\0';
        be += '\0', be += c;
    }
    for (const std::string& doc : {le, be}) {
        root = parseOk(doc);
        ASSERT_TRUE(root);
        root->attribute("V", value);
        EXPECT_EQ(value, "caf\xE9");
    }
}

TEST(Xml, MalformedDocumentsReportLineFoundAndExpected) {
    XmlParseResult result = parseXmlTextChecked("<root>\n  <a>\n  <b></a>\n</root>\n", "campaign.xml");
    ASSERT_EQ(result.status, XmlStatus::malformed);
    EXPECT_EQ(result.root, nullptr);
    EXPECT_EQ(result.error.title, "campaign.xml :");
    EXPECT_EQ(result.error.line, 3);
    EXPECT_EQ(result.error.expected, "</b>");
    EXPECT_EQ(result.error.message(), " Error on line 3. Found \"" + result.error.found +
                                          "\" while expecting \"</b>\"\r\n");

    result = parseXmlTextChecked("<root>\n<open>\n", nullptr);
    ASSERT_EQ(result.status, XmlStatus::malformed);
    EXPECT_EQ(result.error.title, "<unknown> :");
    EXPECT_EQ(result.error.line, 3);
    EXPECT_EQ(result.error.found, "end of document");

    for (const char* bad : {"", "plain text", "<a b=c/>", "<a><!-- x </a>", "<a></b>", "<a/><b/>"}) {
        EXPECT_EQ(parseXmlTextChecked(bad, "x").status, XmlStatus::malformed) << bad;
    }
}

TEST(Xml, FilesMissingAndMalformed) {
    lh::test::TempDir dir;
    lh::platform::setWorkingDirectory(dir.path());
    lh::test::writeFile(dir.path() / "rulesets/Base/BASE.XML", "<root><icon name=\"die\"/></root>");
    // Backslashes and letter case of the program path do not matter.
    auto root = parseXmlFile("rulesets\\base\\base.xml");
    ASSERT_TRUE(root);
    EXPECT_EQ(tag(*root->childAt(0)), "ICON");

    testing::internal::CaptureStderr();
    EXPECT_EQ(parseXmlFile("rulesets\\base\\missing.xml"), nullptr);
    EXPECT_EQ(parseXmlFile("HTTP://example.invalid/x.xml"), nullptr);
    std::string err = testing::internal::GetCapturedStderr();
    EXPECT_NE(err.find("Couldn't open stream on URL, last error "), std::string::npos);

    // A malformed local document shows the box and ends with -1.
    lh::test::writeFile(dir.path() / "broken.xml", "<root>\n<a>\n</root>\n");
    EXPECT_EXIT(parseXmlFile("broken.xml"), testing::ExitedWithCode(255),
                "broken.xml :\n Error on line 3\\. Found \"</root>\" while expecting \"</a>\"");
    EXPECT_EXIT(parseXmlText("<a>", "net"), testing::ExitedWithCode(255), "net :");
}

TEST(Xml, DeepNestingIsNoThreatToTheStack) {
    std::string deep;
    for (int i = 0; i < 200000; ++i) deep += "<node name=\"n\">";
    deep += "text";
    for (int i = 0; i < 200000; ++i) deep += "</node>";
    auto root = parseOk("<root>" + deep + "</root>");
    ASSERT_TRUE(root);
    EXPECT_EQ(root->text().value_or(""), "text");
}

TEST(Xml, LentChildrenWalkInOrderAndWhatTheyHandOutOutlivesTheDocument) {
    std::unique_ptr<XmlElement> root = parseXmlText("<root><a n=\"1\"><deep/></a>text<!-- c --><b/></root>", "lent");
    ASSERT_TRUE(root);
    std::vector<std::string> seen;
    std::unique_ptr<XmlElement> kept;
    root->forEachChild([&](XmlElement& child) {
        std::string tag;
        seen.push_back(child.tagName(tag) == 0 ? tag : "#" + child.text().value_or(""));
        if (tag == "A") kept = child.childAt(0);  // taken out of a lent child
        return true;
    });
    EXPECT_EQ(seen, (std::vector<std::string>{"A", "#text", "B"}));  // comments are no children
    int visits = 0;
    root->forEachChild([&](XmlElement&) { return ++visits < 2; });
    EXPECT_EQ(visits, 2);  // false stops the walk
    root.reset();  // the document lives on in what was handed out
    std::string tag;
    ASSERT_TRUE(kept);
    EXPECT_EQ(kept->tagName(tag), 0);
    EXPECT_EQ(tag, "DEEP");
}

TEST(Xml, SeveralAttributesInOnePass) {
    std::unique_ptr<XmlElement> root = parseXmlText("<root Name=\"n\" value=\"\" other=\"o\"/>", "attrs");
    ASSERT_TRUE(root);
    std::string name, category = "kept", value = "x";
    std::string* outs[] = {&name, &category, &value};
    // Found ones set their bit; an absent one leaves its text alone; an
    // empty one is there, and empty.
    EXPECT_EQ(root->attributes({"NAME", "CATEGORY", "VALUE"}, outs), 0b101u);
    EXPECT_EQ(name, "n");
    EXPECT_EQ(category, "kept");
    EXPECT_EQ(value, "");
}
