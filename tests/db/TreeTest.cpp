// The record tree: observers, deletion order, numbering, holders, owners.
#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "SampleTree.h"
#include "db/DatabaseWriter.h"
#include "db/DbContext.h"
#include "db/DbNode.h"
#include "db/IntValue.h"
#include "db/StringValue.h"
#include "db/SessionMode.h"

using namespace lh::db;

namespace {

// Records every call, in order, into a shared log.
class LogObserver : public NodeObserver {
public:
    LogObserver(std::string tag, DbNode* watched, std::vector<std::string>& log)
        : tag(std::move(tag)), node(watched), log(log), observation(*watched, *this) {}
    void onChanged(ChangeKind change) override { log.push_back(tag + ":changed" + std::to_string(int(change))); }
    void onNodeDeleted() override {
        // The node is still whole here; the observation has ended already.
        log.push_back(tag + ":deleted" + (node->value ? "+value" : "") + (observation ? "+observed" : ""));
        node = nullptr;
    }
    std::string tag;
    DbNode* node;
    std::vector<std::string>& log;
    NodeObservation observation;
};

class RecordingSink : public ReplicationSink {
public:
    void publishNode(DbNode& node) override { published.push_back(node.pathOf()); }
    void nodeDeleted(const std::string& path) override { deleted.push_back(path); }
    std::vector<std::string> published, deleted;
};

class Tree : public ::testing::Test {
protected:
    void SetUp() override {
        dbContext() = DbContext{};
        setSessionMode(SessionMode::Join);
    }
    void TearDown() override {
        dbContext() = DbContext{};
        clearTree();
    }

    DbNode* makeInt(DbNode* parent, const char* key, int32_t number) {
        DbNode* node = parent->addChildQuietly(key);
        node->attachValue(std::make_unique<IntValue>());
        node->valueAs<IntValue>()->set(number);
        return node;
    }
};

}  // namespace

TEST_F(Tree, ObserversSeeAddValueChangeAndDeleteInOrder) {
    std::vector<std::string> log;
    RecordingSink sink;
    dbContext().sink = &sink;

    DbNode* group = rootNode().addChild("charsheet");
    LogObserver rootWatch("root", &rootNode(), log);
    LogObserver groupWatch("group", group, log);

    DbNode* record = group->addChild(group->nextRecordId());
    ASSERT_EQ(record->name, "00001");
    LogObserver recordWatch("record", record, log);
    DbNode* name = record->addChild("name");
    name->attachValue(std::make_unique<StringValue>());
    LogObserver fieldWatch("field", name, log);
    EXPECT_EQ(log, (std::vector<std::string>{"group:changed0", "root:changed0", "record:changed0", "group:changed0",
                                             "root:changed0"}));
    log.clear();

    // Renaming a record is a change of its name field: the record and all
    // above it hear of a changed value, the field itself does not.
    name->valueAs<StringValue>()->set("Bor#22k");
    EXPECT_EQ(name->valueAs<StringValue>()->text(), "Bor\"k");
    EXPECT_EQ(name->valueAs<StringValue>()->publish(false), 0);
    EXPECT_EQ(sink.published, std::vector<std::string>{"charsheet.00001.name"});
    EXPECT_EQ(log, (std::vector<std::string>{"record:changed1", "group:changed1", "root:changed1"}));
    log.clear();

    // Deletion: observers of the node and of the child are told while their
    // values still exist; the parent hears of it after the node left; one
    // message names the top of the subtree.
    delete record;
    EXPECT_EQ(log, (std::vector<std::string>{"record:deleted", "group:changed0", "root:changed0", "field:deleted+value"}));
    EXPECT_EQ(sink.deleted, std::vector<std::string>{"charsheet.00001"});
    EXPECT_EQ(group->child("00001"), nullptr);
    EXPECT_EQ(findNode("charsheet.00001.name"), nullptr);
    EXPECT_EQ(group->nextRecordId(), "00001");
}

