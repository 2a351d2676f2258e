// Feeds arbitrary bytes to the database load as a db.xml: the XML reading
// with its encodings and error report, then the record tree built from it.
// What was loaded is saved again, and the saved text must read back: a
// save that cannot be loaded would lose the Campaign. Nothing may read out
// of bounds, overflow the stack, assert or leak.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstdio>
#include <string>
#include <string_view>

#include "db/DatabaseLoader.h"
#include "db/DatabaseWriter.h"
#include "db/DbNode.h"
#include "db/XmlParse.h"

using namespace lh::db;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    std::string_view text(reinterpret_cast<const char*>(data), size);
    XmlParseResult parsed = parseXmlTextChecked(text, "db.xml");
    if (parsed.status != XmlStatus::ok) {
        (void)parsed.error.message();
        return 0;
    }
    loadNodes(parsed.root.get(), rootNode(), false);
    std::string saved = databaseText(rootNode());
    // A second read merges into what the first made.
    loadNodes(parsed.root.get(), rootNode(), true);
    clearTree();

    XmlParseResult again = parseXmlTextChecked(saved, "db.xml");
    if (again.status != XmlStatus::ok) {
        std::fprintf(stderr, "saved database does not read back:%s\n%s\n", again.error.message().c_str(),
                     saved.c_str());
        std::abort();
    }
    loadNodes(again.root.get(), rootNode(), false);
    clearTree();
    return 0;
}
