// Reading the stored form of the record tree into a parent node. Reading
// into a tree that has nodes already merges the two: existing nodes keep
// their kind, and holders are only ever added.
#pragma once

#include <set>
#include <string>
#include <string_view>

#include "db/XmlParse.h"

namespace lh::db {

class DbNode;
class ImageValueBase;
class XmlElement;

// What a Module load changes in the reading (record ids are renumbered into
// the Campaign, images are taken out of the package).
class ModuleLoadHooks {
public:
    virtual ~ModuleLoadHooks() = default;
    // The Module's display name, which every node it creates is marked with.
    virtual std::string_view moduleName() const = 0;
    // The Campaign's id for a record id of the Module under `group`.
    virtual std::string translateRecordId(std::string_view group, std::string_view id) = 0;
    // Reads an image element of the Module into the value.
    virtual void readImage(XmlElement& element, ImageValueBase& value) = 0;
};

// Reads the children of `element` into `parent`. 1 for a null element (an
// absent file), else 0.
int loadNodes(XmlElement* element, DbNode& parent, bool isStatic, ModuleLoadHooks* module = nullptr);

// Reads a stored database file into `root` as parsing it and loadNodes
// would, and answers as parseXmlFileChecked does (without the document:
// the answer's root is always null). A file in the plain form that saves
// write is read in one pass over its bytes, straight into nodes; any other
// file, and every error, goes the long way, so the tree and the errors are
// the same either way.
XmlParseResult loadDatabase(std::string_view programPath, DbNode& root, bool isStatic);

// The names of the Modules whose nodes are in the tree.
std::set<std::string>& loadedModules();

}  // namespace lh::db
