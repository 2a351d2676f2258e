// A text on a record. An empty text is kept as none at all ("null"), and a
// stored or received text has its "#%02x" escapes undone on every set.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "db/NodePool.h"
#include "db/NodeValue.h"

namespace lh::db {

class NodeArena;

class StringValue : public NodeValue, public Pooled<StringValue> {
public:
    StringValue() = default;
    ~StringValue() override;
    StringValue(const StringValue&) = delete;
    StringValue& operator=(const StringValue&) = delete;
    NodeKind kind() const override { return NodeKind::stringValue; }

    // Empty or absent text leaves the value null; otherwise the text is
    // stored with its escapes undone.
    void set(std::string_view text);
    void set(std::optional<std::string_view> text) {
        if (text) {
            set(*text);
        } else {
            size = 0;
        }
    }
    void set(const char* text) { set(text ? std::string_view(text) : std::string_view()); }
    void set(const std::string& text) { set(std::string_view(text)); }
    bool isNull() const { return size == 0; }
    // The text, empty for null. It stays valid until the next set.
    std::string_view text() const { return {bytes, size}; }
    // Sends the node on; unless quiet, tells the node's parent. 0, or -1
    // without a node.
    int publish(bool quiet);

private:
    // The bytes are taken from the memory of the node's tree once the value
    // has a node, so that a tree that goes whole takes its texts with it;
    // before that, from the heap.
    char* bytes = nullptr;
    uint32_t size = 0;
    uint32_t capacity = 0;
    NodeArena* home = nullptr;  // where the bytes came from; null: the heap

    void giveBack();
};

}  // namespace lh::db
