// The stored form of the record tree: the exact grammar, round trips of
// every node kind and odd bytes, a hand-written file, and the one-pass file
// load against the document walk.
#include <gtest/gtest.h>

#include <filesystem>
#include <vector>

#include "SampleTree.h"
#include "db/DatabaseLoader.h"
#include "db/DatabaseWriter.h"
#include "db/DbContext.h"
#include "db/DbNode.h"
#include "db/IntValue.h"
#include "db/KeptValues.h"
#include "db/PlainDatabaseReader.h"
#include "db/StringValue.h"
#include "db/TextEscape.h"
#include "db/XmlParse.h"
#include "platform/Paths.h"
#include "support/TestSupport.h"

using namespace lh::db;

namespace {

// Everything stored about a subtree, one line per node, for comparing trees.
void describe(const DbNode& node, std::string& out, const std::string& indent) {
    if (node.isStatic) return;
    out += indent + escapeText(node.name) + " kind=" + std::to_string(int(node.kind)) +
           " cat=" + std::to_string(node.category) + " module=" + escapeText(node.module.view());
    if (auto* v = node.valueAs<IntValue>()) out += " int=" + std::to_string(v->base());
    if (auto* v = node.valueAs<StringValue>()) out += v->isNull() ? " null" : " text=" + escapeText(v->text());
    if (auto* v = node.valueAs<KeptFormattedText>()) out += " markup=" + escapeText(v->markup);
    if (auto* v = node.valueAs<KeptImage>()) out += " paths=" + v->image.str() + "|" + v->mask.str() + "|" + v->drawing.str();
    out += " holders=";
    for (auto* h : node.holders) out += escapeText(h->name.view()) + ",";
    out += " owner=" + (node.owner ? escapeText(node.owner->name.view()) : std::string("-"));
    for (auto& [holder, def] : node.categoryDefinitions) out += " def[" + escapeText(holder) + "]=" + escapeText(def);
    out += "\n";
    for (auto& [key, child] : node.children) describe(*child, out, indent + " ");
}

std::string describe(const DbNode& root) {
    std::string out;
    describe(root, out, "");
    return out;
}

void loadText(const std::string& text, DbNode& root) {
    XmlParseResult parsed = parseXmlTextChecked(text, "db.xml");
    ASSERT_EQ(parsed.status, XmlStatus::ok) << parsed.error.message();
    EXPECT_EQ(loadNodes(parsed.root.get(), root, false), 0);
}

}  // namespace

TEST(Storage, GrammarLineByLine) {
    DbNode root("", nullptr);
    EXPECT_EQ(databaseText(root), "<root>\n</root>\n");

    DbNode* group = root.addChildQuietly("grp");
    group->category = 3;
    group->setModule("Mod");
    DbNode* number = group->addChildQuietly("n");
    number->attachValue(makeValue(NodeKind::intValue));
    number->valueAs<IntValue>()->set(-3);
    DbNode* text = group->addChildQuietly("t");
    text->attachValue(makeValue(NodeKind::stringValue));
    text->valueAs<StringValue>()->set(escapeText("a\nb\"c"));
    DbNode* none = group->addChildQuietly("u");
    none->attachValue(makeValue(NodeKind::stringValue));
    group->addChildQuietly("empty");
    group->addChildQuietly("hidden")->isStatic = 1;
    group->addHolder("Ann", false);
    group->addHolder("Bo", true);
    EXPECT_EQ(databaseText(root),
              "<root>\n"
              "\t<node name=\"grp\" category=\"3\" module=\"Mod\">\n"
              "\t\t<holder name=\"Ann\" />\n"
              "\t\t<holder name=\"Bo\" owner=\"true\" />\n"
              "\t\t<node name=\"empty\">\n"
              "\t\t\t<holder name=\"Ann\" />\n"
              "\t\t\t<holder name=\"Bo\" owner=\"true\" />\n"
              "\t\t</node>\n"
              "\t\t<intvalue name=\"n\" value=\"-3\" />\n"
              "\t\t<stringvalue name=\"t\" value=\"a#0ab#22c\" />\n"
              "\t\t<stringvalue name=\"u\" value=\"\" />\n"
              "\t</node>\n"
              "</root>\n");

    DbNode other("", nullptr);
    DbNode* rec = other.addChildQuietly("r");
    rec->setCategoryDefinition("Ann", "x|y");
    DbNode* notes = rec->addChildQuietly("notes");
    notes->attachValue(makeValue(NodeKind::formattedText));
    notes->valueAs<KeptFormattedText>()->markup = "<p>Hi</p>\n";
    DbNode* image = rec->addChildQuietly("pic");
    image->attachValue(makeValue(NodeKind::image));
    image->valueAs<KeptImage>()->image.set("campaigns\\C\\images\\a.png");
    DbNode* withChild = rec->addChildQuietly("v");
    withChild->attachValue(makeValue(NodeKind::intValue));
    withChild->addChildQuietly("sub");
    EXPECT_EQ(databaseText(other),
              "<root>\n"
              "\t<node name=\"r\">\n"
              "\t\t<categorydef holder=\"Ann\" definition=\"x|y\" />\n"
              "\t\t<formattedtext name=\"notes\">\n"
              "\t\t\t<p>Hi</p>\n"
              "\t\t</formattedtext>\n"
              "\t\t<image name=\"pic\" image=\"campaigns\\C\\images\\a.png\" />\n"
              "\t\t<intvalue name=\"v\" value=\"0\">\n"
              "\t\t\t<node name=\"sub\">\n"
              "\t\t\t</node>\n"
              "\t\t</intvalue>\n"
              "\t</node>\n"
              "</root>\n");
}

