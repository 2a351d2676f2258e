// XmlElement on pugixml. Text comes out of the parser as UTF-8 and is turned
// into the program's 8-bit text; pure ASCII, by far the common case, is
// copied without conversion.
#include "db/XmlElement.h"

#include <algorithm>
#include <bit>
#include <cstdint>
#include <cstring>

#include "db/XmlDocumentHolder.h"
#include "platform/Encoding.h"

namespace lh::db {

namespace {

// Eight bytes at a time: large documents are mostly ASCII, and this check
// runs on every value read.
bool isAscii(const char* s, size_t length) {
    size_t i = 0;
    for (; i + 8 <= length; i += 8) {
        uint64_t word;
        std::memcpy(&word, s + i, 8);
        if (word & 0x8080808080808080ull) return false;
    }
    for (; i < length; ++i) {
        if (static_cast<unsigned char>(s[i]) >= 0x80) return false;
    }
    return true;
}

void assign8Bit(std::string& out, const char* utf8) {
    size_t length = std::strlen(utf8);
    if (isAscii(utf8, length)) {
        out.assign(utf8, length);
    } else {
        out = platform::utf8ToWindows1252(std::string_view(utf8, length));
    }
}

void copyToBuffer(const std::string& text, char* buffer, size_t size) {
    if (size == 0) return;
    size_t n = text.size() < size - 1 ? text.size() : size - 1;
    std::memcpy(buffer, text.data(), n);
    buffer[n] = 0;
}

char upper(char c) { return (c >= 'a' && c <= 'z') ? char(c - 'a' + 'A') : c; }

bool equalsNoCase(const char* name, std::string_view wanted) {
    size_t i = 0;
    for (; name[i]; ++i) {
        if (i >= wanted.size() || upper(name[i]) != upper(wanted[i])) return false;
    }
    return i == wanted.size();
}

bool isTextNode(pugi::xml_node node) {
    return node.type() == pugi::node_pcdata || node.type() == pugi::node_cdata;
}

// A text piece as callers see it: without its outer white space, as the
// parsers the callers were written against gave it. CDATA stays whole.
void appendPiece(pugi::xml_node piece, std::string& utf8) {
    std::string_view text = piece.value();
    if (piece.type() == pugi::node_pcdata) {
        size_t first = text.find_first_not_of(" \t\r\n");
        if (first == std::string_view::npos) return;
        text = text.substr(first, text.find_last_not_of(" \t\r\n") - first + 1);
    }
    utf8.append(text);
}

// Walks without recursion: a hostile document may nest deeper than the
// stack would allow.
void appendTextBelow(pugi::xml_node top, std::string& utf8) {
    pugi::xml_node node = top.first_child();
    while (node) {
        if (isTextNode(node)) appendPiece(node, utf8);
        if (node.type() == pugi::node_element && node.first_child()) {
            node = node.first_child();
            continue;
        }
        while (node != top && !node.next_sibling()) node = node.parent();
        if (node == top) break;
        node = node.next_sibling();
    }
}

// Length of the UTF-8 sequence at s[i] and its code point, or 0 when the
// bytes there are no valid sequence.
size_t decodeUtf8(const std::string& s, size_t i, char32_t& cp) {
    unsigned char c = static_cast<unsigned char>(s[i]);
    size_t len = (c & 0xE0) == 0xC0 ? 2 : (c & 0xF0) == 0xE0 ? 3 : (c & 0xF8) == 0xF0 ? 4 : 0;
    if (len == 0 || i + len > s.size()) return 0;
    cp = c & (0x7F >> len);
    for (size_t k = 1; k < len; ++k) {
        unsigned char b = static_cast<unsigned char>(s[i + k]);
        if ((b & 0xC0) != 0x80) return 0;
        cp = (cp << 6) | (b & 0x3F);
    }
    return len;
}

// Collects printed XML, writing non-ASCII characters as references so the
// markup stays exact in an 8-bit file without a declaration.
class MarkupWriter : public pugi::xml_writer {
public:
    std::string utf8;
    void write(const void* data, size_t size) override { utf8.append(static_cast<const char*>(data), size); }
};

}  // namespace

XmlElement::XmlElement(std::shared_ptr<XmlDocumentHolder> doc, pugi::xml_node_struct* n)
    : document(std::move(doc)), documentRef(&document), node(n) {}

XmlElement::XmlElement(Lent, const std::shared_ptr<XmlDocumentHolder>* owner, pugi::xml_node_struct* n)
    : documentRef(owner), node(n) {}

void XmlElement::forEachChild(const std::function<bool(XmlElement& child)>& visit) const {
    for (pugi::xml_node child = pugi::xml_node(node).first_child(); child; child = child.next_sibling()) {
        pugi::xml_node_type type = child.type();
        if (type != pugi::node_element && type != pugi::node_pcdata && type != pugi::node_cdata) continue;
        XmlElement lent(Lent{}, documentRef, child.internal_object());
        if (!visit(lent)) return;
    }
}

XmlElement::~XmlElement() = default;

void XmlElement::fetchChildren() {
    childrenFetched = true;
    size_t count = 0;
    for (pugi::xml_node child = pugi::xml_node(node).first_child(); child; child = child.next_sibling()) ++count;
    children.reserve(count);
    for (pugi::xml_node child = pugi::xml_node(node).first_child(); child; child = child.next_sibling()) {
        pugi::xml_node_type type = child.type();
        if (type == pugi::node_element || type == pugi::node_pcdata || type == pugi::node_cdata) {
            children.push_back(child.internal_object());
        }
    }
}

std::unique_ptr<XmlElement> XmlElement::childAt(size_t index) {
    if (!childrenFetched) fetchChildren();
    if (index >= children.size()) return nullptr;
    return std::make_unique<XmlElement>(*documentRef, children[index]);
}

size_t XmlElement::childCount() {
    if (!childrenFetched) fetchChildren();
    return children.size();
}

bool XmlElement::isText() const { return isTextNode(pugi::xml_node(node)); }

int XmlElement::tagName(std::string& out) const {
    pugi::xml_node n(node);
    if (n.type() != pugi::node_element) return -1;
    assign8Bit(out, n.name());
    for (char& c : out) c = upper(c);
    return 0;
}

int XmlElement::tagName(char* buffer, size_t size) const {
    std::string name;
    if (tagName(name) != 0) return -1;
    copyToBuffer(name, buffer, size);
    return 0;
}

int XmlElement::attribute(std::string_view upperName, std::string& out) const {
    for (pugi::xml_attribute a = pugi::xml_node(node).first_attribute(); a; a = a.next_attribute()) {
        if (equalsNoCase(a.name(), upperName)) {
            assign8Bit(out, a.value());
            return 0;
        }
    }
    return -1;
}

unsigned XmlElement::attributes(std::initializer_list<std::string_view> upperNames, std::string* const* outs) const {
    unsigned found = 0;
    const unsigned all = (1u << std::min<size_t>(upperNames.size(), 8)) - 1;
    for (pugi::xml_attribute a = pugi::xml_node(node).first_attribute(); a && found != all; a = a.next_attribute()) {
        const char* name = a.name();
        unsigned bit = 1;
        for (std::string_view wanted : upperNames) {
            if (bit > all) break;
            if (!(found & bit) && equalsNoCase(name, wanted)) {
                assign8Bit(*outs[std::countr_zero(bit)], a.value());
                found |= bit;
                break;
            }
            bit <<= 1;
        }
    }
    return found;
}

int XmlElement::attribute(std::string_view upperName, char* buffer, size_t size) const {
    std::string value;
    if (attribute(upperName, value) != 0) return -1;
    copyToBuffer(value, buffer, size);
    return 0;
}

std::optional<std::string> XmlElement::text() const {
    pugi::xml_node n(node);
    std::string utf8;
    if (isTextNode(n)) {
        appendPiece(n, utf8);
    } else {
        appendTextBelow(n, utf8);
    }
    if (utf8.empty()) return std::nullopt;
    std::string out;
    assign8Bit(out, utf8.c_str());
    return out;
}

std::string XmlElement::innerMarkup() const {
    MarkupWriter writer;
    for (pugi::xml_node child = pugi::xml_node(node).first_child(); child; child = child.next_sibling()) {
        if (child.type() != pugi::node_element && !isTextNode(child)) continue;
        child.print(writer, "", pugi::format_raw);
        if (child.type() == pugi::node_element) writer.utf8.push_back('\n');
    }
    // Every character outside ASCII becomes a reference to its code point,
    // wherever XML takes one: in text and attribute values. A name cannot
    // hold a reference, so there the character stays UTF-8; a reference
    // inside a name would make the saved file unreadable.
    const std::string& markup = writer.utf8;
    std::string out;
    out.reserve(markup.size());
    bool inTag = false;
    char quote = 0;
    std::string_view opaqueEnd;  // the end of a comment, CDATA or instruction under way
    for (size_t i = 0; i < markup.size();) {
        unsigned char c = static_cast<unsigned char>(markup[i]);
        if (c < 0x80) {
            size_t step = 1;
            if (!opaqueEnd.empty()) {
                if (markup.compare(i, opaqueEnd.size(), opaqueEnd) == 0) {
                    step = opaqueEnd.size();
                    opaqueEnd = {};
                }
            } else if (quote) {
                if (c == quote) quote = 0;
            } else if (inTag) {
                if (c == '"' || c == '\'') quote = char(c);
                if (c == '>') inTag = false;
            } else if (c == '<') {
                // These hold no names, and may hold quotes and '>' freely.
                for (auto [open, close] : {std::pair<std::string_view, std::string_view>{"<!--", "-->"},
                                           {"<![CDATA[", "]]>"},
                                           {"<?", "?>"}}) {
                    if (markup.compare(i, open.size(), open) == 0) {
                        step = open.size();
                        opaqueEnd = close;
                        break;
                    }
                }
                inTag = opaqueEnd.empty();
            }
            out.append(markup, i, step);
            i += step;
            continue;
        }
        char32_t cp = 0;
        size_t len = decodeUtf8(markup, i, cp);
        bool raw = len == 0;
        if (raw) {
            cp = platform::windows1252ToCodePoint(c);  // raw 8-bit byte
            len = 1;
        }
        if (inTag && !quote) {
            std::string_view bytes = std::string_view(markup).substr(i, len);
            out += raw ? platform::windows1252ToUtf8(bytes) : std::string(bytes);
        } else {
            out += "&#" + std::to_string(uint32_t(cp)) + ";";
        }
        i += len;
    }
    return out;
}

}  // namespace lh::db
