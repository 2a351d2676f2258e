// A text on a record. An empty text is kept as none at all ("null"), and a
// stored or received text has its "#%02x" escapes undone on every set.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "db/NodePool.h"
#include "db/NodeValue.h"

namespace lh::db {

class StringValue : public NodeValue, public Pooled<StringValue> {
public:
    NodeKind kind() const override { return NodeKind::stringValue; }

    // Empty or absent text leaves the value null; otherwise the text is
    // stored with its escapes undone.
    void set(std::optional<std::string_view> text);
    void set(const char* text) { set(text ? std::optional<std::string_view>(text) : std::nullopt); }
    void set(const std::string& text) { set(std::optional<std::string_view>(text)); }
    bool isNull() const { return value.empty(); }
    // The text, empty for null.
    const std::string& text() const { return value; }
    // Sends the node on; unless quiet, tells the node's parent. 0, or -1
    // without a node.
    int publish(bool quiet);

private:
    std::string value;
};

}  // namespace lh::db
