// The stored form of the record tree ("db.xml" and the character and Module
// files that reuse it): plain formatted printing, one node per line, one tab
// per indent level, element and attribute names in lower case.
#pragma once

#include <string>
#include <string_view>

namespace lh::db {

class DbNode;

// The export form of a Module leaves out categories, Module marks, holders
// and category definitions, and nodes that came from a Module. Images are
// written by the exporter, which also packs their files.
class ExportHooks {
public:
    virtual ~ExportHooks() = default;
    virtual void writeImage(std::string& out, const DbNode& node, int indent) = 0;
};

// Appends one node and everything below it at `indent` tabs. A static node
// writes nothing, and neither does anything below it.
void writeNode(std::string& out, const DbNode& node, int indent, ExportHooks* exporter = nullptr);

// "<root>\n", every child of `root` at indent 1, "</root>\n".
std::string databaseText(const DbNode& root);

}  // namespace lh::db
