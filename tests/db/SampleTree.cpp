// The sample tree of the storage tests.
#include "SampleTree.h"

#include "db/DbNode.h"
#include "db/IntValue.h"
#include "db/KeptValues.h"
#include "db/StringValue.h"
#include "db/TextEscape.h"

namespace lh::test {

using namespace lh::db;

namespace {

DbNode* valueNode(DbNode& parent, const std::string& key, NodeKind kind) {
    DbNode* node = parent.addChildQuietly(key);
    if (node->kind == NodeKind::node) node->attachValue(makeValue(kind));
    return node;
}

void setText(DbNode& parent, const std::string& key, const std::string& text) {
    valueNode(parent, key, NodeKind::stringValue)->valueAs<StringValue>()->set(escapeText(text));
}

void setNumber(DbNode& parent, const std::string& key, int32_t number) {
    valueNode(parent, key, NodeKind::intValue)->valueAs<IntValue>()->set(number);
}

}  // namespace

void buildSampleTree(DbNode& root, int records) {
    DbNode* sheets = root.addChildQuietly("charsheet");
    sheets->addHolder("Gandra", false);
    sheets->setCategoryDefinition("Gandra", "Heroes|Villains \"&<odd>\"");
    std::string allBytes;
    for (int b = 1; b < 256; ++b) allBytes.push_back(char(b));
    for (int i = 0; i < records; ++i) {
        DbNode* record = sheets->addChildQuietly(sheets->nextRecordId());
        record->category = uint32_t(i % 3);
        if (i % 4 == 1) record->addHolder(i % 8 == 1 ? "Pell" : "R\xE9mi \"the <great>\"", true);
        setText(*record, "name", "Hero " + std::to_string(i) + " caf\xE9 #1 \"quoted\"\n<&>");
        setNumber(*record, "level", i % 20 - 3);
        setNumber(*record, "hp", -2147483647 - 1 + i);
        setText(*record, "empty", "");
        if (i % 5 == 0) setText(*record, "bytes", allBytes);
        DbNode* skills = record->addChildQuietly("skills");
        setNumber(*skills, "climb", i * 3);
        skills->addChildQuietly("emptygroup");
        if (i % 7 == 0) {
            DbNode* notes = valueNode(*record, "notes", NodeKind::formattedText);
            notes->valueAs<KeptFormattedText>()->markup =
                "<p>Plain <b>bold</b> #22 text</p>\n<list><li indent=\"2\">one</li></list>\n";
        }
        // A value node with children of its own.
        DbNode* counted = valueNode(*record, "counted", NodeKind::intValue);
        setNumber(*counted, "inner", i);
    }
    DbNode* images = root.addChildQuietly("image");
    DbNode* map = images->addChildQuietly("00001");
    auto* picture = valueNode(*map, "image", NodeKind::image)->valueAs<KeptImage>();
    picture->image.set("campaigns\\Test\\images\\Dungeon map.png");
    picture->mask.set("campaigns\\Test\\maskedimages\\0000abcd.png");
    setText(*map, "name", "Dungeon map");
    DbNode* bare = images->addChildQuietly("00002");
    valueNode(*bare, "image", NodeKind::image);
    DbNode* odd = root.addChildQuietly("\x01odd \"key\" <&> \xE9\xFF");
    odd->setModule("Sunken \xC3\xA9 Temple");
    setText(*odd, "k\xE9y\t2", allBytes);
    // Static data never reaches the file.
    DbNode* ruleset = root.addChildQuietly("rulesetdata");
    ruleset->isStatic = 1;
    setNumber(*ruleset, "x", 1);
    root.addChildQuietly("state");
}

void applyGeneration(DbNode& root, int generation) {
    DbNode* state = root.child("state");
    setNumber(*state, "generation", generation);
    setText(*state, "padding", std::string(size_t(generation % 997), 'x'));
}

}  // namespace lh::test
