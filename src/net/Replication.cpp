// Sending nodes to their holders and applying what arrives; see
// Replication.h.
//
// Index: sending; receiving DATAR; deletions; the process's replication.
#include "net/Replication.h"

#include <memory>
#include <vector>

#include "net/ClientRights.h"
#include "db/DbNode.h"
#include "db/IntValue.h"
#include "db/StringValue.h"
#include "db/TextEscape.h"
#include "db/Users.h"
#include "db/XmlParse.h"
#include "net/MessageCatalogue.h"

namespace lh::db {

using net::HandlerResult;

Replication::Replication(net::Session& s, DbNode& r) : session(s), root(r) {}

void Replication::registerHandlers() {
    session.setHandler(net::tags::DATAR, [this](net::SessionPeer* from, const net::NetMessage& m) {
        return onData(from, m);
    });
    session.setHandler(net::tags::DATDQ, [this](net::SessionPeer* from, const net::NetMessage& m) {
        return onDeleteRequest(from, m);
    });
    session.setHandler(net::tags::DATDR, [this](net::SessionPeer* from, const net::NetMessage& m) {
        return onDeleted(from, m);
    });
}

// Section: sending.

namespace {

// Appends the node's name to the path of its parent. A node whose path
// cannot be named on the wire cannot be sent, and neither can anything
// below it: false, with the path as it was.
bool enterPath(std::string& path, const DbNode& node) {
    size_t length = path.size();
    if (length) path.push_back('.');
    path += node.name;
    if (path.size() <= kMaxPathLength) return true;
    path.resize(length);
    return false;
}

}  // namespace

void Replication::deliver(Target target) {
    if (target.all) {
        session.sendToAll(message);
    } else if (target.peer) {
        session.sendTo(message, *target.peer);
    } else {
        session.sendToHost(message);
    }
}

void Replication::sendNode(DbNode& node, const std::string& path, bool isOwner, Target target) {
    DataMessage& d = outgoing;
    d.path = path;
    d.kind = uint8_t(node.kind);
    d.isOwner = isOwner;
    switch (node.kind) {
    case NodeKind::intValue: {
        auto* v = node.valueAs<IntValue>();
        d.number = v ? v->base() : 0;
        break;
    }
    case NodeKind::stringValue: {
        // The receiver undoes escapes on every set, so the stored form goes
        // out: any text, "#" and control bytes included, arrives as it was.
        d.text.clear();
        if (auto* v = node.valueAs<StringValue>()) appendEscapedText(d.text, v->text());
        break;
    }
    case NodeKind::formattedText: {
        markup.clear();
        if (node.value) node.value->writeStored(markup, 0);
        // An empty text sends nothing: the receiver keeps what it had.
        for (size_t at = 0; at < markup.size(); at += kTextChunkSize) {
            d.isLastChunk = markup.size() - at <= kTextChunkSize;
            d.text.assign(markup, at, kTextChunkSize);
            encodeData(d, message);
            deliver(target);
        }
        return;
    }
    case NodeKind::image: {
        auto* v = dynamic_cast<ImageValueBase*>(node.value.get());
        d.image = v ? v->wireState() : ImageWireState{};
        describeFile(d.image.imagePath, d.fileSize, d.fileTime);
        break;
    }
    default: break;
    }
    encodeData(d, message);
    deliver(target);
}

void Replication::sendSubtree(DbNode& node, std::string& path, Target target, SessionUser* user) {
    size_t length = path.size();
    if (node.parent) {
        if (!enterPath(path, node)) return;
        sendNode(node, path, user && node.owner == user, target);
        if (user) node.addHolder(user->name.view(), false);
    }
    for (auto& [key, child] : node.children) sendSubtree(*child, path, target, user);
    path.resize(length);
}

int Replication::sendTo(DbNode& node, SessionUser* user) {
    if (session.role() == net::SessionRole::Local) return 0;
    Target target;
    if (session.isHost()) {
        if (!user) return -1;
        target.peer = session.findUser(user->name.view());
        if (!target.peer || !target.peer->connection) return -1;
    } else {
        user = nullptr;
    }
    std::string path = node.parent ? node.parent->pathOf() : std::string();
    sendSubtree(node, path, target, user);
    return 0;
}

int Replication::sendTo(DbNode& node, std::string_view userName) {
    if (!session.isHost()) return sendTo(node, nullptr);
    SessionUser* user = findKnownUser(userName);
    return user ? sendTo(node, user) : -1;
}

void Replication::sendToHolders(DbNode& node) {
    if (!session.isHost()) return;
    // sendTo adds holders; these are held already, but the list is copied
    // so that nothing can move under the walk.
    std::vector<SessionUser*> holders(node.holders.begin(), node.holders.end());
    for (SessionUser* user : holders) sendTo(node, user);
}

void Replication::sendToAllSubtree(DbNode& node, std::string& path) {
    size_t length = path.size();
    if (node.parent) {
        if (!enterPath(path, node)) return;
        // Groups travel with their first value: the receiver makes them
        // from the path.
        if (node.kind != NodeKind::node) sendNode(node, path, false, Target{nullptr, true});
        for (const auto& peer : session.users()) {
            if (!peer->name.empty()) node.addHolder(peer->name, false);
        }
    }
    for (auto& [key, child] : node.children) sendToAllSubtree(*child, path);
    path.resize(length);
}

int Replication::sendToAllUsers(DbNode& node) {
    if (!session.isHost()) return -1;
    std::string path = node.parent ? node.parent->pathOf() : std::string();
    sendToAllSubtree(node, path);
    return 0;
}

void Replication::sendOwnedTo(DbNode& node, SessionUser& user, int depth) {
    if (depth > 2) return;
    if (node.parent && node.owner == &user) {
        sendTo(node, &user);
        return;
    }
    for (auto& [key, child] : node.children) {
        if (!child->isStatic) sendOwnedTo(*child, user, depth + 1);
    }
}

void Replication::publishNode(DbNode& node) {
    if (session.isHost()) {
        sendToHolders(node);
    } else if (session.role() == net::SessionRole::Client) {
        sendTo(node, nullptr);
    }
}

// Section: receiving DATAR.

DbNode* Replication::walkCreating(std::string_view path) {
    DbNode* node = &root;
    for (;;) {
        size_t dot = path.find('.');
        std::string_view piece = path.substr(0, dot);
        bool last = dot == std::string_view::npos;
        DbNode* next = node->child(piece);
        if (!next) {
            next = node->addChildQuietly(piece);
            if (!next) return nullptr;
            // Groups made on the way stay quiet; the node itself is news.
            if (last) node->notify(ChangeKind::children);
        }
        node = next;
        if (last) return node;
        path.remove_prefix(dot + 1);
    }
}

bool Replication::applyTextPiece(net::SessionPeer* from, const net::NetMessage& m, DbNode& node) {
    const DataMessage& d = incoming;
    if (!node.value) node.attachValue(makeValue(NodeKind::formattedText));
    std::string whole;
    bool abandoned = false;
    std::string sender = from ? from->name : std::string();
    TextReassembly::Step step = texts.add(sender, d.path, d.text, d.isLastChunk, whole, abandoned);
    if (abandoned) session.reportMalformed(from, m, "a formatted text was cut off by another");
    node.parent->notify(ChangeKind::value);
    if (step == TextReassembly::Step::TooLarge) {
        session.reportMalformed(from, m, "the formatted text of '" + d.path + "' is too large");
        return false;
    }
    if (step == TextReassembly::Step::More) return false;
    XmlParseResult parsed = parseXmlTextChecked("<root>" + whole + "</root>", d.path.c_str());
    if (parsed.status != XmlStatus::ok) {
        session.reportMalformed(from, m, "the formatted text of '" + d.path + "' is not well formed:" +
                                             parsed.error.message());
        return false;
    }
    if (node.value) node.value->readStored(*parsed.root);
    return true;
}

HandlerResult Replication::onData(net::SessionPeer* from, const net::NetMessage& m) {
    DataMessage& d = incoming;
    std::string why;
    if (!decodeData(m, d, why)) {
        session.reportMalformed(from, m, why);
        return HandlerResult::Rejected;
    }
    bool onHost = session.isHost();
    if (onHost) {
        // The client checked its rights before sending; a client that did
        // not, or lied, changes nothing here.
        if (!from || !clientMayChange(root, d.path, knownUser(from->name))) {
            if (from) texts.drop(from->name);
            session.reportMalformed(from, m, "no right to change '" + d.path + "'");
            return HandlerResult::Rejected;
        }
    }
    DbNode* node = walkCreating(d.path);
    if (!node) {
        session.reportMalformed(from, m, "not a record path");
        return HandlerResult::Rejected;
    }
    // A kind never changes once set: a message for another kind is dropped,
    // and nothing is passed on.
    if (node->kind != NodeKind::node && uint32_t(node->kind) != d.kind) return HandlerResult::Rejected;
    bool whole = true;
    switch (NodeKind(d.kind)) {
    case NodeKind::intValue:
    case NodeKind::stringValue:
        if (!node->value) node->attachValue(NodeKind(d.kind));
        if (auto* v = node->valueAs<IntValue>()) v->set(d.number);
        if (auto* v = node->valueAs<StringValue>()) v->set(std::string_view(d.text));
        node->parent->notify(ChangeKind::value);
        break;
    case NodeKind::formattedText: whole = applyTextPiece(from, m, *node); break;
    case NodeKind::image:
        if (!node->value) node->attachValue(makeValue(NodeKind::image));
        if (auto* v = dynamic_cast<ImageValueBase*>(node->value.get())) v->setWireState(d.image);
        if (!onHost && imageArrived) imageArrived(*node, d.fileSize, d.fileTime);
        break;
    default: break;  // groups, and numbers no kind has: the node is all
    }
    if (!onHost) {
        // Ownership comes from the host alone, with every node it sends.
        node->setOwner(d.isOwner ? &localUser() : nullptr);
    } else if (whole) {
        // Back to every holder, the sender too: its owner flags and any
        // change that raced with its own come with the echo.
        sendToHolders(*node);
    }
    return HandlerResult::Handled;
}

// Section: deletions.

void Replication::prepareDelete(DbNode& node) {
    if (node.kind == NodeKind::image) {
        if (imageRemover) imageRemover(node);
    } else if (node.kind == NodeKind::node) {
        for (auto& [key, child] : node.children) prepareDelete(*child);
    }
}

int Replication::requestDelete(DbNode& node) {
    if (!node.parent) return -1;
    if (session.role() == net::SessionRole::Client) {
        if (!node.canEdit()) return -1;
        // The copy stays until the host's DATDR comes back.
        encodePathMessage(net::tags::DATDQ, node.pathOf(), message);
        session.sendToHost(message);
        return 0;
    }
    if (node.isStatic) return -1;
    prepareDelete(node);
    delete &node;
    return 0;
}

void Replication::nodeDeleted(const std::string& path) {
    // Every connected user hears of it, holder or not; a client's own
    // deletions come from the host and go nowhere.
    if (!session.isHost() || !isTreePath(path)) return;
    encodePathMessage(net::tags::DATDR, path, message);
    session.sendToAll(message);
}

HandlerResult Replication::onDeleteRequest(net::SessionPeer* from, const net::NetMessage& m) {
    std::string path, why;
    if (!decodePathMessage(m, path, why)) {
        session.reportMalformed(from, m, why);
        return HandlerResult::Rejected;
    }
    if (!from || !clientMayDelete(root, path, knownUser(from->name))) {
        session.reportMalformed(from, m, "no right to delete '" + path + "'");
        return HandlerResult::Rejected;
    }
    DbNode* node = findNode(path, root);
    prepareDelete(*node);
    delete node;
    return HandlerResult::Handled;
}

HandlerResult Replication::onDeleted(net::SessionPeer* from, const net::NetMessage& m) {
    std::string path, why;
    if (!decodePathMessage(m, path, why)) {
        session.reportMalformed(from, m, why);
        return HandlerResult::Rejected;
    }
    // Clients that never held the node hear of it too, and ignore it.
    if (DbNode* node = findNode(path, root)) delete node;
    return HandlerResult::Handled;
}

// Section: the process's replication.

namespace {
std::unique_ptr<Replication>& processReplication() {
    static std::unique_ptr<Replication> instance;
    return instance;
}
}  // namespace

Replication& attachReplication(net::Session& session) {
    detachReplication();
    auto& instance = processReplication();
    instance = std::make_unique<Replication>(session, rootNode());
    instance->registerHandlers();
    dbContext().sink = instance.get();
    return *instance;
}

Replication* replication() { return processReplication().get(); }

void detachReplication() {
    auto& instance = processReplication();
    if (instance && dbContext().sink == instance.get()) dbContext().sink = nullptr;
    instance.reset();
}

}  // namespace lh::db