TEST(Storage, EveryKindAndOddBytesRoundTrip) {
    DbNode original("", nullptr);
    lh::test::buildSampleTree(original, 40);
    lh::test::applyGeneration(original, 7);
    std::string text = databaseText(original);
    EXPECT_EQ(text.find("rulesetdata"), std::string::npos);

    DbNode loaded("", nullptr);
    loadText(text, loaded);
    EXPECT_EQ(describe(loaded), describe(original));
    EXPECT_EQ(databaseText(loaded), text);

    // The key with control, quote and high bytes came back exactly.
    std::string allBytes;
    for (int b = 1; b < 256; ++b) allBytes.push_back(char(b));
    DbNode* odd = loaded.child("\x01odd \"key\" <&> \xE9\xFF");
    ASSERT_NE(odd, nullptr);
    EXPECT_EQ(odd->module.view(), "Sunken \xC3\xA9 Temple");
    EXPECT_EQ(odd->child("k\xE9y\t2")->valueAs<StringValue>()->text(), allBytes);
    EXPECT_TRUE(loadedModules().count("Sunken \xC3\xA9 Temple"));

    // Reading the same file again merges: nothing doubles.
    loadText(text, loaded);
    EXPECT_EQ(describe(loaded), describe(original));
}

TEST(Storage, HandWrittenFileReadsIntoTheExpectedTree) {
    std::string text = lh::test::readFile(std::string(LOREHAVEN_TEST_DATA) + "/db/handwritten.xml");
    DbNode root("", nullptr);
    loadText(text, root);

    DbNode* sheets = root.child("charsheet");
    ASSERT_NE(sheets, nullptr);
    EXPECT_EQ(sheets->categoryDefinitions.at("Pell"), "Heroes|Villains");
    DbNode* record = findNode("charsheet.00001", root);
    ASSERT_NE(record, nullptr);
    EXPECT_EQ(record->category, 2u);
    EXPECT_EQ(record->owner, findKnownUser("Pell"));
    ASSERT_EQ(record->holders.size(), 1u);
    EXPECT_EQ(findNode("charsheet.00001.name", root)->valueAs<StringValue>()->text(), "Bj\xF6rn \"Axe\"");
    EXPECT_EQ(findNode("charsheet.00001.level", root)->valueAs<IntValue>()->base(), -3);
    DbNode* notes = findNode("charsheet.00001.notes", root);
    EXPECT_EQ(notes->kind, NodeKind::formattedText);
    EXPECT_EQ(notes->valueAs<KeptFormattedText>()->markup, "<p>Plain <b>bold</b></p>\n");
    EXPECT_EQ(findNode("charsheet.00001.skills", root)->owner, findKnownUser("Pell"));

    auto* image = findNode("image.00001.image", root)->valueAs<KeptImage>();
    ASSERT_NE(image, nullptr);
    EXPECT_EQ(image->image.view(), "campaigns\\Test\\images\\map.png");
    EXPECT_EQ(image->mask.view(), "campaigns\\Test\\maskedimages\\0000002a.png");
    EXPECT_TRUE(image->drawing.empty());
    EXPECT_EQ(findNode("image.00001", root)->module.view(), "Sunken Temple");

    // Tags and attributes in any case; atoi-like numbers; a missing value is
    // null; unknown tags, nameless holders and definitions without text are
    // skipped.
    DbNode* mixed = root.child("mixed");
    EXPECT_EQ(mixed->child("a")->valueAs<IntValue>()->base(), 42);
    EXPECT_TRUE(mixed->child("noValue")->valueAs<StringValue>()->isNull());
    EXPECT_EQ(mixed->child("skipped"), nullptr);
    EXPECT_TRUE(mixed->holders.empty());
    EXPECT_TRUE(mixed->categoryDefinitions.empty());

    // An existing node keeps its kind: a number for a text node is dropped.
    std::string clash = "<root><node name=\"mixed\"><stringvalue name=\"a\" value=\"x\"/></node></root>";
    loadText(clash, root);
    EXPECT_EQ(mixed->child("a")->kind, NodeKind::intValue);
    EXPECT_EQ(mixed->child("a")->valueAs<IntValue>()->base(), 42);

    EXPECT_EQ(loadNodes(nullptr, root, false), 1);
}