TEST_F(Tree, PathsLookupsAndRecordNumbering) {
    DbNode* group = rootNode().addChild("image");
    EXPECT_EQ(group->pathOf(), "image");
    EXPECT_EQ(rootNode().pathOf(), "");
    EXPECT_EQ(group->nextRecordId(), "00001");
    for (int i = 0; i < 5; ++i) group->addChild(group->nextRecordId());
    delete group->child("00002");
    delete group->child("00004");
    EXPECT_EQ(group->nextRecordId(), "00002");
    group->addChild(group->nextRecordId());
    EXPECT_EQ(group->nextRecordId(), "00004");
    DbNode* field = group->child("00003")->addChild("name");
    EXPECT_EQ(field->pathOf(), "image.00003.name");
    EXPECT_EQ(findNode("image.00003.name"), field);
    EXPECT_EQ(findNode("image.00003.missing"), nullptr);
    EXPECT_EQ(group->child("00003")->children.size(), 1u);
    EXPECT_EQ(findNode("image..name"), nullptr);
    EXPECT_EQ(group->addChild("a.b"), nullptr);
    EXPECT_EQ(group->addChild(""), nullptr);
    // Byte-wise order: upper case before lower, high bytes last.
    group->addChild("\xE9t\xE9");
    group->addChild("Zed");
    group->addChild("abc");
    std::vector<std::string> keys;
    for (auto& [key, node] : group->children) keys.push_back(std::string(key));
    EXPECT_EQ(keys.back(), "\xE9t\xE9");
    EXPECT_LT(std::find(keys.begin(), keys.end(), "Zed"), std::find(keys.begin(), keys.end(), "abc"));

    // Past five digits the ids grow a sixth.
    DbNode* big = rootNode().addChild("big");
    for (int i = 0; i < 99999; ++i) {
        char id[8];
        std::snprintf(id, sizeof id, "%05d", i + 1);
        big->addChildQuietly(id);
    }
    EXPECT_EQ(big->nextRecordId(), "100000");
}

TEST_F(Tree, HoldersOwnersAndEditRights) {
    DbNode* group = rootNode().addChild("notes");
    DbNode* record = group->addChild("00001");
    record->addHolder("alice", false);
    record->addHolder("bob", true);
    record->addHolder("alice", false);  // no duplicate
    ASSERT_EQ(record->holders.size(), 2u);
    EXPECT_EQ(record->holders[0], findKnownUser("alice"));
    EXPECT_EQ(record->owner, findKnownUser("bob"));

    // A child born under the record takes its holders and owner.
    DbNode* field = record->addChild("text");
    EXPECT_EQ(field->holders, record->holders);
    EXPECT_EQ(field->owner, findKnownUser("bob"));

    // Making an existing holder owner reaches the whole subtree, but adds no
    // holder to a child that lacks that user.
    DbNode* late = record->addChild("late");
    late->holders.clear();
    record->addHolder("alice", true);
    EXPECT_EQ(late->owner, findKnownUser("alice"));
    EXPECT_TRUE(late->holders.empty());

    // Over-long user names are cut to the 19 bytes the record holds, the same
    // way at every lookup.
    SessionUser& longName = knownUser("a-very-long-player-name-of-forty-nine-characters");
    EXPECT_EQ(longName.name.size(), 19u);
    EXPECT_EQ(&knownUser("a-very-long-player-name-that-differs-late"), &longName);

    setSessionMode(SessionMode::Host);
    EXPECT_TRUE(field->canEdit());
    field->isStatic = 1;
    EXPECT_FALSE(field->canEdit());
    setSessionMode(SessionMode::Join);
    EXPECT_FALSE(late->canEdit());  // owned by another
    late->setOwner(nullptr);
    EXPECT_FALSE(late->canEdit());  // unowned
    late->setOwner(&localUser());
    EXPECT_TRUE(late->canEdit());

    // Kinds never change once set.
    EXPECT_EQ(late->attachValue(std::make_unique<IntValue>()), 0);
    EXPECT_EQ(late->attachValue(std::make_unique<StringValue>()), -1);
    EXPECT_EQ(late->kind, NodeKind::intValue);
}

