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
#include "db/StringValue.h"
#include "db/XmlElement.h"
#include "platform/Paths.h"

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

// The one-pass reader of the plain form that saves write: elements with
// attributes in double or single quotes, printable 7-bit text without
// references in the values, white space between the elements, and an XML
// declaration in front. The reader answers false at the first thing outside
// that form, before any node is made: the first pass only checks and
// records where each attribute stands, and the second makes the nodes. What
// the first pass accepts, the XML parser accepts too and reads to the same
// elements and values, so the tree is the one loadNodes makes.
class PlainReader {
public:
    PlainReader(const char* begin, const char* end) : p(begin), end(end) {}

    bool scan() {
        items.reserve(size_t(end - p) / 48 + 16);
        if (startsWith("<?xml ")) {
            for (p += 6;; ++p) {
                if (p + 1 >= end || *p == '<' || !isPrintable(*p)) return false;
                if (p[0] == '?' && p[1] == '>') break;
            }
            p += 2;
        }
        skipSpace();
        if (p >= end || *p != '<') return false;
        // The root element: its attributes are not read.
        if (!element(true)) return false;
        while (depth > 0) {
            skipSpace();
            if (p + 1 >= end || *p != '<') return false;
            if (p[1] == '/') {
                if (!endTag()) return false;
            } else if (!element(false)) {
                return false;
            }
        }
        skipSpace();
        return p == end;
    }

    void build(DbNode& root, bool isStatic) {
        std::vector<DbNode*> parents{&root};
        parents.reserve(kMaxOpen + 2);
        for (const Item& item : items) {
            if (item.tag == kEnd) {
                parents.pop_back();
                continue;
            }
            DbNode* node = nullptr;
            if (DbNode* parent = parents.back()) node = make(item, *parent, isStatic);
            if (!item.empty) parents.push_back(node);
        }
    }

private:
    // Reading deeper than this goes the long way, which drops what stands too deep.
    static constexpr int kMaxOpen = 100;
    enum : int8_t { kEnd = -2, kOther = -1, kNode, kInt, kString, kHolder, kCategoryDef };
    struct Item {
        int8_t tag;
        bool empty;     // "<x/>": no children and no end
        uint8_t found;  // bit i: attribute i is there
        uint32_t at[2], size[2];
    };
    const char* p;
    const char* end;
    const char* start = p;
    int depth = 0;
    std::vector<Item> items;
    std::string_view open[kMaxOpen + 1];

