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
// 32-bit limits, and text that is no number reads as 0.
int32_t readInt(const std::string& text) {
    long long n = std::strtoll(text.c_str(), nullptr, 10);
    if (n > INT32_MAX) return INT32_MAX;
    if (n < INT32_MIN) return INT32_MIN;
    return int32_t(n);
}

uint32_t readUnsigned(const std::string& text) {
    long long n = std::strtoll(text.c_str(), nullptr, 10);
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
    void loadChild(XmlElement& child, DbNode& parent) {
        if (child.tagName(tag) != 0) return;
        name.clear();
        if (tag == "NODE") {
            loadGroup(child, parent);
        } else if (tag == "INTVALUE" || tag == "STRINGVALUE") {
            loadScalar(child, parent, tag == "INTVALUE" ? NodeKind::intValue : NodeKind::stringValue);
        } else if (tag == "FORMATTEDTEXT" || tag == "IMAGE") {
            child.attribute("NAME", name);
            loadStored(child, parent, tag == "IMAGE" ? NodeKind::image : NodeKind::formattedText);
        } else if (tag == "HOLDER") {
            std::string owner;
            bool makeOwner = child.attribute("OWNER", owner) == 0 && owner == "true";
            if (child.attribute("NAME", text) == 0) parent.addHolder(text, makeOwner);
        } else if (tag == "CATEGORYDEF") {
            std::string holder;
            child.attribute("HOLDER", holder);
            if (child.attribute("DEFINITION", text) == 0) parent.setCategoryDefinition(holder, text);
        } else {
            return;
        }
        if (module) parent.notify(ChangeKind::children);
    }

    bool isStatic;
    ModuleLoadHooks* module;
    int depth = 0;
    std::string tag, name, text, moduleName;  // reused: one allocation for the whole read

    // A new child, marked as this load marks everything it makes. Null when
    // the name cannot be a key (empty, or with a "." in it).
    DbNode* create(DbNode& parent, const std::string& key) {
        DbNode* node = parent.addChildQuietly(key);
        if (!node) return nullptr;
        node->isStatic = isStatic;
        if (module) {
            node->module.set(module->moduleName());
            loadedModules().insert(std::string(module->moduleName()));
        }
        return node;
    }

    void loadGroup(XmlElement& element, DbNode& parent) {
        std::string* outs[] = {&name, &text, &moduleName};
        moduleName.clear();
        unsigned got = element.attributes({"NAME", "CATEGORY", "MODULE"}, outs);
        std::string key = name;
        if (module && isTopLevelGroup(parent)) key = module->translateRecordId(parent.name, key);
        uint32_t category = got & 2 ? readUnsigned(text) : 0;
        bool hasModule = got & 4;
        if (hasModule) loadedModules().insert(moduleName);
        DbNode* node = parent.child(key);
        if (!node) {
            node = create(parent, key);
            if (!node) return;
            node->category = category;
            if (hasModule && !module) node->module.set(moduleName);
        }
        load(element, *node);
    }

    void loadScalar(XmlElement& element, DbNode& parent, NodeKind kind) {
        std::string* outs[] = {&name, &text};
        bool hasValue = element.attributes({"NAME", "VALUE"}, outs) & 2;
        DbNode* node = parent.child(name);
        if (!node) {
            node = create(parent, name);
            if (!node) return;
            node->attachValue(makeValue(kind));
        }
        if (node->kind == kind && node->value) {
            // The kind says what the value is.
            if (kind == NodeKind::intValue) {
                static_cast<IntValue*>(node->value.get())->set(hasValue ? readInt(text) : 0);
            } else {
                auto* value = static_cast<StringValue*>(node->value.get());
                if (hasValue) {
                    value->set(text);
                } else {
                    value->set(std::nullopt);
                }
            }
        }
        load(element, *node);
    }

    void loadStored(XmlElement& element, DbNode& parent, NodeKind kind) {
        DbNode* node = parent.child(name);
        if (!node) {
            node = create(parent, name);
            if (!node) return;
            node->attachValue(makeValue(kind));
        }
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
