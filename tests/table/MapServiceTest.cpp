// The host's side of the map messages, dispatched without sockets: what a
// player may not do is refused quietly, malformed bodies are dropped with
// a line, and a snapshot file goes only when the client it was made for
// says it has read it.
#include <gtest/gtest.h>

#include "db/Campaign.h"
#include "db/DbNode.h"
#include "db/SessionMode.h"
#include "db/Users.h"
#include "net/MessageCatalogue.h"
#include "net/Session.h"
#include "platform/Paths.h"
#include "support/TestSupport.h"
#include "table/ImageMessages.h"
#include "table/ImageValue.h"
#include "table/LayerFile.h"
#include "table/MapService.h"

using namespace lh;
using namespace lh::table;
namespace fs = std::filesystem;

namespace {

struct HostTable {
    test::TempDir dir;
    net::Session session;
    db::DbNode& root = db::rootNode();
    ImageValue* value = nullptr;
    std::vector<std::string> lines;
    net::SessionPeer* ann = nullptr;

    HostTable() {
        platform::setWorkingDirectory(dir.path());
        db::setSessionMode(db::SessionMode::Host);
        db::campaign().name.set("Saga");
        AlphaPlane grey;
        grey.reset(64, 48, 120);
        saveLayerFile(platform::diskPath("campaigns\\Saga\\images\\map.png"), grey);
        db::DbNode* image = root.addChild("image")->addChild("00001")->addChild("image");
        auto made = std::make_unique<ImageValue>();
        value = made.get();
        image->attachValue(std::move(made));
        value->setImagePath("campaigns\\Saga\\images\\map.png");
        session.becomeHost();
        session.setSystemLineSink([this](const std::string& line) { lines.push_back(line); });
        ann = &session.addPeer(nullptr);
        ann->name = "Ann";
        db::knownUser("Ann");
    }
    ~HostTable() {
        db::clearTree(root);
        db::setSessionMode(db::SessionMode::Join);
    }
};

std::vector<uint32_t> square() { return {packPoint(2, 2), packPoint(20, 2), packPoint(20, 20), packPoint(2, 20)}; }

}  // namespace

TEST(MapService, TheHostRefusesWhatAPlayerMayNotDo) {
    HostTable t;
    MapService service(t.session, nullptr, nullptr, t.root);
    ASSERT_TRUE(t.value->Open(nullptr));
    t.value->CreateMask();

    // A player's mask change: refused, quietly.
    net::NetMessage m;
    encodePolygon(net::tags::IMMSQ, "image.00001.image", square(), m);
    t.session.dispatch(t.ann, m);
    EXPECT_EQ(t.value->mask.at(10, 10), 0);
    EXPECT_TRUE(t.lines.empty());

    // A stroke and a snapshot request from a client that does not hold the
    // map: nothing happens.
    encodeStroke(net::tags::DRSTQ, "image.00001.image", {{packPoint(0, 5), 255}, {packPoint(30, 5), 255}}, m);
    t.session.dispatch(t.ann, m);
    EXPECT_FALSE(t.value->hasDrawing());
    encodeSnapshotRequest("image.00001.image", SnapshotKind::Mask, m);
    t.session.dispatch(t.ann, m);
    EXPECT_TRUE(service.snapshotsHandedOut().empty());

    // Once it holds the map, its stroke is applied and its snapshot made.
    db::findNode("image.00001.image")->addHolder("Ann", false);
    encodeStroke(net::tags::DRSTQ, "image.00001.image", {{packPoint(0, 5), 255}, {packPoint(30, 5), 255}}, m);
    t.session.dispatch(t.ann, m);
    EXPECT_EQ(t.value->drawing.at(10, 5), 254);
    encodeSnapshotRequest("image.00001.image", SnapshotKind::Mask, m);
    t.session.dispatch(t.ann, m);
    ASSERT_EQ(service.snapshotsHandedOut().size(), 1u);
    const std::string name = service.snapshotsHandedOut().begin()->first;
    EXPECT_EQ(name.rfind("temp\\mask_snapshot_Ann_", 0), 0u);
    fs::path file = platform::diskPath(name);
    EXPECT_TRUE(fs::exists(file));
    // A second one in the same second gets a name of its own.
    t.session.dispatch(t.ann, m);
    EXPECT_EQ(service.snapshotsHandedOut().size(), 2u);

    // Only names handed out to this client are deleted: not another file
    // of "temp", not a path outside it.
    test::writeFile(t.dir.path() / "temp/keep", "x");
    test::writeFile(t.dir.path() / "campaigns/Saga/db.xml", "<root/>");
    for (const char* other : {"temp\\keep", "campaigns\\Saga\\db.xml", "..\\..\\etc\\passwd"}) {
        encodeSnapshotRead(other, m);
        t.session.dispatch(t.ann, m);
    }
    EXPECT_TRUE(fs::exists(t.dir.path() / "temp/keep"));
    EXPECT_TRUE(fs::exists(t.dir.path() / "campaigns/Saga/db.xml"));
    encodeSnapshotRead(name, m);
    t.session.dispatch(t.ann, m);
    EXPECT_FALSE(fs::exists(file));
    EXPECT_EQ(service.snapshotsHandedOut().size(), 1u);

    // The client leaves: its other snapshot goes too.
    fs::path other = platform::diskPath(service.snapshotsHandedOut().begin()->first);
    t.value->SetClientHasFile("Ann", true);
    t.session.departed().emit(*t.ann);
    EXPECT_TRUE(service.snapshotsHandedOut().empty());
    EXPECT_FALSE(fs::exists(other));
    EXPECT_EQ(t.value->clientsWithFile.count("Ann"), 0u);
    t.value->Close(nullptr);
}

TEST(MapService, MalformedBodiesAreDroppedWithALine) {
    HostTable t;
    MapService service(t.session, nullptr, nullptr, t.root);
    db::findNode("image.00001.image")->addHolder("Ann", false);
    const net::MessageTag tags[] = {net::tags::IMGAR, net::tags::IMMSQ, net::tags::IMSSQ, net::tags::IMSAQ,
                                    net::tags::DRSTQ};
    for (net::MessageTag tag : tags) {
        net::NetMessage m(tag);
        m.body = {0xFF, 0xFF, 0xFF, 0xFF, 0xFF};  // no zero byte anywhere
        t.session.dispatch(t.ann, m);
    }
    EXPECT_EQ(t.lines.size(), std::size(tags));
    for (const std::string& line : t.lines) EXPECT_NE(line.find("Dropped a message"), std::string::npos) << line;
    // A stroke of a billion points in a short body.
    net::NetMessage m(net::tags::DRSTQ);
    m.body = {'i', 'm', 'a', 'g', 'e', 0, 0, 0xCA, 0x9A, 0x3B, 1, 2, 3, 4, 5};
    t.session.dispatch(t.ann, m);
    EXPECT_EQ(t.lines.size(), std::size(tags) + 1);
    // The availability of a client goes into the host's list.
    encodeAvailability(true, "image.00001.image", m);
    t.session.dispatch(t.ann, m);
    EXPECT_EQ(t.value->clientsWithFile.count("Ann"), 1u);
}
