// StringValue: a text with its escapes undone.
#include "db/StringValue.h"

#include "db/DbContext.h"
#include "db/DbNode.h"
#include "db/TextEscape.h"

namespace lh::db {

void StringValue::set(std::optional<std::string_view> text) {
    value.clear();
    if (!text || text->empty()) return;
    value.assign(*text);
    unescapeText(value);
}

int StringValue::publish(bool quiet) {
    if (!node) return -1;
    if (ReplicationSink* sink = dbContext().sink) sink->publishNode(*node);
    if (!quiet && node->parent) node->parent->notify(ChangeKind::value);
    return 0;
}

}  // namespace lh::db