// A text with line breaks, blank lines, tabs and leading blanks, as a
// hand-written file holds it, comes back byte for byte from every save.
TEST(Storage, FormattedTextKeepsItsBytesThroughRepeatedSaves) {
    const std::string lines = "line1\nline2\n\n\tafter a blank line and a tab\n    four blanks in front\n\n\nlast";
    std::string text = "<root>\n\t<node name=\"notes\">\n\t\t<formattedtext name=\"story\">\n\t\t\t<p>" + lines +
                       "</p>\n\t\t\t<p>Plain <b>bold\n\n  still bold</b> after</p>\n\t\t</formattedtext>\n\t</node>\n"
                       "</root>\n";
    auto paragraphs = [](const DbNode& root) {
        std::vector<std::string> out;
        auto* value = findNode("notes.story", root)->valueAs<KeptFormattedText>();
        auto parsed = parseXmlTextChecked("<root>" + value->markup + "</root>", "markup");
        EXPECT_EQ(parsed.status, XmlStatus::ok);
        if (!parsed.root) return out;
        for (size_t i = 0; auto child = parsed.root->childAt(i); ++i) out.push_back(child->text().value_or(""));
        return out;
    };
    const std::vector<std::string> expected = {lines, "Plainbold\n\n  still boldafter"};
    std::string firstSave;
    for (int cycle = 1; cycle <= 5; ++cycle) {
        DbNode root("", nullptr);
        loadText(text, root);
        EXPECT_EQ(paragraphs(root), expected) << "cycle " << cycle;
        text = databaseText(root);
        if (cycle == 1) firstSave = text;
        EXPECT_EQ(text, firstSave) << "cycle " << cycle;
    }
}

TEST(Storage, StaticLoadMarksNodes) {
    DbNode root("", nullptr);
    XmlParseResult parsed = parseXmlTextChecked("<root><node name=\"g\"><intvalue name=\"x\" value=\"1\"/></node>"
                                                "<stringvalue name=\"s\" value=\"v\"/></root>",
                                                "static");
    ASSERT_EQ(parsed.status, XmlStatus::ok);
    loadNodes(parsed.root.get(), root, true);
    EXPECT_TRUE(root.child("g")->isStatic);
    EXPECT_TRUE(findNode("g.x", root)->isStatic);
    EXPECT_EQ(databaseText(root), "<root>\n</root>\n");
}

