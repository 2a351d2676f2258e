// The "#%02x" escaping of stored texts and the attribute form of names.
#include <gtest/gtest.h>

#include "db/StoredText.h"
#include "db/StringValue.h"
#include "db/TextEscape.h"
#include "db/XmlParse.h"

using namespace lh::db;

TEST(Escape, EveryByteRoundTrips) {
    std::string all;
    for (int b = 0; b < 256; ++b) all.push_back(char(b));
    std::string escaped = escapeText(all);
    for (unsigned char c : escaped) {
        EXPECT_TRUE(c >= 32 && c <= 127 && c != '"' && c != '<' && c != '&') << int(c);
    }
    std::string back = escaped;
    unescapeText(back);
    EXPECT_EQ(back, all);

    EXPECT_EQ(escapeText("line\nquote\"#"), "line#0aquote#22#23");
    EXPECT_EQ(escapeText("caf\xE9"), "caf#e9");
}

TEST(Escape, DecodingLeavesStrayHashesAlone) {
    std::string text = "a#22b";
    unescapeText(text);
    EXPECT_EQ(text, "a\"b");
    for (std::string odd : {"#", "x#", "#4", "#zz1", "50# off", "#4g"}) {
        std::string copy = odd;
        unescapeText(copy);
        EXPECT_EQ(copy, odd);
    }
    text = "#2341";  // "#23" is "#", then "41" stays text
    unescapeText(text);
    EXPECT_EQ(text, "#41");
    text = "#41#42#4";
    unescapeText(text);
    EXPECT_EQ(text, "AB#4");

    StringValue value;
    value.set("");
    EXPECT_TRUE(value.isNull());
    value.set("x");
    value.set(static_cast<const char*>(nullptr));
    EXPECT_TRUE(value.isNull());
    value.set("x#0Ay");
    EXPECT_EQ(value.text(), "x\ny");
}

TEST(Escape, AttributeTextOfEveryByteReadsBackThroughTheParser) {
    std::string all;
    for (int b = 1; b < 256; ++b) all.push_back(char(b));
    std::string doc = "<root><node name=\"";
    appendAttributeText(doc, all);
    doc += "\"/></root>";
    XmlParseResult parsed = parseXmlTextChecked(doc, "names");
    ASSERT_EQ(parsed.status, XmlStatus::ok) << parsed.error.message();
    std::string name;
    ASSERT_EQ(parsed.root->childAt(0)->attribute("NAME", name), 0);
    EXPECT_EQ(name, all);
}
