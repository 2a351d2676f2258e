// The one-pass database reader. A scan checks the whole file and records
// where each wanted attribute stands; only when the whole file passed are the
// nodes made, so a file that goes the long way has not half-loaded first.
// What the scan accepts, the XML parser accepts too and reads to the same
// elements and values: the tree is the one that parsing and loadNodes make.
#include "db/PlainDatabaseReader.h"

#include <array>
#include <bit>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "db/DatabaseLoader.h"
#include "db/DbNode.h"
#include "db/IntValue.h"
#include "db/StringValue.h"
#include "db/XmlParse.h"
#include "platform/Encoding.h"

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace lh::db {

namespace {

enum CharClass : uint8_t {
    kSpace = 1,  // between elements and attributes
    kNameStart = 2,
    kNameChar = 4,
    kValueStop = 8,  // ends the fast run through an attribute value
};

constexpr std::array<uint8_t, 256> makeClasses() {
    std::array<uint8_t, 256> table{};
    for (int c = 0; c < 256; ++c) {
        uint8_t k = 0;
        if (c == ' ' || c == '\t' || c == '\n' || c == '\r') k |= kSpace;
        if ((c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_') k |= kNameStart | kNameChar;
        if ((c >= '0' && c <= '9') || c == '-' || c == '.' || c == ':') k |= kNameChar;
        if (c < 0x20 || c >= 0x80 || c == '&' || c == '<' || c == '"' || c == '\'') k |= kValueStop;
        table[size_t(c)] = k;
    }
    return table;
}
constexpr std::array<uint8_t, 256> kClasses = makeClasses();

inline uint8_t classOf(char c) { return kClasses[static_cast<unsigned char>(c)]; }

// Past the bytes of an attribute value that stand for themselves: values
// make up most of a database, and where the processor has 16-byte vectors
// they are checked 16 bytes at a time (the same set of stops as the table).
const char* skipPlainValueBytes(const char* p, const char* end) {
#if defined(__SSE2__)
    const __m128i blank = _mm_set1_epi8(0x20), doubleQuote = _mm_set1_epi8('"'), singleQuote = _mm_set1_epi8('\''),
                  ampersand = _mm_set1_epi8('&'), less = _mm_set1_epi8('<');
    while (end - p >= 16) {
        __m128i bytes = _mm_loadu_si128(reinterpret_cast<const __m128i*>(p));
        // Compared as signed bytes, those from 0x80 on are below a blank too.
        __m128i stops = _mm_or_si128(
            _mm_or_si128(_mm_cmplt_epi8(bytes, blank), _mm_cmpeq_epi8(bytes, doubleQuote)),
            _mm_or_si128(_mm_cmpeq_epi8(bytes, singleQuote),
                         _mm_or_si128(_mm_cmpeq_epi8(bytes, ampersand), _mm_cmpeq_epi8(bytes, less))));
        unsigned mask = unsigned(_mm_movemask_epi8(stops));
        if (mask) return p + std::countr_zero(mask);
        p += 16;
    }
#endif
    while (!(classOf(*p) & kValueStop)) ++p;
    return p;
}

// Names the reader compares against are all letters in upper case, and the
// names in the file are made of name characters: a letter matches itself in
// either case, and no other name character can match a letter this way.
inline bool equalsNoCase(std::string_view name, std::string_view upperLetters) {
    if (name.size() != upperLetters.size()) return false;
    for (size_t i = 0; i < name.size(); ++i) {
        if ((name[i] & ~0x20) != upperLetters[i]) return false;
    }
    return true;
}

bool isAscii(std::string_view text) {
    for (char c : text) {
        if (static_cast<unsigned char>(c) >= 0x80) return false;
    }
    return true;
}

// A character reference or one of the five named ones at text[0] ("&"): its
// length and code point, or 0 for anything else. References that the parser
// would leave as they stand or turn into a byte that ends the text (no ";",
// "&#0;", code points past Unicode or surrogates) are not taken: such files
// go the long way.
size_t readReference(std::string_view text, char32_t& cp) {
    struct Named {
        std::string_view text;
        char32_t cp;
    };
    static constexpr Named kNamed[] = {{"&lt;", '<'}, {"&gt;", '>'}, {"&amp;", '&'}, {"&apos;", '\''}, {"&quot;", '"'}};
    for (const Named& named : kNamed) {
        if (text.substr(0, named.text.size()) == named.text) {
            cp = named.cp;
            return named.text.size();
        }
    }
    if (text.size() < 4 || text[1] != '#') return 0;
    bool hex = text[2] == 'x';
    size_t first = hex ? 3 : 2, i = first;
    uint32_t value = 0;
    for (; i < text.size() && i - first < 8; ++i) {
        char c = text[i];
        uint32_t digit;
        if (c >= '0' && c <= '9') {
            digit = uint32_t(c - '0');
        } else if (hex && (c | 0x20) >= 'a' && (c | 0x20) <= 'f') {
            digit = uint32_t((c | 0x20) - 'a' + 10);
        } else {
            break;
        }
        value = value * (hex ? 16 : 10) + digit;
    }
    if (i == first || i >= text.size() || text[i] != ';') return 0;
    if (value == 0 || value > 0x10FFFF || (value >= 0xD800 && value < 0xE000)) return 0;
    cp = value;
    return i + 1;
}

class PlainReader {
public:
    PlainReader(const char* begin, size_t size) : p(begin), start(begin), end(begin + size) {}

    bool scan() {
        items.reserve(size_t(end - p) / 48 + 16);
        if (startsWith("<?xml ")) {
            const char* first = p;
            for (p += 6;; ++p) {
                if (p + 1 >= end || *p == '<' || *p < 0x20 || *p >= 0x7F) return false;
                if (p[0] == '?' && p[1] == '>') break;
            }
            p += 2;
            declaration = std::string_view(first, size_t(p - first));
            eightBit = declaresEightBitText(declaration);
        }
        skipSpace();
        if (*p != '<') return false;
        if (!element(true)) return false;  // the root: its attributes are not read
        while (depth > 0) {
            skipLayout();
            if (*p != '<') return false;
            if (p[1] == '/') {
                if (!endTag()) return false;
            } else if (!element(false)) {
                return false;
            }
        }
        skipSpace();
        return p == end && parseStoredValues();
    }

    void build(DbNode& root, bool isStatic) {
        if (rootChildren) root.children.reserve(root.children.size() + rootChildren, *root.arena);
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
    enum : int8_t { kEnd = -2, kOther = -1, kNode, kInt, kString, kHolder, kCategoryDef, kFormattedText, kImage };
    struct Item {
        int8_t tag = kOther;
        bool empty = false;     // no children (and no end item) follow
        uint8_t found = 0;      // bit i: attribute slot i is there
        uint8_t cooked = 0;     // bit i: its value holds references, line breaks or 8-bit text
        uint32_t children = 0;  // the nodes it may make below it, for an exact reserve
        uint32_t at[3] = {}, size[3] = {};
        uint32_t stored = 0;  // formatted text and images: the index of their parsed element
    };
    // An element that a value reads itself (formatted text, images), where it
    // stands in the file.
    struct Span {
        uint32_t at, size;
    };

    const char* p;
    const char* start;
    const char* end;  // *end is 0
    int depth = 0;
    std::vector<Item> items;
    Item rootItem;  // the root's attributes are read and dropped
    std::string_view open[kMaxOpen + 1];
    uint32_t openItem[kMaxOpen + 1];  // the index of each open element's item; the root has none
    uint32_t rootChildren = 0;
    std::string_view declaration;
    bool eightBit = false;  // the declaration names an 8-bit encoding
    std::vector<Span> storedSpans;
    // Those elements parsed together in one document, kept while the values read them.
    std::unique_ptr<XmlElement> storedRoot;
    std::vector<std::unique_ptr<XmlElement>> storedElements;
    std::string scratch, wide;

    bool startsWith(std::string_view text) const {
        return size_t(end - p) >= text.size() && std::memcmp(p, text.data(), text.size()) == 0;
    }
    void skipSpace() {
        while (classOf(*p) & kSpace) ++p;
    }
    // Between elements: a line break and the indentation, read 16 bytes at
    // a time where the processor has vectors.
    void skipLayout() {
#if defined(__SSE2__)
        const __m128i blank = _mm_set1_epi8(' '), tab = _mm_set1_epi8('\t'), lineFeed = _mm_set1_epi8('\n'),
                      carriageReturn = _mm_set1_epi8('\r');
        while (end - p >= 16) {
            __m128i bytes = _mm_loadu_si128(reinterpret_cast<const __m128i*>(p));
            __m128i space = _mm_or_si128(_mm_or_si128(_mm_cmpeq_epi8(bytes, blank), _mm_cmpeq_epi8(bytes, tab)),
                                         _mm_or_si128(_mm_cmpeq_epi8(bytes, lineFeed), _mm_cmpeq_epi8(bytes, carriageReturn)));
            unsigned other = ~unsigned(_mm_movemask_epi8(space)) & 0xFFFFu;
            if (other) {
                p += std::countr_zero(other);
                return;
            }
            p += 16;
        }
#endif
        skipSpace();
    }
    std::string_view name() {
        const char* first = p;
        if (!(classOf(*p) & kNameStart)) return {};
        ++p;
        while (classOf(*p) & kNameChar) ++p;
        return std::string_view(first, size_t(p - first));
    }
    static bool makesNode(int8_t tag) {
        return tag == kNode || tag == kInt || tag == kString || tag == kFormattedText || tag == kImage;
    }

    static int8_t tagOf(std::string_view tag) {
        switch (tag.size()) {
        case 4: return equalsNoCase(tag, "NODE") ? kNode : kOther;
        case 5: return equalsNoCase(tag, "IMAGE") ? kImage : kOther;
        case 6: return equalsNoCase(tag, "HOLDER") ? kHolder : kOther;
        case 8: return equalsNoCase(tag, "INTVALUE") ? kInt : kOther;
        case 11:
            return equalsNoCase(tag, "STRINGVALUE") ? kString : equalsNoCase(tag, "CATEGORYDEF") ? kCategoryDef : kOther;
        case 13: return equalsNoCase(tag, "FORMATTEDTEXT") ? kFormattedText : kOther;
        default: return kOther;
        }
    }
    // The attributes each element reads, by slot.
    static int slotOf(int8_t tag, std::string_view attribute) {
        bool isName = equalsNoCase(attribute, "NAME");
        switch (tag) {
        case kNode:
            return isName ? 0 : equalsNoCase(attribute, "CATEGORY") ? 1 : equalsNoCase(attribute, "MODULE") ? 2 : -1;
        case kInt:
        case kString: return isName ? 0 : equalsNoCase(attribute, "VALUE") ? 1 : -1;
        case kHolder: return isName ? 0 : equalsNoCase(attribute, "OWNER") ? 1 : -1;
        case kCategoryDef: return equalsNoCase(attribute, "HOLDER") ? 0 : equalsNoCase(attribute, "DEFINITION") ? 1 : -1;
        case kFormattedText:
        case kImage: return isName ? 0 : -1;
        default: return -1;
        }
    }

    // Whether the name at p is exactly `word`; if so, p goes past it.
    bool spelled(std::string_view word) {
        if (size_t(end - p) <= word.size() || std::memcmp(p, word.data(), word.size()) != 0 ||
            (classOf(p[word.size()]) & kNameChar)) {
            return false;
        }
        p += word.size();
        return true;
    }
    // The tag names and attribute names as saves spell them, tried before
    // the general road: most of a database is these few names. Each answers
    // the name it read and what the general road would have made of it, or
    // an empty name (and p unmoved) for any other spelling.
    std::string_view savedTag(int8_t& tag) {
        static constexpr std::string_view kTags[] = {"node", "intvalue", "stringvalue", "holder",
                                                     "categorydef", "formattedtext", "image"};
        for (int i = 0; i < int(std::size(kTags)); ++i) {
            if (*p == kTags[i][0] && p[1] == kTags[i][1] && spelled(kTags[i])) {
                tag = int8_t(i);  // in the order of the tag numbers
                return kTags[i];
            }
        }
        return {};
    }
    std::string_view savedAttribute(int8_t tag, int& slot) {
        static constexpr std::string_view kNames[] = {"name",  "value",  "category",  "module",
                                                      "owner", "holder", "definition"};
        // The slot each of these names reads in each tag (in the order of
        // the tag numbers), as slotOf gives it; -1 where it is not read.
        static constexpr int8_t kSlots[std::size(kNames)][7] = {
            {0, 0, 0, 0, -1, 0, 0},       {-1, 1, 1, -1, -1, -1, -1},  {1, -1, -1, -1, -1, -1, -1},
            {2, -1, -1, -1, -1, -1, -1},  {-1, -1, -1, 1, -1, -1, -1}, {-1, -1, -1, -1, 0, -1, -1},
            {-1, -1, -1, -1, 1, -1, -1}};
        for (size_t i = 0; i < std::size(kNames); ++i) {
            if (*p != kNames[i][0] || !spelled(kNames[i])) continue;
            slot = tag >= 0 ? kSlots[i][tag] : -1;
            return kNames[i];
        }
        return {};
    }

    // An attribute value from behind its opening quote to its closing one.
    // `cooked` tells that the value is not its own bytes.
    bool attributeValue(char quote, bool& cooked) {
        for (;;) {
            p = skipPlainValueBytes(p, end);
            char c = *p;
            if (c == quote) return true;
            if (c == '"' || c == '\'' || c == '\t' || c == '\n' || c == '\r' || static_cast<unsigned char>(c) >= 0x80) {
                cooked |= c != '"' && c != '\'';
                ++p;
                continue;
            }
            if (c != '&') return false;  // "<", other control bytes, or the end of the file
            char32_t cp;
            size_t length = readReference(std::string_view(p, size_t(end - p)), cp);
            if (length == 0) return false;
            cooked = true;
            p += length;
        }
    }

    // A start tag from its "<" on.
    bool element(bool isRoot) {
        const char* tagStart = p;
        ++p;
        int8_t tag = kOther;
        std::string_view tagName = isRoot ? std::string_view() : savedTag(tag);
        if (tagName.empty()) {
            tagName = name();
            if (!isRoot) tag = tagOf(tagName);
        }
        if (tagName.empty() || depth >= kMaxOpen) return false;
        // Filled where it stays: an item put together on the stack and
        // copied into the list cost a stall on every element.
        Item& item = isRoot ? rootItem : items.emplace_back();
        item.tag = tag;
        for (;;) {
            bool spaced = classOf(*p) & kSpace;
            skipSpace();
            if (*p == '>' || *p == '/') {
                if (*p == '/') {
                    if (p[1] != '>') return false;
                    item.empty = true;
                    ++p;
                }
                ++p;
                break;
            }
            if (!spaced) return false;
            int slot = -1;
            std::string_view attribute = savedAttribute(item.tag, slot);
            if (attribute.empty()) {
                attribute = name();
                slot = slotOf(item.tag, attribute);
            }
            if (attribute.empty() || *p != '=' || (p[1] != '"' && p[1] != '\'')) return false;
            char quote = p[1];
            p += 2;
            const char* value = p;
            bool cooked = false;
            if (!attributeValue(quote, cooked)) return false;
            // The first of two equal names is the one read.
            if (slot >= 0 && !(item.found & (1u << slot))) {
                item.found |= uint8_t(1u << slot);
                if (cooked) item.cooked |= uint8_t(1u << slot);
                item.at[slot] = uint32_t(value - start);
                item.size[slot] = uint32_t(p - value);
            }
            ++p;
        }
        if (item.tag == kFormattedText || item.tag == kImage) {
            // Their content is the value's to read: it is found here and
            // parsed with the others once the scan is through.
            if (!item.empty && !skipContent(tagName)) return false;
            item.empty = true;
            item.stored = uint32_t(storedSpans.size());
            storedSpans.push_back(Span{uint32_t(tagStart - start), uint32_t(p - tagStart)});
        }
        if (!isRoot && makesNode(item.tag)) {
            if (depth == 1) {
                ++rootChildren;
            } else {
                ++items[openItem[depth - 1]].children;
            }
        }
        if (!item.empty) {
            open[depth] = tagName;
            openItem[depth] = uint32_t(items.size() - 1);
            ++depth;
        }
        return true;
    }

    bool endTag() {
        p += 2;
        std::string_view tagName = name();
        if (tagName != open[depth - 1] || *p != '>') return false;
        ++p;
        if (--depth > 0) items.emplace_back().tag = kEnd;
        return true;
    }

    bool skipPast(std::string_view terminator) {
        size_t at = std::string_view(p, size_t(end - p)).find(terminator);
        if (at == std::string_view::npos) return false;
        p += at + terminator.size();
        return true;
    }

    // The content of an element whose value reads it, up to and past its
    // end tag. Only the nesting is followed here: the parse of the element
    // afterwards checks the rest, and a file whose element does not parse
    // goes the long way.
    bool skipContent(std::string_view tagName) {
        int nesting = 1;
        for (;;) {
            const char* next = static_cast<const char*>(std::memchr(p, '<', size_t(end - p)));
            if (!next) return false;
            p = next;
            if (startsWith("<!--")) {
                if (!skipPast("-->")) return false;
            } else if (startsWith("<![CDATA[")) {
                if (!skipPast("]]>")) return false;
            } else if (startsWith("<?")) {
                if (!skipPast("?>")) return false;
            } else if (p[1] == '!') {
                return false;
            } else if (p[1] == '/') {
                if (--nesting == 0) {
                    p += 2;
                    if (name() != tagName || *p != '>') return false;
                    ++p;
                    return true;
                }
                if (!skipPast(">")) return false;
            } else {
                char quote = 0;
                for (++p; *p && (quote || *p != '>'); ++p) {
                    if (quote) {
                        if (*p == quote) quote = 0;
                    } else if (*p == '"' || *p == '\'') {
                        quote = *p;
                    }
                }
                if (*p != '>') return false;
                if (p[-1] != '/') ++nesting;
                ++p;
            }
        }
    }

    // Parses the elements that values read themselves, all in one document
    // behind the file's own declaration, so that their text is read as the
    // whole file's would be.
    bool parseStoredValues() {
        if (storedSpans.empty()) return true;
        std::string text(declaration);
        text += "<root>";
        for (const Span& span : storedSpans) text.append(start + span.at, span.size);
        text += "</root>";
        XmlParseResult parsed = parseXmlTextChecked(text, nullptr);
        if (parsed.status != XmlStatus::ok) return false;
        storedRoot = std::move(parsed.root);
        storedElements.reserve(storedSpans.size());
        for (size_t i = 0;; ++i) {
            std::unique_ptr<XmlElement> child = storedRoot->childAt(i);
            if (!child) break;
            if (child->isText()) return false;
            storedElements.push_back(std::move(child));
        }
        return storedElements.size() == storedSpans.size();
    }

    // The value of attribute slot `i` as the parser and XmlElement give it:
    // white space in it made blanks (CR LF as one), references resolved,
    // and text outside ASCII turned into 8-bit text.
    std::string_view value(const Item& item, int i) {
        std::string_view raw(start + item.at[i], item.size[i]);
        return item.cooked & (1u << i) ? cook(raw) : raw;
    }
    [[gnu::noinline]] std::string_view cook(std::string_view raw) {
        if (eightBit && !isAscii(raw)) {
            wide = platform::windows1252ToUtf8(raw);
            raw = wide;
        }
        scratch.clear();
        for (size_t k = 0; k < raw.size();) {
            char c = raw[k];
            if (c == '\r') {
                scratch.push_back(' ');
                k += k + 1 < raw.size() && raw[k + 1] == '\n' ? 2 : 1;
            } else if (c == '\n' || c == '\t') {
                scratch.push_back(' ');
                ++k;
            } else if (c == '&') {
                char32_t cp = 0;
                k += readReference(raw.substr(k), cp);  // checked by the scan
                platform::appendUtf8(scratch, cp);
            } else {
                scratch.push_back(c);
                ++k;
            }
        }
        if (!isAscii(scratch)) scratch = platform::utf8ToWindows1252(scratch);
        return scratch;
    }

    DbNode* make(const Item& item, DbNode& parent, bool isStatic) {
        switch (item.tag) {
        case kNode:
        case kInt:
        case kString: {
            if (item.tag == kNode && (item.found & 4)) loadedModules().emplace(value(item, 2));
            bool created = false;
            DbNode* node = parent.addChildQuietly(item.found & 1 ? value(item, 0) : std::string_view(), &created);
            if (!node) return nullptr;
            if (created) {
                node->isStatic = isStatic;
                if (item.children) node->children.reserve(item.children, *node->arena);
            }
            bool hasSecond = item.found & 2;
            if (item.tag == kNode) {
                if (created) {
                    node->category = hasSecond ? readStoredUnsigned(value(item, 1)) : 0;
                    if (item.found & 4) node->setModule(value(item, 2));
                }
                return node;
            }
            NodeKind kind = item.tag == kInt ? NodeKind::intValue : NodeKind::stringValue;
            if (created) node->attachValue(kind);
            if (node->kind == kind && node->value) {
                if (kind == NodeKind::intValue) {
                    static_cast<IntValue*>(node->value.get())->set(hasSecond ? readStoredInt(value(item, 1)) : 0);
                } else if (hasSecond) {
                    static_cast<StringValue*>(node->value.get())->set(value(item, 1));
                } else {
                    static_cast<StringValue*>(node->value.get())->set(std::nullopt);
                }
            }
            return node;
        }
        case kFormattedText:
        case kImage: {
            bool created = false;
            DbNode* node = parent.addChildQuietly(item.found & 1 ? value(item, 0) : std::string_view(), &created);
            if (!node) return nullptr;
            NodeKind kind = item.tag == kImage ? NodeKind::image : NodeKind::formattedText;
            if (created) {
                node->isStatic = isStatic;
                node->attachValue(kind);
            }
            if (node->kind == kind && node->value) node->value->readStored(*storedElements[item.stored]);
            return nullptr;
        }
        case kHolder:
            if (item.found & 1) {
                bool makeOwner = (item.found & 2) && value(item, 1) == "true";
                parent.addHolder(value(item, 0), makeOwner);
            }
            return nullptr;
        case kCategoryDef:
            if (item.found & 2) {
                std::string holder(item.found & 1 ? value(item, 0) : std::string_view());
                parent.setCategoryDefinition(holder, value(item, 1));
            }
            return nullptr;
        default: return nullptr;
        }
    }
};

// Leading white space and a sign are taken as strtol takes them; the digits
// are read here, as a large database reads a number for most of its nodes.
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

}  // namespace

int32_t readStoredInt(std::string_view text) {
    int64_t n = readNumber(text);
    if (n > INT32_MAX) return INT32_MAX;
    if (n < INT32_MIN) return INT32_MIN;
    return int32_t(n);
}

uint32_t readStoredUnsigned(std::string_view text) {
    int64_t n = readNumber(text);
    return n < 0 || n > UINT32_MAX ? 0 : uint32_t(n);
}

bool readPlainDatabase(const char* bytes, size_t size, DbNode& root, bool isStatic) {
    PlainReader reader(bytes, size);
    if (!reader.scan()) return false;
    reader.build(root, isStatic);
    return true;
}

}  // namespace lh::db
