// Value objects: defaults and the registry of value classes by kind.
#include "db/NodeValue.h"

#include "db/IntValue.h"
#include "db/KeptValues.h"
#include "db/StringValue.h"

namespace lh::db {

namespace {

std::unique_ptr<NodeValue> makeKeptFormattedText() { return std::make_unique<KeptFormattedText>(); }
std::unique_ptr<NodeValue> makeKeptImage() { return std::make_unique<KeptImage>(); }

ValueMaker formattedTextMaker = makeKeptFormattedText;
ValueMaker imageMaker = makeKeptImage;

}  // namespace

void NodeValue::readStored(XmlElement&) {}
void NodeValue::writeStored(std::string&, int) const {}

void setValueMaker(NodeKind kind, ValueMaker maker) {
    if (kind == NodeKind::formattedText) formattedTextMaker = maker ? maker : makeKeptFormattedText;
    if (kind == NodeKind::image) imageMaker = maker ? maker : makeKeptImage;
}

std::unique_ptr<NodeValue> makeValue(NodeKind kind) {
    switch (kind) {
    case NodeKind::intValue: return std::make_unique<IntValue>();
    case NodeKind::stringValue: return std::make_unique<StringValue>();
    case NodeKind::formattedText: return formattedTextMaker();
    case NodeKind::image: return imageMaker();
    default: return nullptr;
    }
}

}  // namespace lh::db
