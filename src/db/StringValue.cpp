// StringValue: a text with its escapes undone.
#include "db/StringValue.h"

#include <algorithm>
#include <cstdint>

#include "db/DbContext.h"
#include "db/DbNode.h"
#include "db/TextEscape.h"

namespace lh::db {

StringValue::~StringValue() { giveBack(); }

void StringValue::giveBack() {
    if (!bytes) return;
    if (home) {
        home->give(bytes, capacity);
    } else {
        delete[] bytes;
    }
    bytes = nullptr;
    size = capacity = 0;
    home = nullptr;
}

// The text comes in two registers: a load of a large database sets a text
// for every third node, and an optional built on the stack and read back at
// once stalled each of those calls.
void StringValue::set(std::string_view text) {
    size = 0;
    if (text.empty()) return;
    // The record formats carry lengths in 32 bits.
    size_t length = std::min<size_t>(text.size(), UINT32_MAX);
    NodeArena* where = node ? node->arena : nullptr;
    if (length > capacity || where != home) {
        giveBack();
        bytes = where ? static_cast<char*>(where->take(length)) : new char[length];
        capacity = uint32_t(length);
        home = where;
    }
    // Undoing escapes only ever shortens the text.
    size = uint32_t(unescapeText(text.data(), length, bytes));
}

int StringValue::publish(bool quiet) {
    if (!node) return -1;
    if (ReplicationSink* sink = dbContext().sink) sink->publishNode(*node);
    if (!quiet && node->parent) node->parent->notify(ChangeKind::value);
    return 0;
}

}  // namespace lh::db