TEST_F(Tree, IntValueSourcesAccumulateInOrder) {
    DbNode* record = rootNode().addChild("sheet");
    IntValue* strength = makeInt(record, "str", 14)->valueAs<IntValue>();
    IntValue* bonus = makeInt(record, "bonus", 2)->valueAs<IntValue>();
    IntValue* divisor = makeInt(record, "div", 0)->valueAs<IntValue>();
    IntValue* total = makeInt(record, "total", 1)->valueAs<IntValue>();

    total->addSource(*strength, IntValue::Operation::add, {{14, 2}});  // mapped: 14 -> 2
    total->addSource(*bonus, IntValue::Operation::multiply);
    EXPECT_EQ(total->effective(), 1 + 2 * 2);
    total->addSource(*divisor, IntValue::Operation::divide);
    EXPECT_EQ(total->effective(), 5);  // dividing by 0 leaves the sum alone
    divisor->set(3);
    EXPECT_EQ(total->effective(), 1 + 4 / 3);
    strength->set(10);  // no longer mapped
    EXPECT_EQ(total->effective(), 1 + (10 * 2) / 3);
    EXPECT_EQ(total->base(), 1);

    // Values that feed each other do not loop forever.
    bonus->addSource(*total, IntValue::Operation::add);
    strength->set(11);
    SUCCEED();

    // The 32-bit edges hold: no overflow, no trap, the nearest end.
    IntValue* edge = makeInt(record, "edge", INT32_MAX)->valueAs<IntValue>();
    IntValue* one = makeInt(record, "one", 1)->valueAs<IntValue>();
    edge->addSource(*one, IntValue::Operation::add);
    EXPECT_EQ(edge->effective(), INT32_MAX);
    edge->addSource(*one, IntValue::Operation::add);  // a source counts once
    EXPECT_EQ(edge->sources().size(), 1u);
    IntValue* lowest = makeInt(record, "lowest", INT32_MIN)->valueAs<IntValue>();
    IntValue* minusOne = makeInt(record, "minusone", -1)->valueAs<IntValue>();
    IntValue* quotient = makeInt(record, "quotient", 0)->valueAs<IntValue>();
    quotient->addSource(*lowest, IntValue::Operation::add);
    quotient->addSource(*minusOne, IntValue::Operation::divide);
    EXPECT_EQ(quotient->effective(), INT32_MAX);
    quotient->addSource(*lowest, IntValue::Operation::multiply, {});
    EXPECT_EQ(quotient->sources().size(), 2u);
    IntValue* product = makeInt(record, "product", -5)->valueAs<IntValue>();
    product->addSource(*edge, IntValue::Operation::add);
    product->addSource(*edge, IntValue::Operation::multiply, {});  // refused: edge is there
    product->addSource(*lowest, IntValue::Operation::multiply);
    EXPECT_EQ(product->effective(), INT32_MIN);  // MAX * MIN, then -5, at the low end
    product->addSource(*minusOne, IntValue::Operation::subtract);
    EXPECT_EQ(product->effective(), INT32_MIN);

    // A deleted source leaves its dependants consistent.
    delete record->child("bonus");
    EXPECT_EQ(total->sources().size(), 2u);
    total->mode = IntValue::readOnly;
    total->set(99);
    EXPECT_EQ(total->base(), 1);
    EXPECT_EQ(total->publish(false), 0);
    EXPECT_FALSE(total->isDirty);

    IntValue loose;
    EXPECT_EQ(loose.publish(false), -1);
}

TEST_F(Tree, ModuleNodesAreRemovedWhole) {
    DbNode* group = rootNode().addChild("story");
    for (int i = 0; i < 4; ++i) {
        DbNode* rec = group->addChild(group->nextRecordId());
        if (i % 2) rec->setModule("Dungeon");
        rec->addChild("body")->setModule(i % 2 ? "Dungeon" : "");
    }
    EXPECT_EQ(rootNode().removeModuleNodes("Dungeon"), 0);
    EXPECT_EQ(group->children.size(), 2u);
    EXPECT_NE(group->child("00001"), nullptr);
    EXPECT_NE(group->child("00003"), nullptr);
    EXPECT_EQ(rootNode().removeModuleNodes(""), 0);
}

