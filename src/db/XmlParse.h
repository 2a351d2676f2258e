// The two entry points that turn a file or a text into XmlElements.
//
// The checked forms are the core: they answer an error with line, found and
// expected text, and never end the process, so the network side can drop a
// malformed message. The plain forms are for local documents: a document that
// is not well formed shows a box and ends the program with exit code -1.
#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "db/XmlElement.h"

namespace lh::db {

enum class XmlStatus {
    ok,
    missing,    // the file does not exist or cannot be read
    malformed,  // the document is not well formed
};

struct XmlParseError {
    std::string title;  // "%s :" with the path or display name
    int line = 0;       // from 1
    std::string found;
    std::string expected;

    // " Error on line %d. Found \"%s\" while expecting \"%s\"\r\n"
    std::string message() const;
};

struct XmlParseResult {
    XmlStatus status = XmlStatus::missing;
    std::unique_ptr<XmlElement> root;  // set when status is ok
    XmlParseError error;               // set when status is malformed
};

// `path` is a program path ("rulesets\\x\\base.xml"), mapped to disk through
// the working directory. A missing file prints "Couldn't open stream on URL,
// last error %d" to stderr, as the plain form does.
[[nodiscard]] XmlParseResult parseXmlFileChecked(std::string_view path);
// `displayName` may be null; it prints as "<unknown>".
[[nodiscard]] XmlParseResult parseXmlTextChecked(std::string_view text, const char* displayName);

// Whether the document's XML declaration names an 8-bit encoding, whose
// text is then read as Windows-1252 (its superset) rather than as UTF-8.
bool declaresEightBitText(std::string_view text);

// Null for a missing file; a malformed document ends the process.
std::unique_ptr<XmlElement> parseXmlFile(std::string_view path);
std::unique_ptr<XmlElement> parseXmlText(std::string_view text, const char* displayName);

// Where the box for a malformed local document goes: the same hook as every
// box of the data layer (db/Box.h). The process exits with -1 after the
// handler returns.
using FatalBoxHandler = void (*)(const char* title, const char* text);
void setFatalBoxHandler(FatalBoxHandler handler);

// Shows the box of a parse error and ends the process with -1.
[[noreturn]] void failOnMalformedXml(const XmlParseError& error);

}  // namespace lh::db