    static bool isSpace(char c) { return c == ' ' || c == '\t' || c == '\n'; }
    static bool isPrintable(char c) { return c >= 0x20 && c < 0x7F; }
    static bool isNameStart(char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_'; }
    static bool isNameChar(char c) {
        return isNameStart(c) || (c >= '0' && c <= '9') || c == '-' || c == '.' || c == ':';
    }
    static char upper(char c) { return c >= 'a' && c <= 'z' ? char(c - 32) : c; }
    static bool equalsNoCase(std::string_view name, std::string_view wanted) {
        if (name.size() != wanted.size()) return false;
        for (size_t i = 0; i < name.size(); ++i) {
            if (upper(name[i]) != wanted[i]) return false;
        }
        return true;
    }
    bool startsWith(std::string_view text) const {
        return size_t(end - p) >= text.size() && std::memcmp(p, text.data(), text.size()) == 0;
    }
    void skipSpace() {
        while (p < end && isSpace(*p)) ++p;
    }
    std::string_view name() {
        const char* first = p;
        if (p >= end || !isNameStart(*p)) return {};
        while (p < end && isNameChar(*p)) ++p;
        return std::string_view(first, size_t(p - first));
    }
    std::string_view view(const Item& item, int i) const {
        return std::string_view(start + item.at[i], item.size[i]);
    }

    static int8_t tagOf(std::string_view tag) {
        if (equalsNoCase(tag, "NODE")) return kNode;
        if (equalsNoCase(tag, "INTVALUE")) return kInt;
        if (equalsNoCase(tag, "STRINGVALUE")) return kString;
        if (equalsNoCase(tag, "HOLDER")) return kHolder;
        if (equalsNoCase(tag, "CATEGORYDEF")) return kCategoryDef;
        return kOther;
    }
    // The attributes each element reads, by slot. Values that need more
    // than a view (a Module, formatted text, images) go the long way.
    static int slotOf(int8_t tag, std::string_view attribute) {
        bool isName = equalsNoCase(attribute, "NAME");
        switch (tag) {
        case kNode: return isName ? 0 : equalsNoCase(attribute, "CATEGORY") ? 1 : equalsNoCase(attribute, "MODULE") ? -2 : -1;
        case kInt:
        case kString: return isName ? 0 : equalsNoCase(attribute, "VALUE") ? 1 : -1;
        case kHolder: return isName ? 0 : equalsNoCase(attribute, "OWNER") ? 1 : -1;
        case kCategoryDef: return equalsNoCase(attribute, "HOLDER") ? 0 : equalsNoCase(attribute, "DEFINITION") ? 1 : -1;
        default: return -1;
        }
    }

    // A start tag from its "<" on.
    bool element(bool isRoot) {
        ++p;
        std::string_view tagName = name();
        if (tagName.empty() || depth >= kMaxOpen) return false;
        Item item{isRoot ? int8_t(kOther) : tagOf(tagName), false, 0, {0, 0}, {0, 0}};
        if (!isRoot && item.tag == kOther) {
            // Elements the loader reads with more than plain attributes.
            if (equalsNoCase(tagName, "FORMATTEDTEXT") || equalsNoCase(tagName, "IMAGE")) return false;
        }
        for (;;) {
            bool spaced = p < end && isSpace(*p);
            skipSpace();
            if (p >= end) return false;
            if (*p == '>' || *p == '/') {
                if (*p == '/') {
                    if (p + 1 >= end || p[1] != '>') return false;
                    item.empty = true;
                    ++p;
                }
                ++p;
                break;
            }
            if (!spaced) return false;
            std::string_view attribute = name();
            if (attribute.empty() || p + 1 >= end || *p != '=' || (p[1] != '"' && p[1] != '\'')) return false;
            char quote = p[1];
            p += 2;
            const char* value = p;
            while (p < end && *p != quote) {
                if (!isPrintable(*p) || *p == '&' || *p == '<') return false;
                ++p;
            }
            if (p >= end) return false;
            int slot = isRoot ? -1 : slotOf(item.tag, attribute);
            if (slot == -2) return false;
            // The first of two equal names is the one read.
            if (slot >= 0 && !(item.found & (1u << slot))) {
                item.found |= uint8_t(1u << slot);
                item.at[slot] = uint32_t(value - start);
                item.size[slot] = uint32_t(p - value);
            }
            ++p;
        }
        if (!isRoot) items.push_back(item);
        if (!item.empty) open[depth++] = tagName;
        return true;
    }

    bool endTag() {
        p += 2;
        std::string_view tagName = name();
        if (tagName != open[depth - 1] || p >= end || *p != '>') return false;
        ++p;
        if (--depth > 0) items.push_back(Item{kEnd, false, 0, {0, 0}, {0, 0}});
        return true;
    }

    DbNode* make(const Item& item, DbNode& parent, bool isStatic) {
        switch (item.tag) {
        case kNode:
        case kInt:
        case kString: {
            bool created = false;
            DbNode* node = parent.addChildQuietly(view(item, 0), &created);
            if (!node) return nullptr;
            if (created) node->isStatic = isStatic;
            bool hasSecond = item.found & 2;
            if (item.tag == kNode) {
                if (created) node->category = hasSecond ? readUnsigned(view(item, 1)) : 0;
                return node;
            }
            NodeKind kind = item.tag == kInt ? NodeKind::intValue : NodeKind::stringValue;
            if (created) node->attachValue(makeValue(kind));
            if (node->kind == kind && node->value) {
                if (kind == NodeKind::intValue) {
                    static_cast<IntValue*>(node->value.get())->set(hasSecond ? readInt(view(item, 1)) : 0);
                } else if (hasSecond) {
                    static_cast<StringValue*>(node->value.get())->set(view(item, 1));
                } else {
                    static_cast<StringValue*>(node->value.get())->set(std::nullopt);
                }
            }
            return node;
        }
        case kHolder:
            if (item.found & 1) parent.addHolder(view(item, 0), (item.found & 2) && view(item, 1) == "true");
            return nullptr;
        case kCategoryDef:
            if (item.found & 2) parent.setCategoryDefinition(item.found & 1 ? view(item, 0) : std::string_view(), view(item, 1));
            return nullptr;
        default: return nullptr;
        }
    }
};

// The file's bytes, or false when it cannot be read here (the long way
// then reports it as it always does).
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
            bytes.reset(new char[size_t(length)]);
            size = std::fread(bytes.get(), 1, size_t(length), file);
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

XmlParseResult loadDatabase(std::string_view programPath, DbNode& root, bool isStatic) {
    std::unique_ptr<char[]> bytes;
    size_t size = 0;
    if (readWholeFile(programPath, bytes, size)) {
        PlainReader reader(bytes.get(), bytes.get() + size);
        if (reader.scan()) {
            reader.build(root, isStatic);
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