// Either side of an observation may go first, also from inside a call; run
// under ASan, a handle left behind on either side would show here.
TEST_F(Tree, ObservationsEndWhicheverSideGoesFirst) {
    std::vector<std::string> log;
    DbNode* group = rootNode().addChild("notes");
    DbNode* record = group->addChild("00001");

    // The observer goes first: the node lives on and tells nobody.
    {
        LogObserver brief("brief", record, log);
        EXPECT_EQ(record->observations.size(), 1u);
    }
    EXPECT_TRUE(record->observations.empty());
    record->addChild("text");
    EXPECT_TRUE(log.empty());

    // A moved handle keeps the observation; the old one holds nothing.
    struct Counting : NodeObserver {
        int changes = 0, deletions = 0;
        void onChanged(ChangeKind) override { ++changes; }
        void onNodeDeleted() override { ++deletions; }
    } counting;
    NodeObservation first(*record, counting);
    NodeObservation moved = std::move(first);
    EXPECT_FALSE(first);
    EXPECT_EQ(moved.node(), record);
    record->notify(ChangeKind::value);
    EXPECT_EQ(counting.changes, 1);

    // One observer ends another's observation while both are being told: the
    // ended one hears nothing more, and its observer may be gone already.
    auto victim = std::make_unique<LogObserver>("victim", record, log);
    struct Killer : NodeObserver {
        std::unique_ptr<LogObserver>* victim = nullptr;
        void onChanged(ChangeKind) override { victim->reset(); }
    } killer;
    killer.victim = &victim;
    NodeObservation killerWatch(*group, killer);
    NodeObservation early(*record, killer);  // told before the victim
    std::swap(record->observations.front(), record->observations.back());
    record->notify(ChangeKind::value);
    EXPECT_EQ(victim, nullptr);
    EXPECT_TRUE(log.empty());

    // The node goes first, with a whole subtree: every handle below ends and
    // may then die on its own; an observer may even delete itself in the call.
    struct SelfDeleting : NodeObserver {
        NodeObservation watch;
        int* told;
        void onNodeDeleted() override {
            ++*told;
            delete this;
        }
    };
    int told = 0;
    auto* selfDeleting = new SelfDeleting;
    selfDeleting->told = &told;
    selfDeleting->watch.observe(*record->child("text"), *selfDeleting);
    LogObserver recordWatch("record", record, log);
    delete record;
    EXPECT_EQ(told, 1);
    EXPECT_FALSE(moved);
    EXPECT_FALSE(early);
    EXPECT_FALSE(recordWatch.observation);
    EXPECT_EQ(counting.deletions, 1);
    EXPECT_EQ(log, (std::vector<std::string>{"record:deleted"}));
    EXPECT_TRUE(killerWatch);  // the group lives
    killerWatch.reset();
    EXPECT_TRUE(group->observations.empty());
}