namespace {

// Renumbers Module records from 00101 on and marks images as taken out.
class FakeModule : public ModuleLoadHooks {
public:
    std::string_view moduleName() const override { return "Crypt"; }
    std::string translateRecordId(std::string_view group, std::string_view id) override {
        return std::string(group == "story" ? "001" : "002") + std::string(id.substr(3));
    }
    void readImage(XmlElement& element, ImageValueBase& value) override {
        std::string entry;
        element.attribute("IMAGE", entry);
        value.setImagePath("campaigns\\C\\modules\\Crypt\\images\\" + entry);
    }
};

class PackedImages : public ExportHooks {
public:
    void writeImage(std::string& out, const DbNode& node, int indent) override {
        out.append(size_t(indent), '\t');
        out += "<image name=\"" + node.name + "\" image=\"packed\" />\n";
    }
};

struct CountingObserver : NodeObserver {
    int changes = 0;
    void onChanged(ChangeKind) override { ++changes; }
    void onNodeDeleted() override {}
};

}  // namespace

TEST(Storage, ModuleLoadAndExportForms) {
    DbNode root("", nullptr);
    DbNode* story = root.addChildQuietly("story");
    story->addChildQuietly("00102");  // a record of the Campaign itself
    CountingObserver observer;
    NodeObservation watch(*story, observer);

    XmlParseResult parsed = parseXmlTextChecked(
        "<root><node name=\"story\">"
        "<node name=\"00007\"><stringvalue name=\"name\" value=\"Gate\"/><image name=\"map\" image=\"gate.png\"/></node>"
        "<node name=\"00009\"><intvalue name=\"n\" value=\"4\"/></node>"
        "</node></root>",
        "crypt.mod:db.xml");
    ASSERT_EQ(parsed.status, XmlStatus::ok);
    FakeModule module;
    loadNodes(parsed.root.get(), root, false, &module);
    DbNode* gate = findNode("story.00107", root);
    ASSERT_NE(gate, nullptr);
    EXPECT_EQ(gate->module.view(), "Crypt");
    EXPECT_EQ(findNode("story.00107.name", root)->module.view(), "Crypt");
    EXPECT_EQ(findNode("story.00107.map", root)->valueAs<ImageValueBase>()->imagePath(),
              "campaigns\\C\\modules\\Crypt\\images\\gate.png");
    EXPECT_NE(findNode("story.00109.n", root), nullptr);
    EXPECT_TRUE(story->module.empty());  // existing groups keep their mark
    EXPECT_TRUE(loadedModules().count("Crypt"));
    EXPECT_GE(observer.changes, 2);  // told after each child element
    watch.reset();

    // The export form: no marks, holders or definitions, no Module nodes,
    // images by the exporter.
    story->category = 4;
    story->addHolder("Ann", true);
    story->setCategoryDefinition("Ann", "x");
    DbNode* own = story->child("00102");
    DbNode* pic = own->addChildQuietly("pic");
    pic->attachValue(makeValue(NodeKind::image));
    PackedImages exporter;
    std::string out;
    writeNode(out, *story, 1, &exporter);
    EXPECT_EQ(out,
              "\t<node name=\"story\">\n"
              "\t\t<node name=\"00102\">\n"
              "\t\t\t<image name=\"pic\" image=\"packed\" />\n"
              "\t\t</node>\n"
              "\t</node>\n");
    EXPECT_EQ(root.removeModuleNodes("Crypt"), 0);
    EXPECT_EQ(story->children.size(), 1u);
}

TEST(Storage, DeepFilesStopAtTheDeepestPossiblePath) {
    std::string deep;
    for (int i = 0; i < 100000; ++i) deep += "<node name=\"n\">";
    for (int i = 0; i < 100000; ++i) deep += "</node>";
    DbNode root("", nullptr);
    loadText("<root>" + deep + "</root>", root);
    int depth = 0;
    for (DbNode* n = &root; !n->children.empty(); n = n->children.front().second) ++depth;
    EXPECT_EQ(depth, 128);
    EXPECT_EQ(findNode("n.n.n", root)->pathOf(), "n.n.n");
}

