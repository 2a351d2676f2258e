// Parsing files and texts into XmlElements, and the report of a document
// that is not well formed.
#include "db/XmlParse.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <vector>

#include "db/Box.h"
#include "db/XmlDocumentHolder.h"
#include "platform/Encoding.h"
#include "platform/Paths.h"

namespace lh::db {

namespace {

constexpr size_t kMaxErrorText = 511;

char lower(char c) { return (c >= 'A' && c <= 'Z') ? char(c - 'A' + 'a') : c; }

// The encoding named in the XML declaration, in lower case, or empty.
std::string declaredEncoding(std::string_view text) {
    if (text.substr(0, 5) != "<?xml") return {};
    size_t end = text.find("?>");
    if (end == std::string_view::npos) return {};
    std::string_view decl = text.substr(0, end);
    size_t at = decl.find("encoding");
    if (at == std::string_view::npos) return {};
    size_t quote = decl.find_first_of("\"'", at);
    if (quote == std::string_view::npos) return {};
    size_t close = decl.find(decl[quote], quote + 1);
    if (close == std::string_view::npos) return {};
    std::string name;
    for (char c : decl.substr(quote + 1, close - quote - 1)) name.push_back(lower(c));
    return name;
}

bool isEightBitEncoding(const std::string& name) {
    // Documents that call themselves Latin-1 are read as Windows-1252, its
    // superset: what such files hold in 0x80..0x9F is nearly always 1252.
    return name == "iso-8859-1" || name == "latin1" || name == "latin-1" || name == "l1" ||
           name == "iso_8859-1" || name == "windows-1252" || name == "cp1252" || name == "us-ascii";
}

std::string utf16ToUtf8(std::string_view bytes, bool bigEndian) {
    std::string out;
    out.reserve(bytes.size() / 2);
    auto unit = [&](size_t i) {
        unsigned char a = static_cast<unsigned char>(bytes[i]), b = static_cast<unsigned char>(bytes[i + 1]);
        return bigEndian ? char32_t(a << 8 | b) : char32_t(b << 8 | a);
    };
    for (size_t i = 0; i + 1 < bytes.size(); i += 2) {
        char32_t cp = unit(i);
        if (cp >= 0xD800 && cp < 0xDC00 && i + 3 < bytes.size()) {
            char32_t low = unit(i + 2);
            if (low >= 0xDC00 && low < 0xE000) {
                cp = 0x10000 + ((cp - 0xD800) << 10) + (low - 0xDC00);
                i += 2;
            }
        } else if (cp >= 0xD800 && cp < 0xE000) {
            cp = 0xFFFD;
        }
        platform::appendUtf8(out, cp);
    }
    return out;
}

// Brings any document into the UTF-8 form the parser reads in place. Line
// breaks stay where they were, so error lines count the same.
std::string toUtf8Buffer(std::string&& bytes) {
    std::string_view text = bytes;
    if (text.size() >= 3 && text.substr(0, 3) == "\xEF\xBB\xBF") return std::string(text.substr(3));
    if (text.size() >= 2 && text.substr(0, 2) == "\xFF\xFE") return utf16ToUtf8(text.substr(2), false);
    if (text.size() >= 2 && text.substr(0, 2) == "\xFE\xFF") return utf16ToUtf8(text.substr(2), true);
    if (declaresEightBitText(text)) return platform::windows1252ToUtf8(text);
    // Undeclared: UTF-8, where raw 8-bit bytes pass through unchanged.
    return std::move(bytes);
}

// Tag names still open at `end`, by a light scan of the text before it. Used
// only to say which end tag was expected.
std::vector<std::string> openElementsBefore(std::string_view text, size_t end) {
    std::vector<std::string> open;
    size_t i = 0;
    auto skipPast = [&](std::string_view terminator) {
        size_t at = text.find(terminator, i);
        i = at == std::string_view::npos || at >= end ? end : at + terminator.size();
    };
    while (i < end) {
        if (text[i] != '<') {
            ++i;
            continue;
        }
        std::string_view rest = text.substr(i, end - i);
        if (rest.substr(0, 4) == "<!--") {
            skipPast("-->");
        } else if (rest.substr(0, 9) == "<![CDATA[") {
            skipPast("]]>");
        } else if (rest.substr(0, 2) == "<?") {
            skipPast("?>");
        } else if (rest.substr(0, 2) == "<!") {
            skipPast(">");
        } else if (rest.substr(0, 2) == "</") {
            if (!open.empty()) open.pop_back();
            skipPast(">");
        } else {
            size_t nameEnd = i + 1;
            while (nameEnd < end && !std::strchr(" \t\r\n/>", text[nameEnd])) ++nameEnd;
            std::string name(text.substr(i + 1, nameEnd - i - 1));
            char quote = 0;
            size_t k = nameEnd;
            for (; k < end; ++k) {
                if (quote) {
                    if (text[k] == quote) quote = 0;
                } else if (text[k] == '"' || text[k] == '\'') {
                    quote = text[k];
                } else if (text[k] == '>') {
                    break;
                }
            }
            if (k >= end) break;  // the tag itself is what broke
            if (text[k - 1] != '/') open.push_back(std::move(name));
            i = k + 1;
        }
    }
    return open;
}

std::string expectedText(pugi::xml_parse_status status, std::string_view text, size_t offset) {
    switch (status) {
    case pugi::status_bad_pi: return "?>";
    case pugi::status_bad_comment: return "-->";
    case pugi::status_bad_cdata: return "]]>";
    case pugi::status_bad_doctype: return "a document type declaration";
    case pugi::status_bad_pcdata: return "end of document";
    case pugi::status_bad_start_element: return "a start tag";
    case pugi::status_bad_attribute: return "an attribute name=\"value\"";
    case pugi::status_bad_end_element: return "an end tag";
    case pugi::status_no_document_element: return "a root element";
    case pugi::status_end_element_mismatch: {
        std::vector<std::string> open = openElementsBefore(text, offset);
        if (!open.empty()) return "</" + platform::utf8ToWindows1252(open.back()) + ">";
        return "an end tag";
    }
    default: return "a well-formed document";
    }
}

std::string foundText(std::string_view text, size_t offset) {
    if (offset >= text.size()) return "end of document";
    std::string_view rest = text.substr(offset);
    size_t n = 0;
    while (n < rest.size() && n < 40 && rest[n] != '\n' && rest[n] != '\r') ++n;
    std::string found = platform::utf8ToWindows1252(rest.substr(0, n));
    if (found.empty()) return "end of line";
    return found;
}

XmlParseResult malformed(const std::string& title, pugi::xml_parse_status status, std::string_view text,
                         size_t offset) {
    if (offset > text.size()) offset = text.size();
    if (status == pugi::status_end_element_mismatch) {
        // The parser stops behind "</"; the found text is the whole tag, and
        // a document that merely ends early is found at its end.
        if (offset >= 2 && text.substr(offset - 2, 2) == "</") offset -= 2;
        if (text.find_first_not_of(" \t\r\n", offset) == std::string_view::npos) offset = text.size();
    }
    XmlParseResult result;
    result.status = XmlStatus::malformed;
    result.error.title = title;
    result.error.line = 1;
    for (size_t i = 0; i < offset; ++i) result.error.line += text[i] == '\n';
    result.error.found = foundText(text, offset);
    result.error.expected = expectedText(status, text, offset);
    // The box's texts are bounded, as the error record's were.
    if (result.error.expected.size() > kMaxErrorText) result.error.expected.resize(kMaxErrorText);
    return result;
}

// pugixml reads fragments; a document has one root element and no text
// beside it. The offset of the first thing that stands outside, or npos.
size_t strayContentOffset(const pugi::xml_document& document) {
    int elements = 0;
    for (pugi::xml_node node = document.first_child(); node; node = node.next_sibling()) {
        bool stray = node.type() == pugi::node_pcdata || node.type() == pugi::node_cdata ||
                     (node.type() == pugi::node_element && ++elements > 1);
        if (stray) {
            ptrdiff_t offset = node.offset_debug();
            return offset < 0 ? 0 : size_t(offset);
        }
    }
    return std::string::npos;
}

// Parses `utf8` in place. `original` gives the text again for locating an
// error, as the in-place parse writes over the buffer.
template <class Original>
XmlParseResult parseBuffer(std::string utf8, const std::string& title, Original original) {
    XmlParseResult result;
    auto holder = std::make_unique<XmlDocumentHolder>();
    holder->buffer = std::move(utf8);
    // Text pieces are kept whole here and trimmed when asked for (see
    // XmlElement::text), so that markup kept verbatim keeps its blanks.
    unsigned options = pugi::parse_default;
    pugi::xml_parse_result parsed = holder->document.load_buffer_inplace(
        holder->buffer.data(), holder->buffer.size(), options, pugi::encoding_utf8);
    pugi::xml_node root = holder->document.document_element();
    if (!parsed) return malformed(title, parsed.status, original(), size_t(parsed.offset));
    if (!root) return malformed(title, pugi::status_no_document_element, original(), std::string::npos);
    size_t stray = strayContentOffset(holder->document);
    if (stray != std::string::npos) return malformed(title, pugi::status_bad_pcdata, original(), stray);
    result.status = XmlStatus::ok;
    holder->plainChildren = !(options & (pugi::parse_comments | pugi::parse_pi));
    result.root = std::make_unique<XmlElement>(holder.release(), root.internal_object());
    return result;
}

bool startsWithNoCase(std::string_view text, std::string_view prefix) {
    if (text.size() < prefix.size()) return false;
    for (size_t i = 0; i < prefix.size(); ++i) {
        if (lower(text[i]) != prefix[i]) return false;
    }
    return true;
}

void reportOpenFailure(int error) { std::fprintf(stderr, "%s, last error %d\n", "Couldn't open stream on URL", error); }

}  // namespace

bool declaresEightBitText(std::string_view text) { return isEightBitEncoding(declaredEncoding(text)); }

std::string XmlParseError::message() const {
    char line1[64];
    std::snprintf(line1, sizeof line1, " Error on line %d. Found \"", line);
    return line1 + found + "\" while expecting \"" + expected + "\"\r\n";
}

XmlParseResult parseXmlFileChecked(std::string_view path) {
    XmlParseResult result;
    // Documents are read from the working directory only; an address on the
    // web is not fetched.
    if (startsWithNoCase(path, "http://")) {
        reportOpenFailure(ENOENT);
        return result;
    }
    std::filesystem::path file = platform::diskPath(path);
    std::error_code ec;
    if (std::filesystem::is_directory(file, ec)) {
        reportOpenFailure(EISDIR);
        return result;
    }
    std::ifstream in(file, std::ios::binary);
    if (!in) {
        reportOpenFailure(errno);
        return result;
    }
    in.seekg(0, std::ios::end);
    std::streamoff size = in.tellg();
    in.seekg(0, std::ios::beg);
    std::string text(size_t(size > 0 ? size : 0), '\0');
    if (size < 0 || !in.read(text.data(), size)) {
        reportOpenFailure(errno);
        return result;
    }
    std::string utf8 = toUtf8Buffer(std::move(text));
    // On an error the file is read again to locate it.
    auto original = [&file] {
        std::ifstream again(file, std::ios::binary);
        return toUtf8Buffer(std::string((std::istreambuf_iterator<char>(again)), std::istreambuf_iterator<char>()));
    };
    return parseBuffer(std::move(utf8), file.string() + " :", original);
}

XmlParseResult parseXmlTextChecked(std::string_view text, const char* displayName) {
    return parseBuffer(toUtf8Buffer(std::string(text)), std::string(displayName ? displayName : "<unknown>") + " :",
                       [text] { return toUtf8Buffer(std::string(text)); });
}

std::unique_ptr<XmlElement> parseXmlFile(std::string_view path) {
    XmlParseResult result = parseXmlFileChecked(path);
    if (result.status == XmlStatus::malformed) failOnMalformedXml(result.error);
    return std::move(result.root);
}

std::unique_ptr<XmlElement> parseXmlText(std::string_view text, const char* displayName) {
    XmlParseResult result = parseXmlTextChecked(text, displayName);
    if (result.status == XmlStatus::malformed) failOnMalformedXml(result.error);
    return std::move(result.root);
}

void setFatalBoxHandler(FatalBoxHandler handler) { setBoxHandler(handler); }

void failOnMalformedXml(const XmlParseError& error) {
    showBox(error.title.c_str(), error.message().c_str());
    std::exit(-1);
}

}  // namespace lh::db
