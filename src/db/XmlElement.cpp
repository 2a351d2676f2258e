// XmlElement on pugixml. Text comes out of the parser as UTF-8 and is turned
// into the program's 8-bit text; pure ASCII, by far the common case, is
// copied without conversion.
#include "db/XmlElement.h"

#include <algorithm>
#include <bit>
#include <cstdint>
#include <cstring>
#include <type_traits>

#include "db/XmlDocumentHolder.h"
#include "platform/Encoding.h"

namespace lh::db {

namespace {

// pugixml's handles are their node and attribute pointers, and nothing
// more; the library makes and tests them in out-of-line calls, too dear for
// walks that take several handles per element. Here they are made, read and
// tested as the pointers they hold.
static_assert(sizeof(pugi::xml_node) == sizeof(pugi::xml_node_struct*) &&
              std::is_trivially_copyable_v<pugi::xml_node>);
static_assert(sizeof(pugi::xml_attribute) == sizeof(void*) && std::is_trivially_copyable_v<pugi::xml_attribute>);

inline pugi::xml_node handle(pugi::xml_node_struct* node) { return std::bit_cast<pugi::xml_node>(node); }
inline pugi::xml_node_struct* object(pugi::xml_node node) { return std::bit_cast<pugi::xml_node_struct*>(node); }
inline bool isNull(pugi::xml_node node) { return object(node) == nullptr; }
inline bool isNull(pugi::xml_attribute attribute) { return std::bit_cast<void*>(attribute) == nullptr; }

// Whether any byte of `length` at `s` is above 127, eight bytes at a time:
// large documents are mostly ASCII, and this check runs on every value read.
// The last word overlaps the one before it rather than ending in a byte loop,
// and short texts are read in two overlapping halves the same way.
uint64_t load64(const char* s) {
    uint64_t word;
    std::memcpy(&word, s, 8);
    return word;
}
uint32_t load32(const char* s) {
    uint32_t word;
    std::memcpy(&word, s, 4);
    return word;
}
bool isAscii(const char* s, size_t length) {
    if (length >= 8) {
        uint64_t bits = load64(s + length - 8);
        for (size_t i = 0; i + 8 < length; i += 8) bits |= load64(s + i);
        return !(bits & 0x8080808080808080ull);
    }
    if (length >= 4) return !((load32(s) | load32(s + length - 4)) & 0x80808080u);
    unsigned bits = 0;
    for (size_t i = 0; i < length; ++i) bits |= static_cast<unsigned char>(s[i]);
    return bits < 0x80;
}

void assign8Bit(std::string& out, const char* utf8) {
    // The library's length and copy beat a byte loop already for the short
    // values that most are (assign copies without first filling the string,
    // as resize would); the check for 8-bit text then runs eight bytes at a
    // time.
    size_t length = std::strlen(utf8);
    out.assign(utf8, length);
    if (!isAscii(utf8, length)) out = platform::utf8ToWindows1252(std::string_view(utf8, length));
}

// Raises the ASCII letters of eight bytes at once: a byte gets its case bit
// cleared where it lies in 'a'..'z', and no other byte changes.
inline uint64_t upperWord(uint64_t word) {
    constexpr uint64_t ones = 0x0101010101010101ull, high = 0x8080808080808080ull;
    uint64_t low7 = word & ~high;
    uint64_t fromA = low7 + ones * (0x80 - 'a');      // high bit set from 'a' on
    uint64_t pastZ = low7 + ones * (0x80 - 'z' - 1);  // high bit set past 'z'
    uint64_t lower = (fromA ^ pastZ) & ~word & high;
    return word ^ (lower >> 2);
}

void copyToBuffer(const std::string& text, char* buffer, size_t size) {
    if (size == 0) return;
    size_t n = text.size() < size - 1 ? text.size() : size - 1;
    std::memcpy(buffer, text.data(), n);
    buffer[n] = 0;
}

inline char upper(char c) { return (c >= 'a' && c <= 'z') ? char(c - 'a' + 'A') : c; }

// Two bytes match without regard to case when they are equal, or differ in
// the case bit alone and are letters. Callers ask in upper case and files
// mostly use lower case, so the second test is the common one: it is kept
// to a few plain operations.
[[gnu::always_inline]] inline bool equalsNoCase(const char* name, std::string_view wanted) {
    size_t i = 0;
    for (; i < wanted.size(); ++i) {
        unsigned char c = static_cast<unsigned char>(name[i]);
        unsigned char differ = c ^ static_cast<unsigned char>(wanted[i]);
        if (differ != 0 && (differ != 0x20 || unsigned((c | 0x20) - 'a') > 25u)) return false;
    }
    return name[i] == 0;
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
size_t decodeUtf8(std::string_view s, size_t i, char32_t& cp) {
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

// Appends the UTF-8 text `text` as markup that reads back to exactly the
// same text, whatever stands around it: "&", "<", ">" and (in attributes)
// the double quote as entities; tab, line feed and carriage return as
// numeric references, so that no line break or indentation of the file
// around the markup can mix with the text, and the reader's turning of
// white space in attributes into blanks has nothing to change; characters
// outside ASCII as references to their code points, so the markup stays
// exact in an 8-bit file without a declaration.
void appendMarkupText(std::string& out, std::string_view text, bool attribute) {
    for (size_t i = 0; i < text.size();) {
        unsigned char c = static_cast<unsigned char>(text[i]);
        if (c < 0x80) {
            switch (c) {
            case '&': out += "&amp;"; break;
            case '<': out += "&lt;"; break;
            case '>': out += "&gt;"; break;
            case '\t': out += "&#9;"; break;
            case '\n': out += "&#10;"; break;
            case '\r': out += "&#13;"; break;
            case '"':
                if (attribute) {
                    out += "&quot;";
                    break;
                }
                [[fallthrough]];
            default: out.push_back(char(c));
            }
            ++i;
            continue;
        }
        char32_t cp = 0;
        size_t len = decodeUtf8(text, i, cp);
        if (len == 0) {
            cp = platform::windows1252ToCodePoint(c);  // raw 8-bit byte
            len = 1;
        }
        out += "&#";
        out += std::to_string(uint32_t(cp));
        out += ';';
        i += len;
    }
}

// A text piece inside an element. The reader drops a piece that holds
// nothing but white space; one of blanks alone therefore starts with a
// reference, which the reader counts as content.
void appendPieceMarkup(std::string& out, std::string_view text) {
    if (!text.empty() && text.find_first_not_of(' ') == std::string_view::npos) {
        out += "&#32;";
        text.remove_prefix(1);
    }
    appendMarkupText(out, text, false);
}

void appendOpenTag(std::string& out, pugi::xml_node element) {
    out += '<';
    out += element.name();
    for (pugi::xml_attribute a = element.first_attribute(); a; a = a.next_attribute()) {
        out += ' ';
        out += a.name();
        out += "=\"";
        appendMarkupText(out, a.value(), true);
        out += '"';
    }
}

// Prints one element and all below it, without recursion: a hostile
// document may nest deeper than the stack would allow.
void appendElementMarkup(std::string& out, pugi::xml_node top) {
    appendOpenTag(out, top);
    if (!top.first_child()) {
        out += " />";
        return;
    }
    out += '>';
    pugi::xml_node node = top.first_child();
    while (node) {
        bool descend = false;
        if (isTextNode(node)) {
            appendPieceMarkup(out, node.value());
        } else if (node.type() == pugi::node_element) {
            appendOpenTag(out, node);
            if (node.first_child()) {
                out += '>';
                descend = true;
            } else {
                out += " />";
            }
        }
        if (descend) {
            node = node.first_child();
            continue;
        }
        // Close every element whose last child is done.
        while (node != top && !node.next_sibling()) {
            node = node.parent();
            out += "</";
            out += node.name();
            out += '>';
        }
        if (node == top) break;
        node = node.next_sibling();
    }
}

}  // namespace

XmlElement::XmlElement(XmlDocumentHolder* doc, pugi::xml_node_struct* n) : XmlElement(Shared{}, doc, n) {}

void XmlElement::drop(XmlDocumentShares* document) { delete static_cast<XmlDocumentHolder*>(document); }

void XmlElement::visitChildren(bool (*visit)(void* callable, XmlElement& child), void* callable) const {
    for (pugi::xml_node child = handle(node).first_child(); !isNull(child); child = child.next_sibling()) {
        pugi::xml_node_type type = child.type();
        if (type != pugi::node_element && type != pugi::node_pcdata && type != pugi::node_cdata) continue;
        XmlElement lent(Lent{}, document, object(child));
        if (!visit(callable, lent)) return;
    }
}

namespace {

// Children as callers see them: elements and text pieces, nothing else.
bool isVisible(pugi::xml_node child) {
    pugi::xml_node_type type = child.type();
    return type == pugi::node_element || type == pugi::node_pcdata || type == pugi::node_cdata;
}

pugi::xml_node firstVisible(pugi::xml_node child) {
    while (!isNull(child) && !isVisible(child)) child = child.next_sibling();
    return child;
}

}  // namespace

pugi::xml_node_struct* XmlElement::seekChild(size_t index) {
    bool plain = document->plainChildren;
    if (!cursor || index < cursorIndex) {
        pugi::xml_node first = handle(node).first_child();
        cursor = object(plain ? first : firstVisible(first));
        cursorIndex = 0;
    }
    while (cursor && cursorIndex < index) {
        pugi::xml_node next = handle(cursor).next_sibling();
        cursor = object(plain ? next : firstVisible(next));
        ++cursorIndex;
    }
    if (!cursor) {
        childTotal = cursorIndex;  // the walk ran off the end: now the count is known
        return nullptr;
    }
    return cursor;
}


size_t XmlElement::childCount() {
    if (childTotal == SIZE_MAX) {
        size_t count = 0;
        for (pugi::xml_node child = firstVisible(handle(node).first_child()); child;
             child = firstVisible(child.next_sibling())) {
            ++count;
        }
        childTotal = count;
    }
    return childTotal;
}

bool XmlElement::isText() const { return isTextNode(handle(node)); }

int XmlElement::tagName(std::string& out) const {
    pugi::xml_node n = handle(node);
    if (n.type() != pugi::node_element) return -1;
    // Tag names are short and nearly always ASCII: copy and raise the case
    // in one pass, and convert only when a byte above 127 turns up.
    const char* name = n.name();
    size_t length = std::strlen(name);
    out.assign(name, length);
    char* bytes = out.data();
    if (length >= 8) {
        // Raising twice changes nothing: the last word may overlap.
        for (size_t i = 0; i + 8 < length; i += 8) {
            uint64_t word = upperWord(load64(bytes + i));
            std::memcpy(bytes + i, &word, 8);
        }
        uint64_t last = upperWord(load64(bytes + length - 8));
        std::memcpy(bytes + length - 8, &last, 8);
    } else {
        for (size_t i = 0; i < length; ++i) bytes[i] = upper(bytes[i]);
    }
    if (!isAscii(name, length)) {
        out = platform::utf8ToWindows1252(std::string_view(name, length));
        for (char& c : out) c = upper(c);
    }
    return 0;
}

int XmlElement::tagIndex(std::initializer_list<std::string_view> upperNames) const {
    pugi::xml_node n = handle(node);
    if (n.type() != pugi::node_element) return -1;
    const char* name = n.name();
    int index = 0;
    for (std::string_view wanted : upperNames) {
        if (equalsNoCase(name, wanted)) return index;
        ++index;
    }
    return -1;
}

int XmlElement::tagName(char* buffer, size_t size) const {
    std::string name;
    if (tagName(name) != 0) return -1;
    copyToBuffer(name, buffer, size);
    return 0;
}

int XmlElement::attribute(std::string_view upperName, std::string& out) const {
    for (pugi::xml_attribute a = handle(node).first_attribute(); !isNull(a); a = a.next_attribute()) {
        if (equalsNoCase(a.name(), upperName)) {
            assign8Bit(out, a.value());
            return 0;
        }
    }
    return -1;
}

unsigned XmlElement::attributes(std::initializer_list<std::string_view> upperNames, std::string* const* outs) const {
    std::string_view views[8];
    std::string scratch[8];
    unsigned found = attributeViews(upperNames, views, scratch);
    for (size_t i = 0; i < 8; ++i) {
        if (found & (1u << i)) outs[i]->assign(views[i]);
    }
    return found;
}

unsigned XmlElement::attributeViews(std::initializer_list<std::string_view> upperNames, std::string_view* views,
                                    std::string* scratch) const {
    unsigned found = 0;
    const unsigned all = (1u << std::min<size_t>(upperNames.size(), 8)) - 1;
    for (pugi::xml_attribute a = handle(node).first_attribute(); !isNull(a) && found != all; a = a.next_attribute()) {
        const char* name = a.name();
        unsigned bit = 1;
        for (std::string_view wanted : upperNames) {
            if (bit > all) break;
            if (!(found & bit) && equalsNoCase(name, wanted)) {
                size_t index = size_t(std::countr_zero(bit));
                const char* value = a.value();
                size_t length = std::strlen(value);
                if (isAscii(value, length)) {
                    views[index] = std::string_view(value, length);
                } else {
                    scratch[index] = platform::utf8ToWindows1252(std::string_view(value, length));
                    views[index] = scratch[index];
                }
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
    pugi::xml_node n = handle(node);
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
    std::string out;
    for (pugi::xml_node child = handle(node).first_child(); child; child = child.next_sibling()) {
        if (child.type() == pugi::node_element) {
            appendElementMarkup(out, child);
            out.push_back('\n');
        } else if (isTextNode(child)) {
            // Between the elements, a text piece stands where the file's
            // line breaks and indentation are: its outer white space belongs
            // to the layout, not to the text.
            std::string_view text = child.value();
            size_t first = text.find_first_not_of(" \t\r\n");
            if (first == std::string_view::npos) continue;
            appendMarkupText(out, text.substr(first, text.find_last_not_of(" \t\r\n") - first + 1), false);
        }
    }
    return out;
}

}  // namespace lh::db
