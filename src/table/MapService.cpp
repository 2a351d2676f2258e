// The maps on the session; see MapService.h.
#include "table/MapService.h"

#include <algorithm>
#include <ctime>
#include <system_error>

#include "db/DbNode.h"
#include "db/SafeFile.h"
#include "db/Users.h"
#include "net/FileExchange.h"
#include "net/MessageCatalogue.h"
#include "net/Replication.h"
#include "platform/Paths.h"
#include "table/ImageMessages.h"
#include "table/ImageValue.h"
#include "table/LayerFile.h"

namespace lh::table {

using net::HandlerResult;

namespace {

// A user name as a piece of a file name: letters, digits, '-' and '_'
// only, so that no name reaches outside "temp".
std::string fileNamePiece(const std::string& name) {
    std::string out;
    for (char c : name.substr(0, 32)) {
        bool plain = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '-';
        out += plain ? c : '_';
    }
    return out.empty() ? "user" : out;
}

net::FetchKind fetchKind(MapFetch what) {
    switch (what) {
    case MapFetch::Picture: return net::FetchKind::Image;
    case MapFetch::DrawingSnapshot: return net::FetchKind::DrawingLayer;
    case MapFetch::MaskSnapshot: return net::FetchKind::Mask;
    }
    return net::FetchKind::Image;
}

}  // namespace

MapService::MapService(net::Session& s, db::Replication* r, net::FileExchange* f, db::DbNode& tree)
    : session(s), replication(r), files(f), root(tree) {
    auto bind = [this](net::MessageTag tag, HandlerResult (MapService::*handler)(net::SessionPeer*,
                                                                                const net::NetMessage&)) {
        session.setHandler(tag, [this, handler](net::SessionPeer* from, const net::NetMessage& m) {
            return (this->*handler)(from, m);
        });
    };
    bind(net::tags::IMGAR, &MapService::onAvailability);
    bind(net::tags::IMMSQ, &MapService::onPolygon);
    bind(net::tags::IMMSR, &MapService::onPolygon);
    bind(net::tags::IMSSQ, &MapService::onSnapshotRequest);
    bind(net::tags::IMSSR, &MapService::onSnapshotReply);
    bind(net::tags::IMSAQ, &MapService::onSnapshotRead);
    bind(net::tags::DRSTQ, &MapService::onStroke);
    bind(net::tags::DRSTR, &MapService::onStroke);
    bind(net::tags::DRDLR, &MapService::onErased);
    departures = session.departed().subscribe([this](net::SessionPeer& peer) { onDeparted(peer); });

    if (replication) {
        replication->setImageArrivedHandler([](db::DbNode& node, uint32_t size, uint64_t time) {
            if (auto* v = node.valueAs<ImageValue>()) v->FileAnnounced(size, time);
        });
        replication->setImageRemover([](db::DbNode& node) {
            if (auto* v = node.valueAs<ImageValue>()) v->Deleted();
        });
    }
    if (files) {
        files->setEndHandler(net::FetchKind::Image, [this](net::FileFetch& fetch, int result) {
            if (ImageValue* v = imageAt(fetch.nodePath)) v->OnFileArrived(result > 0);
        });
        auto snapshotEnd = [this](net::FileFetch& fetch, int result) {
            ImageValue* v = imageAt(fetch.nodePath);
            SnapshotKind kind = fetch.kind() == net::FetchKind::Mask ? SnapshotKind::Mask : SnapshotKind::Drawing;
            if (v && result > 0) v->MergeSnapshot(kind, fetch.buffer());
            // Read or not, the host may let the file go.
            net::NetMessage m;
            encodeSnapshotRead(fetch.localPath(), m);
            session.sendToHost(m);
        };
        files->setEndHandler(net::FetchKind::Mask, snapshotEnd);
        files->setEndHandler(net::FetchKind::DrawingLayer, snapshotEnd);
    }
    setMapNetwork(this);
}

MapService::~MapService() {
    if (mapNetwork() == this) setMapNetwork(nullptr);
    auto ignore = [](net::SessionPeer*, const net::NetMessage&) { return HandlerResult::Handled; };
    for (net::MessageTag t : {net::tags::IMGAR, net::tags::IMMSQ, net::tags::IMMSR, net::tags::IMSSQ, net::tags::IMSSR,
                              net::tags::IMSAQ, net::tags::DRSTQ, net::tags::DRSTR, net::tags::DRDLR})
        session.setHandler(t, ignore);
    if (replication) {
        replication->setImageArrivedHandler({});
        replication->setImageRemover({});
    }
    if (files) {
        files->setEndHandler(net::FetchKind::Image, {});
        files->setEndHandler(net::FetchKind::Mask, {});
        files->setEndHandler(net::FetchKind::DrawingLayer, {});
    }
    // Snapshots nobody will read any more.
    for (const auto& [name, client] : handedOut) {
        std::error_code ec;
        std::filesystem::remove(platform::diskPath(name), ec);
    }
}

// Section: MapNetwork.

void MapService::toHost(const net::NetMessage& message) {
    if (session.role() == net::SessionRole::Client) session.sendToHost(message);
}

void MapService::toClients(const net::NetMessage& message, const std::string& except) {
    if (!session.isHost()) return;
    session.sendToAll(message, except.empty() ? nullptr : session.findUser(except));
}

void MapService::publish(db::DbNode& node) {
    if (replication) replication->publishNode(node);
}

void MapService::sendToAll(db::DbNode& node) {
    if (replication) replication->sendToAllUsers(node);
}

bool MapService::fetch(MapFetch what, const std::string& file, uint64_t fileTime, const std::string& nodePath) {
    return files && files->fetchFromHost(file, fetchKind(what), net::FileTime::of(fileTime), nodePath);
}

std::vector<std::string> MapService::clients() {
    std::vector<std::string> names;
    for (const auto& peer : session.users())
        if (!peer->name.empty() && peer->connection) names.push_back(peer->name);
    return names;
}

// Section: checks.

ImageValue* MapService::imageAt(const std::string& path) {
    db::DbNode* node = db::findNode(path, root);
    return node && node->kind == db::NodeKind::image ? node->valueAs<ImageValue>() : nullptr;
}

bool MapService::peerHolds(const net::SessionPeer* from, const std::string& path) {
    if (!from) return true;  // from the host
    db::DbNode* node = db::findNode(path, root);
    db::SessionUser* user = db::findKnownUser(from->name);
    return node && user && node->holders.contains(user);
}

HandlerResult MapService::drop(net::SessionPeer* from, const net::NetMessage& m, const std::string& why) {
    session.reportMalformed(from, m, why);
    return HandlerResult::Rejected;
}

// Section: handlers.

HandlerResult MapService::onAvailability(net::SessionPeer* from, const net::NetMessage& m) {
    bool has = false;
    std::string path, why;
    if (!decodeAvailability(m, has, path, why)) return drop(from, m, why);
    ImageValue* v = imageAt(path);
    if (!v || !from || !session.isHost()) return HandlerResult::Rejected;
    v->SetClientHasFile(from->name, has);
    return HandlerResult::Handled;
}

HandlerResult MapService::onPolygon(net::SessionPeer* from, const net::NetMessage& m) {
    std::string path, why;
    std::vector<uint32_t> points;
    if (!decodePolygon(m, path, points, why)) return drop(from, m, why);
    // Masks are the Gamemaster's: a player's request changes nothing, and
    // a polygon that claims to come from the host is taken only from it.
    if (session.isHost()) return HandlerResult::Rejected;
    if (ImageValue* v = imageAt(path)) v->ApplyPolygon(points);
    return HandlerResult::Handled;
}

std::string MapService::writeSnapshot(const std::string& client, ImageValue& value, bool isMask) {
    std::vector<uint8_t> bytes;
    const AlphaPlane& layer = isMask ? value.mask : value.drawing;
    const std::string& file = isMask ? value.maskPath : value.drawingPath;
    if (!layer.empty()) {
        bytes = encodeLayerPng(layer);
    } else if (!value.isOpen() && !file.empty()) {
        readWholeFile(platform::diskPath(file), bytes);
    }
    if (bytes.empty()) return {};
    char name[160];
    // The serial keeps two snapshots of one second for one client apart.
    std::snprintf(name, sizeof name, "temp\\%s_snapshot_%s_%ld_%u", isMask ? "mask" : "drawing",
                  fileNamePiece(client).c_str(), long(std::time(nullptr)), ++snapshotSerial);
    std::filesystem::path disk = platform::diskPath(name);
    std::error_code ec;
    std::filesystem::create_directories(disk.parent_path(), ec);
    if (db::writeFileSafely(disk, std::string_view(reinterpret_cast<const char*>(bytes.data()), bytes.size())) != 0)
        return {};
    handedOut[name] = client;
    return name;
}

HandlerResult MapService::onSnapshotRequest(net::SessionPeer* from, const net::NetMessage& m) {
    std::string path, why;
    SnapshotKind kind;
    if (!decodeSnapshotRequest(m, path, kind, why)) return drop(from, m, why);
    ImageValue* v = imageAt(path);
    if (!v || !from || !session.isHost() || !peerHolds(from, path)) return HandlerResult::Rejected;
    std::string name = writeSnapshot(from->name, *v, kind == SnapshotKind::Mask);
    if (name.empty()) return HandlerResult::Handled;  // no such layer: nothing is sent
    net::NetMessage reply;
    encodeSnapshotReply(path, kind, name, reply);
    session.sendTo(reply, *from);
    return HandlerResult::Handled;
}

HandlerResult MapService::onSnapshotReply(net::SessionPeer* from, const net::NetMessage& m) {
    std::string path, file, why;
    SnapshotKind kind;
    if (!decodeSnapshotReply(m, path, kind, file, why)) return drop(from, m, why);
    if (session.isHost() || !imageAt(path)) return HandlerResult::Rejected;
    fetch(kind == SnapshotKind::Mask ? MapFetch::MaskSnapshot : MapFetch::DrawingSnapshot, file, 0, path);
    return HandlerResult::Handled;
}

HandlerResult MapService::onSnapshotRead(net::SessionPeer* from, const net::NetMessage& m) {
    std::string file, why;
    if (!decodeSnapshotRead(m, file, why)) return drop(from, m, why);
    auto it = handedOut.find(file);
    // Only a name handed out to this very client, and so only under "temp".
    if (!from || it == handedOut.end() || it->second != from->name) return HandlerResult::Rejected;
    std::error_code ec;
    std::filesystem::remove(platform::diskPath(file), ec);
    handedOut.erase(it);
    return HandlerResult::Handled;
}

HandlerResult MapService::onStroke(net::SessionPeer* from, const net::NetMessage& m) {
    std::string path, why;
    std::vector<StrokePoint> stroke;
    if (!decodeStroke(m, path, stroke, why)) return drop(from, m, why);
    const bool request = m.tag == net::tags::DRSTQ;
    if (request != session.isHost()) return HandlerResult::Rejected;
    ImageValue* v = imageAt(path);
    if (!v || (request && !peerHolds(from, path))) return HandlerResult::Rejected;
    v->ApplyStroke(stroke);
    // The session passes a DRSTQ on as DRSTR to everybody but its sender,
    // whose ink is on its layer already.
    return HandlerResult::Handled;
}

HandlerResult MapService::onErased(net::SessionPeer* from, const net::NetMessage& m) {
    std::string path, why;
    if (!decodeErased(m, path, why)) return drop(from, m, why);
    if (session.isHost()) return HandlerResult::Rejected;
    if (ImageValue* v = imageAt(path)) v->EraseDrawing(true);
    return HandlerResult::Handled;
}

void MapService::onDeparted(net::SessionPeer& peer) {
    // Every image forgets the client; its snapshots are of no use now.
    std::vector<db::DbNode*> stack{&root};
    while (!stack.empty()) {
        db::DbNode* n = stack.back();
        stack.pop_back();
        if (auto* v = n->valueAs<ImageValue>()) v->ClientLeft(peer.name);
        for (auto& [key, child] : n->children) stack.push_back(child);
    }
    for (auto it = handedOut.begin(); it != handedOut.end();) {
        if (it->second != peer.name) {
            ++it;
            continue;
        }
        std::error_code ec;
        std::filesystem::remove(platform::diskPath(it->first), ec);
        it = handedOut.erase(it);
    }
}

}  // namespace lh::table