TEST(Storage, FormattedTextWithNamesOutsideAsciiSavesReadably) {
    // Found by fuzzing: characters outside ASCII in the element and
    // attribute names of a formatted text were saved as references, which
    // names cannot hold, so the saved db.xml no longer read.
    std::string folder = std::string(LOREHAVEN_TEST_DATA) + "/malformed/fuzz_database/";
    for (const char* file : {"markup_names_not_ascii.xml", "markup_name_raw_bytes_found.xml"}) {
        SCOPED_TRACE(file);
        DbNode root("", nullptr);
        loadText(lh::test::readFile(folder + file), root);
        DbNode again("", nullptr);
        loadText(databaseText(root), again);  // reads back
    }
    // Names, texts, values and the CDATA's text all come back as they were
    // (the CDATA may come back as escaped text, which reads the same).
    DbNode root("", nullptr);
    loadText(lh::test::readFile(folder + "markup_names_not_ascii.xml"), root);
    DbNode again("", nullptr);
    loadText(databaseText(root), again);
    const std::string& markup = findNode("notes.text", root)->valueAs<KeptFormattedText>()->markup;
    EXPECT_TRUE(markup.find("<![CDATA[x > \"y") != std::string::npos || markup.find("x &gt; ") != std::string::npos) << markup;
    EXPECT_EQ(findNode("notes.text", again)->valueAs<KeptFormattedText>()->markup, markup);
}

namespace {

// Loads `bytes` as a stored file both ways: the program's loader, and a walk
// through the parsed document. The answers, errors and trees must agree.
void expectSameLoad(const std::filesystem::path& dir, const std::string& bytes, const std::string& label) {
    lh::test::writeFile(dir / "db.xml", bytes);
    DbNode fast("", nullptr), walked("", nullptr);
    XmlParseResult loaded = loadDatabase("db.xml", fast, false);
    XmlParseResult parsed = parseXmlFileChecked("db.xml");
    if (parsed.status == XmlStatus::ok) loadNodes(parsed.root.get(), walked, false);
    EXPECT_EQ(loaded.status, parsed.status) << label;
    EXPECT_EQ(loaded.root, nullptr) << label;
    EXPECT_EQ(loaded.error.title, parsed.error.title) << label;
    EXPECT_EQ(loaded.error.message(), parsed.error.message()) << label;
    EXPECT_EQ(describe(fast), describe(walked)) << label;
}

}  // namespace

