// Reading "db.xml" elements into the record tree.
#include "db/DatabaseLoader.h"

#include <cerrno>
#include <climits>
#include <cstdlib>
#include <memory>

#include "db/DbNode.h"
#include "db/IntValue.h"
#include "db/StringValue.h"
#include "db/XmlElement.h"

namespace lh::db {

namespace {

// atoi without its undefined overflow: out-of-range numbers are held at the
// 32-bit limits, and text that is no number reads as 0. Leading white space
// and a sign are taken as strtol takes them; the digits are read here, as a
// large database reads a number for most of its nodes.
int64_t readNumber(std::string_view text) {
    const char* p = text.data();
    const char* end = p + text.size();
    while (p != end && (*p == ' ' || (*p >= '\t' && *p <= '\r'))) ++p;
    bool negative = p != end && *p == '-';
    if (p != end && (*p == '-' || *p == '+')) ++p;
    int64_t n = 0;
    for (; p != end && *p >= '0' && *p <= '9'; ++p) {
        n = n * 10 + (*p - '0');
        if (n > int64_t(UINT32_MAX) + 1) n = int64_t(UINT32_MAX) + 1;  // past every limit below
    }
    return negative ? -n : n;
}

int32_t readInt(std::string_view text) {
    int64_t n = readNumber(text);
    if (n > INT32_MAX) return INT32_MAX;
    if (n < INT32_MIN) return INT32_MIN;
    return int32_t(n);
}

uint32_t readUnsigned(std::string_view text) {
    int64_t n = readNumber(text);
    return n < 0 || n > UINT32_MAX ? 0 : uint32_t(n);
}

bool isTopLevelGroup(const DbNode& node) { return node.parent && !node.parent->parent; }

// A path holds at most 255 characters, so no real node stands deeper than
// 128 levels; anything deeper in a file is dropped rather than followed
// down a stack that a hostile file could exhaust.
constexpr int kMaxDepth = 128;

class Loader {
public:
    Loader(bool isStatic, ModuleLoadHooks* module) : isStatic(isStatic), module(module) {}

    void load(XmlElement& element, DbNode& parent) {
        if (++depth > kMaxDepth) {
            --depth;
            return;
        }
        element.forEachChild([&](XmlElement& child) {
            loadChild(child, parent);
            return true;
        });
        --depth;
    }

private:
    enum Tag { tagNode, tagInt, tagString, tagFormattedText, tagImage, tagHolder, tagCategoryDef };

    void loadChild(XmlElement& child, DbNode& parent) {
        int tag = child.tagIndex({"NODE", "INTVALUE", "STRINGVALUE", "FORMATTEDTEXT", "IMAGE", "HOLDER", "CATEGORYDEF"});
        if (tag < 0) return;
        name.clear();
        switch (tag) {
        case tagNode: loadGroup(child, parent); break;
        case tagInt: loadScalar(child, parent, NodeKind::intValue); break;
        case tagString: loadScalar(child, parent, NodeKind::stringValue); break;
        case tagFormattedText:
        case tagImage:
            child.attribute("NAME", name);
            loadStored(child, parent, tag == tagImage ? NodeKind::image : NodeKind::formattedText);
            break;
        case tagHolder: {
            std::string owner;
            bool makeOwner = child.attribute("OWNER", owner) == 0 && owner == "true";
            if (child.attribute("NAME", text) == 0) parent.addHolder(text, makeOwner);
            break;
        }
        case tagCategoryDef: {
            std::string holder;
            child.attribute("HOLDER", holder);
            if (child.attribute("DEFINITION", text) == 0) parent.setCategoryDefinition(holder, text);
            break;
        }
        }
        if (module) parent.notify(ChangeKind::children);
    }

    bool isStatic;
    ModuleLoadHooks* module;
    int depth = 0;
    std::string name, text;  // reused: one allocation for the whole read
    std::string scratch[3];  // attribute values turned into 8-bit text

    // The child under `key`; a new one is marked as this load marks
    // everything it makes, and `created` tells which. Null when the name
    // cannot be a key (empty, or with a "." in it).
    DbNode* childOrNew(DbNode& parent, std::string_view key, bool& created) {
        DbNode* node = parent.addChildQuietly(key, &created);
        if (!node || !created) return node;
        node->isStatic = isStatic;
        if (module) {
            node->module.set(module->moduleName());
            loadedModules().insert(std::string(module->moduleName()));
        }
        return node;
    }

    void loadGroup(XmlElement& element, DbNode& parent) {
        std::string_view views[3];
        unsigned got = element.attributeViews({"NAME", "CATEGORY", "MODULE"}, views, scratch);
        std::string_view key = views[0];
        std::string translated;
        if (module && isTopLevelGroup(parent)) {
            translated = module->translateRecordId(parent.name, key);
            key = translated;
        }
        uint32_t category = got & 2 ? readUnsigned(views[1]) : 0;
        bool hasModule = got & 4;
        if (hasModule) loadedModules().emplace(views[2]);
        bool created = false;
        DbNode* node = childOrNew(parent, key, created);
        if (!node) return;
        if (created) {
            node->category = category;
            if (hasModule && !module) node->module.set(views[2]);
        }
        load(element, *node);
    }

    void loadScalar(XmlElement& element, DbNode& parent, NodeKind kind) {
        std::string_view views[2];
        bool hasValue = element.attributeViews({"NAME", "VALUE"}, views, scratch) & 2;
        bool created = false;
        DbNode* node = childOrNew(parent, views[0], created);
        if (!node) return;
        if (created) node->attachValue(makeValue(kind));
        if (node->kind == kind && node->value) {
            // The kind says what the value is.
            if (kind == NodeKind::intValue) {
                static_cast<IntValue*>(node->value.get())->set(hasValue ? readInt(views[1]) : 0);
            } else {
                auto* value = static_cast<StringValue*>(node->value.get());
                if (hasValue) {
                    value->set(views[1]);
                } else {
                    value->set(std::nullopt);
                }
            }
        }
        load(element, *node);
    }

    void loadStored(XmlElement& element, DbNode& parent, NodeKind kind) {
        bool created = false;
        DbNode* node = childOrNew(parent, name, created);
        if (!node) return;
        if (created) node->attachValue(makeValue(kind));
        if (node->kind != kind || !node->value) return;
        if (kind == NodeKind::image && module) {
            if (auto* image = node->valueAs<ImageValueBase>()) module->readImage(element, *image);
            return;
        }
        node->value->readStored(element);
    }
};

}  // namespace

int loadNodes(XmlElement* element, DbNode& parent, bool isStatic, ModuleLoadHooks* module) {
    if (!element) return 1;
    Loader loader(isStatic, module);
    loader.load(*element, parent);
    return 0;
}

std::set<std::string>& loadedModules() {
    static std::set<std::string> names;
    return names;
}

}  // namespace lh::db
