// The value objects that hang on the leaves of the record tree, and the
// registry through which other subsystems supply the value classes of the
// kinds they own (formatted text, images).
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

namespace lh::db {

class DbNode;
class XmlElement;

// Stored as an unsigned 32-bit number, carried on the wire as one byte.
enum class NodeKind : uint32_t {
    node = 0,           // a group: only children
    intValue = 1,       // IntValue
    stringValue = 2,    // StringValue
    unassigned = 3,     // nothing creates this kind
    formattedText = 4,  // formatted text
    image = 5,          // an image with its mask and drawing
};

class NodeValue {
public:
    virtual ~NodeValue() = default;
    virtual NodeKind kind() const = 0;

    // Kinds with a stored form of their own (4 and 5) read and write it here.
    // readStored replaces what the value held with the element's content.
    // writeStored appends, for kind 4, the content lines at `indent` tabs;
    // for kind 5, the attributes that stand between the name and "/>".
    virtual void readStored(XmlElement& element);
    virtual void writeStored(std::string& out, int indent) const;

    DbNode* node = nullptr;  // the node that holds this value
    // The size of the value's block in the memory of its node's tree, or 0
    // for a value made on the heap (see DbNode::attachValue).
    uint32_t arenaBytes = 0;
};

// Deletes a value as it was made: one in its tree's memory goes back there.
struct ValueDeleter {
    void operator()(NodeValue* value) const;
};
using ValuePtr = std::unique_ptr<NodeValue, ValueDeleter>;

// What travels between machines of an image value: the names of its files
// and the numbers of its grid and view. The picture bytes go by the file
// service.
struct ImageWireState {
    std::string imagePath;
    std::string maskPath;
    int32_t gridSize = 0, gridOffsetX = 0, gridOffsetY = 0;
    int32_t viewX = 0, viewY = 0;
};

// What the record store needs of an image value, whoever implements it.
class ImageValueBase : public NodeValue {
public:
    NodeKind kind() const override { return NodeKind::image; }
    virtual std::string_view imagePath() const = 0;
    // A new value for a picture file: the path, no mask, no drawing.
    virtual void setImagePath(std::string_view path) = 0;
    // Replication reads and replaces the travelling part here. By default
    // only the picture's path travels.
    virtual ImageWireState wireState() const { return {std::string(imagePath()), {}}; }
    virtual void setWireState(const ImageWireState& state) { setImagePath(state.imagePath); }
};

// Makes the value object of a kind. Kinds 1 and 2 are built in; kinds 4 and 5
// fall back to values that keep their stored form without reading it, until
// their owners register the real classes.
using ValueMaker = std::unique_ptr<NodeValue> (*)();
void setValueMaker(NodeKind kind, ValueMaker maker);
// Null for kinds 0, 3 and unknown numbers.
std::unique_ptr<NodeValue> makeValue(NodeKind kind);

}  // namespace lh::db
