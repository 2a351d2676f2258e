// Helpers shared by the replication tests and their peer program.
#include "ReplicationKit.h"

#include "db/DbNode.h"
#include "db/IntValue.h"
#include "db/KeptValues.h"
#include "net/Replication.h"
#include "db/StringValue.h"
#include "db/TextEscape.h"
#include "net/MessageCatalogue.h"
#include "net/MessageReader.h"

namespace lh::test {

using namespace lh::db;

namespace {

void listNode(const DbNode& node, std::string& out, const std::function<bool(const DbNode&)>& include,
              const std::function<bool(const DbNode&)>& owned) {
    if (node.parent && node.kind != NodeKind::node && include(node)) {
        out += node.pathOf();
        out += ' ';
        out += std::to_string(uint32_t(node.kind));
        out += ' ';
        std::string value;
        if (auto* v = node.valueAs<IntValue>()) value = std::to_string(v->base());
        if (auto* v = node.valueAs<StringValue>()) value = v->text();
        if (node.kind == NodeKind::formattedText && node.value) node.value->writeStored(value, 0);
        if (auto* v = node.valueAs<ImageValueBase>()) value = v->imagePath();
        out += escapeText(value);
        out += owned(node) ? " owned\n" : " -\n";
    }
    for (const auto& [key, child] : node.children) listNode(*child, out, include, owned);
}

}  // namespace

std::string listValues(const DbNode& root, const std::function<bool(const DbNode&)>& include,
                       const std::function<bool(const DbNode&)>& owned) {
    std::string out;
    listNode(root, out, include, owned);
    return out;
}

bool editValue(DbNode& root, std::string_view path, char kind, std::string_view value) {
    NodeKind wanted = kind == 'i' ? NodeKind::intValue : kind == 's' ? NodeKind::stringValue : NodeKind::formattedText;
    DbNode* node = &root;
    bool made = false;
    while (!path.empty()) {
        size_t dot = path.find('.');
        std::string_view piece = path.substr(0, dot);
        DbNode* next = node->child(piece);
        if (!next) {
            // A control makes its data node on first use, where it may edit.
            if (!made && !node->canEdit()) return false;
            next = node->addChild(piece);
            if (!next) return false;
            made = true;
        }
        node = next;
        path = dot == std::string_view::npos ? std::string_view() : path.substr(dot + 1);
    }
    if (!node->canEdit()) return false;
    if (node->kind == NodeKind::node) node->attachValue(makeValue(wanted));
    if (node->kind != wanted) return false;
    if (auto* v = node->valueAs<IntValue>()) {
        v->set(std::stoi(std::string(value)));
        v->publish(false);
    } else if (auto* v = node->valueAs<StringValue>()) {
        v->set(std::string_view(value));
        v->publish(false);
    } else if (auto* v = node->valueAs<KeptFormattedText>()) {
        v->markup = std::string(value);
        if (Replication* r = replication()) r->publishNode(*node);
    }
    return true;
}

std::string longMarkup(size_t bytes, unsigned seed) {
    // No text between elements is blank: the XML reader drops such text.
    static const char* words[] = {"dragon", "keep", "&amp;", "ember", "vault", "rune", "mist", "<b>bold</b>!"};
    std::string out;
    unsigned n = seed;
    while (out.size() < bytes) {
        out += "<p>";
        for (int i = 0; i < 12; ++i) {
            n = n * 1103515245u + 12345u;
            if (i) out += ' ';
            out += words[(n >> 16) % 8];
        }
        out += "</p>\n";
    }
    return out;
}

lh::net::NetMessage helloMessage(std::string_view userName) {
    lh::net::NetMessage m(lh::net::tags::CONNQ);
    m.body.assign(20, 0);
    lh::net::MessageWriter(m).text(userName).text("");
    return m;
}

std::string helloName(const lh::net::NetMessage& message) {
    lh::net::MessageReader r(message);
    r.skip(20);
    std::string name = r.text(19);
    return r.ok() ? name : std::string();
}

}  // namespace lh::test
