// Reading "db.xml" elements into the record tree.
#include "db/DatabaseLoader.h"

#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <vector>

#include "db/DbNode.h"
#include "db/IntValue.h"
#include "db/PlainDatabaseReader.h"
#include "db/StringValue.h"
#include "db/XmlElement.h"
#include "platform/Paths.h"

namespace lh::db {

namespace {

// The file's bytes and a 0 behind them, or false when it cannot be read
// here (the long way then reports it as it always does).
bool readWholeFile(std::string_view programPath, std::unique_ptr<char[]>& bytes, size_t& size) {
    // Addresses on the web are refused, and reported, by the long way.
    if (programPath.find("://") != std::string_view::npos) return false;
    std::FILE* file = std::fopen(platform::diskPath(programPath).c_str(), "rb");
    if (!file) return false;
    bool ok = false;
    if (std::fseek(file, 0, SEEK_END) == 0) {
        long length = std::ftell(file);
        if (length > 0 && length < long(UINT32_MAX) && std::fseek(file, 0, SEEK_SET) == 0) {
            // Not zero-filled: every byte is read over.
            bytes.reset(new char[size_t(length) + 1]);
            size = std::fread(bytes.get(), 1, size_t(length), file);
            bytes[size] = 0;
            ok = size == size_t(length);
        }
    }
    std::fclose(file);
    return ok;
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
            node->setModule(module->moduleName());
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
        uint32_t category = got & 2 ? readStoredUnsigned(views[1]) : 0;
        bool hasModule = got & 4;
        if (hasModule) loadedModules().emplace(views[2]);
        bool created = false;
        DbNode* node = childOrNew(parent, key, created);
        if (!node) return;
        if (created) {
            node->category = category;
            if (hasModule && !module) node->setModule(views[2]);
        }
        load(element, *node);
    }

    void loadScalar(XmlElement& element, DbNode& parent, NodeKind kind) {
        std::string_view views[2];
        bool hasValue = element.attributeViews({"NAME", "VALUE"}, views, scratch) & 2;
        bool created = false;
        DbNode* node = childOrNew(parent, views[0], created);
        if (!node) return;
        if (created) node->attachValue(kind);
        if (node->kind == kind && node->value) {
            // The kind says what the value is.
            if (kind == NodeKind::intValue) {
                static_cast<IntValue*>(node->value.get())->set(hasValue ? readStoredInt(views[1]) : 0);
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
        if (created) node->attachValue(kind);
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

XmlParseResult loadDatabase(std::string_view programPath, DbNode& root, bool isStatic) {
    std::unique_ptr<char[]> bytes;
    size_t size = 0;
    if (readWholeFile(programPath, bytes, size)) {
        if (readPlainDatabase(bytes.get(), size, root, isStatic)) {
            XmlParseResult result;
            result.status = XmlStatus::ok;
            return result;
        }
    }
    XmlParseResult parsed = parseXmlFileChecked(programPath);
    if (parsed.status == XmlStatus::ok) {
        loadNodes(parsed.root.get(), root, isStatic);
        parsed.root.reset();
    }
    return parsed;
}

std::set<std::string>& loadedModules() {
    static std::set<std::string> names;
    return names;
}

}  // namespace lh::db
