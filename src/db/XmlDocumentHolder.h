// The parsed document that every XmlElement of it shares. Internal to the db
// library: nothing outside sees the parser.
#pragma once

#include <pugixml.hpp>

#include <string>

namespace lh::db {

struct XmlDocumentHolder {
    std::string buffer;  // the UTF-8 text, parsed in place
    pugi::xml_document document;
};

}  // namespace lh::db
