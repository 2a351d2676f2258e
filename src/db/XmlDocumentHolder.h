// The parsed document that every XmlElement of it shares. Internal to the db
// library: nothing outside sees the parser.
#pragma once

#include <pugixml.hpp>

#include <cstdint>
#include <string>

#include "db/XmlElement.h"

namespace lh::db {

// Elements count their shares of it in a plain number: walking a large
// document makes and drops an element for each child, and the elements of
// one document are used on one thread at a time.
struct XmlDocumentHolder : XmlDocumentShares {  // the XmlElements that keep it alive
    std::string buffer;  // the UTF-8 text, parsed in place
    pugi::xml_document document;
};

}  // namespace lh::db