TEST(Storage, FileLoadGivesTheTreeAndErrorsOfTheDocumentWalk) {
    lh::test::TempDir work;
    lh::platform::setWorkingDirectory(work.path());
    const std::string plain =
        "<?xml version=\"1.0\" encoding=\"iso-8859-1\"?>\n<root version=\"2\">\n"
        "\t<node name=\"g\" category=\"7\" CATEGORY=\"9\">\n"
        "\t\t<holder name=\"Pell\" owner=\"true\" />\n\t\t<HOLDER NAME=\"Quin\" OWNER=\"yes\"/>\n"
        "\t\t<categorydef holder=\"Pell\" definition=\"A|B\"/>\n\t\t<categorydef definition=\"C\"/>\n"
        "\t\t<intvalue name='i' value=\"99999999999\"/>\n\t\t<IntValue Name=\"j\" Value=\" -12x\"></IntValue>\n"
        "\t\t<stringvalue name=\"s\" value=\"a#22b#e9#zz\" name=\"t\"/>\n\t\t<stringvalue name=\"e\" value=\"\"/>\n"
        "\t\t<other name=\"x\"><node name=\"hidden\"/></other>\n"
        "\t\t<node name=\"a.b\"><node name=\"under\"/></node>\n\t\t<node><node name=\"under\"/></node>\n"
        "\t\t<intvalue name=\"i\" value=\"3\"><holder name=\"Q\"/><node name=\"below\"/></intvalue>\n"
        "\t\t<stringvalue name=\"i\" value=\"kind clash\"/>\n\t\t<node name=\"g2\" category=\"-1\"/>\n"
        "\t</node>\n\t<node name=\"g\" category=\"1\"><intvalue name=\"k\" value=\"1\"/></node>\n</root>\n";

    std::vector<std::pair<std::string, std::string>> inputs{{"plain", plain}};
    inputs.emplace_back("declared last", plain.substr(plain.find("<root")) + "<?xml version=\"1.0\"?>");
    inputs.emplace_back("crlf", [&] {
        std::string crlf;
        for (char c : plain) crlf += c == '\n' ? std::string("\r\n") : std::string(1, c);
        return crlf;
    }());
    inputs.emplace_back("references", "<root><node name=\"a&amp;b\" category=\"&#51;\"/><!-- c --></root>");
    inputs.emplace_back("high bytes", "<root><stringvalue name=\"k\xE9y\" value=\"v\xE9\"/></root>");
    inputs.emplace_back("bom", "\xEF\xBB\xBF" + plain);
    inputs.emplace_back("module", "<root><node name=\"m\" module=\"Crypt\"><node name=\"x\"/></node></root>");
    for (const char* name : {"db/handwritten.xml", "malformed/db_bad_attribute.xml", "malformed/db_unclosed.xml"})
        inputs.emplace_back(name, lh::test::readFile(std::string(LOREHAVEN_TEST_DATA) + "/" + name));
    DbNode sample("", nullptr);
    lh::test::buildSampleTree(sample, 12);
    inputs.emplace_back("sample", databaseText(sample));
    for (auto& [label, bytes] : inputs) expectSameLoad(work.path(), bytes, label);

    // Every cut of the plain file, and every byte of it replaced by one that
    // changes the markup, reads the same both ways.
    for (size_t n = 0; n < plain.size(); ++n) expectSameLoad(work.path(), plain.substr(0, n), "cut " + std::to_string(n));
    for (size_t i = 0; i < plain.size(); ++i) {
        for (char c : {'<', '"', ' ', '\0'}) {
            std::string changed = plain;
            changed[i] = c;
            expectSameLoad(work.path(), changed, "byte " + std::to_string(i) + " = " + std::to_string(int(c)));
        }
    }
}

namespace {

// Whether the one-pass reader takes `bytes` whole (it reads into a tree of
// its own here, which is dropped).
bool readsInOnePass(const std::string& bytes) {
    DbNode root("", nullptr);
    return readPlainDatabase(bytes.c_str(), bytes.size(), root, false);
}

}  // namespace