// An observer may delete the node it is told about, or one above it, from
// inside the call: the nodes that are left are still told, in order, and
// nothing that went is touched again (ASan would show it).
TEST_F(Tree, ObserversMayDeleteTheNodesBeingTold) {
    std::vector<std::string> log;
    struct Deleter : NodeObserver {
        NodeObservation watch;
        DbNode* doomed = nullptr;
        std::vector<std::string>* log = nullptr;
        void onChanged(ChangeKind) override {
            log->push_back("deleter");
            delete std::exchange(doomed, nullptr);
        }
    };
    DbNode* group = rootNode().addChild("notes");
    LogObserver top("root", &rootNode(), log);
    LogObserver groupWatch("group", group, log);

    // The record itself goes; its other observer hears of the deletion only.
    DbNode* record = group->addChild("00001");
    DbNode* field = record->addChild("text");
    Deleter deleter;
    deleter.log = &log;
    deleter.doomed = record;
    deleter.watch.observe(*record, deleter);
    LogObserver after("after", record, log);
    log.clear();
    field->notify(ChangeKind::value);
    EXPECT_EQ(log, (std::vector<std::string>{"deleter", "after:deleted", "group:changed0", "root:changed0",
                                             "group:changed1", "root:changed1"}));
    EXPECT_EQ(group->child("00001"), nullptr);

    // A node above the one told goes, with the observer's own node.
    DbNode* shelf = group->addChild("shelf");
    DbNode* book = shelf->addChild("book");
    deleter.doomed = shelf;
    deleter.watch.observe(*book, deleter);
    log.clear();
    book->addChild("page");
    EXPECT_EQ(log, (std::vector<std::string>{"deleter", "group:changed0", "root:changed0", "group:changed0",
                                             "root:changed0"}));
    EXPECT_FALSE(deleter.watch);

    // A whole tree of its own goes from inside the call.
    auto* own = new DbNode("", nullptr);
    DbNode* leaf = own->addChild("a")->addChild("b");
    deleter.doomed = own;
    deleter.watch.observe(*leaf, deleter);
    log.clear();
    leaf->notify(ChangeKind::value);
    EXPECT_EQ(log, (std::vector<std::string>{"deleter"}));
}

// A deleted subtree gives its blocks back to its tree, and what is made next
// takes them again: a tree emptied and filled over and over stays the size
// of one filling. This runs the same way in every build; sanitizer builds
// reuse a block only after a quarantine, and would show a block handed out
// twice or a node used after its deletion.
TEST_F(Tree, DeletedSubtreesLendTheirMemoryToTheNextOnes) {
    constexpr int kRecords = 1000;
    DbNode tree("", nullptr);
    lh::test::buildSampleTree(tree, kRecords);
    const std::string filled = databaseText(tree);
    const size_t held = tree.arena->heldBytes();
    ASSERT_GT(held, 1u << 20);
    for (int round = 0; round < 3; ++round) {
        size_t reusedBefore = tree.arena->reusedBlocks();
        clearTree(tree);
        ASSERT_TRUE(tree.children.empty());
        lh::test::buildSampleTree(tree, kRecords);
        EXPECT_EQ(databaseText(tree), filled) << "round " << round;
        // Nearly every node, value and text of the filling came from the blocks of the last one.
        EXPECT_GT(tree.arena->reusedBlocks() - reusedBefore, size_t(kRecords) * 10) << "round " << round;
        EXPECT_LT(tree.arena->heldBytes(), held + held / 4) << "round " << round;
    }

    // One record among the others goes and comes back in its place.
    DbNode* sheets = tree.child("charsheet");
    delete sheets->child("00017");
    EXPECT_EQ(sheets->nextRecordId(), "00017");
    DbNode* again = sheets->addChildQuietly("00017");
    again->attachValue(NodeKind::stringValue);
    again->valueAs<StringValue>()->set("back");
    EXPECT_EQ(findNode("charsheet.00017", tree)->valueAs<StringValue>()->text(), "back");
    EXPECT_EQ(findNode("charsheet.00018.level", tree)->valueAs<IntValue>()->base(), 17 % 20 - 3);

    // Texts shorter than a free block's link take blocks given back by others.
    auto fillShortTexts = [&] {
        DbNode* shorts = tree.addChildQuietly("shorts");
        for (int i = 0; i < 8000; ++i) {
            DbNode* text = shorts->addChildQuietly("s" + std::to_string(i));
            text->attachValue(NodeKind::stringValue);
            text->valueAs<StringValue>()->set(std::string(size_t(1 + i % 7), char('a' + i % 26)));
        }
        return shorts;
    };
    delete fillShortTexts();
    size_t reusedBefore = tree.arena->reusedBlocks();
    DbNode* shorts = fillShortTexts();
    EXPECT_GT(tree.arena->reusedBlocks() - reusedBefore, 8000u);
    EXPECT_EQ(shorts->child("s1234")->valueAs<StringValue>()->text(), std::string(1 + 1234 % 7, char('a' + 1234 % 26)));
}