TEST(Storage, CampaignFilesOfEveryFormReadInOnePass) {
    lh::test::TempDir work;
    lh::platform::setWorkingDirectory(work.path());
    // What saves write, with every kind, and what hand-edited and older
    // files hold: references, 8-bit and UTF-8 text, line ends with CR, white
    // space inside values, Modules, formatted text with nested markup, CDATA
    // and comments, images with and without content, and names given by
    // reference.
    const std::string wide =
        "<root>\r\n"
        "\t<node name=\"g&amp;h\" module=\"Sunken &#84;emple\" category=\"&#50;\">\r\n"
        "\t\t<holder name=\"P&#xE9;ll\" owner=\"true\" />\r\n"
        "\t\t<stringvalue name=\"s\" value=\"a &lt;b&gt; &apos;c&apos; &quot;d&quot; #22e#22\" />\r\n"
        "\t\t<stringvalue name=\"raw\" value=\"caf\xE9 \xC3\xA9t\xC3\xA9 \xE2\x82\xAC &#8364; &#x1F600;\" />\r\n"
        "\t\t<stringvalue name=\"ws\" value=\"a\tb\nc\r\nd\re &#10;f\" />\r\n"
        "\t\t<intvalue name=\"i\" value=\"&#45;12\" />\r\n"
        "\t\t<formattedtext name=\"notes\">\r\n"
        "\t\t\t<p>Plain <b>bold &amp; \xE9</b><!-- </formattedtext> --></p>\r\n"
        "\t\t\t<p><![CDATA[x </p> y]]><i attr='>'>z</i><br/></p>\r\n"
        "\t\t</formattedtext>\r\n"
        "\t\t<FormattedText NAME=\"empty\"/>\r\n"
        "\t\t<image name=\"image\" image=\"campaigns\\T\\images\\m\xE9p.png\" mask=\"m.png\" drawing=\"d.png\" />\r\n"
        "\t\t<image name=\"inner\" image=\"x.png\"><node name=\"ignored\"/></image>\r\n"
        "\t\t<categorydef holder=\"P&#xE9;ll\" definition=\"A&amp;B\" />\r\n"
        "\t</node>\r\n"
        "</root>\r\n";
    DbNode sample("", nullptr);
    lh::test::buildSampleTree(sample, 12);
    std::vector<std::pair<std::string, std::string>> inputs{
        {"wide", wide},
        {"wide, declared 8-bit", "<?xml version=\"1.0\" encoding=\"ISO-8859-1\"?>\n" + wide},
        {"wide, declared UTF-8", "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n" + wide},
        {"sample", databaseText(sample)},
        {"hand-written", lh::test::readFile(std::string(LOREHAVEN_TEST_DATA) + "/db/handwritten.xml")}};
    for (auto& [label, bytes] : inputs) {
        EXPECT_TRUE(readsInOnePass(bytes)) << label;
        expectSameLoad(work.path(), bytes, label);
    }
    // Saved and read again, a file that went through the one pass gives the
    // same bytes.
    DbNode once("", nullptr);
    ASSERT_TRUE(readPlainDatabase(inputs[0].second.c_str(), inputs[0].second.size(), once, false));
    std::string saved = databaseText(once);
    DbNode twice("", nullptr);
    ASSERT_TRUE(readPlainDatabase(saved.c_str(), saved.size(), twice, false));
    EXPECT_EQ(databaseText(twice), saved);
    EXPECT_EQ(findNode("g&h.s", once)->valueAs<StringValue>()->text(), "a <b> 'c' \"d\" \"e\"");
    EXPECT_EQ(findNode("g&h.ws", once)->valueAs<StringValue>()->text(), "a b c d e \nf");
    EXPECT_EQ(findNode("g&h.i", once)->valueAs<IntValue>()->base(), -12);
    EXPECT_EQ(findNode("g&h", once)->module.view(), "Sunken Temple");
    EXPECT_TRUE(loadedModules().count("Sunken Temple"));

    // What the one pass does not take goes the long way, and the answer is
    // the same: markup that does not close, references the parser leaves
    // alone or that end a text, a comment or text between the records.
    const std::vector<std::string> refused{
        "<root><formattedtext name=\"f\"><p><b>x</p></b></formattedtext></root>",
        "<root><formattedtext name=\"f\"><p>x</formattedtext></root>",
        "<root><formattedtext name=\"f\"><p>x</p></root>",
        "<root><image name=\"i\" image=\"a\"><x></image></root>",
        "<root><stringvalue name=\"s\" value=\"&unknown;\"/></root>",
        "<root><stringvalue name=\"s\" value=\"&#0;\"/></root>",
        "<root><stringvalue name=\"s\" value=\"&#X41;\"/></root>",
        "<root><stringvalue name=\"s\" value=\"&#55296;\"/></root>",
        "<root><stringvalue name=\"s\" value=\"&amp\"/></root>",
        "<root><!-- c --><node name=\"n\"/></root>",
        "<root>text<node name=\"n\"/></root>"};
    for (const std::string& bytes : refused) {
        EXPECT_FALSE(readsInOnePass(bytes)) << bytes;
        expectSameLoad(work.path(), bytes, bytes);
    }
    // Cuts of the wide file, and each byte of it replaced by one that
    // changes the markup or a reference (taking turns, to keep the run short).
    for (size_t n = 0; n < wide.size(); n += 5) expectSameLoad(work.path(), wide.substr(0, n), "cut " + std::to_string(n));
    for (size_t i = 0; i < wide.size(); ++i) {
        std::string changed = wide;
        changed[i] = "<&'"[i % 3];
        expectSameLoad(work.path(), changed, "byte " + std::to_string(i) + " = " + changed.substr(i, 1));
    }
}
