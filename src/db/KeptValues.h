// Stand-in values for formatted text and images: they keep what the stored
// form holds, so a database round-trips unchanged before the subsystems that
// understand these kinds register their own classes.
#pragma once

#include <string>

#include "db/FixedText.h"
#include "db/NodeValue.h"

namespace lh::db {

class KeptFormattedText : public NodeValue {
public:
    NodeKind kind() const override { return NodeKind::formattedText; }
    void readStored(XmlElement& element) override;
    void writeStored(std::string& out, int indent) const override;

    std::string markup;  // one child element per line, no indentation
};

class KeptImage : public ImageValueBase {
public:
    void readStored(XmlElement& element) override;
    void writeStored(std::string& out, int indent) const override;
    std::string_view imagePath() const override { return image.view(); }
    void setImagePath(std::string_view path) override;
    ImageWireState wireState() const override;
    void setWireState(const ImageWireState& state) override;

    FixedText<260> image, mask, drawing;
    // Grid and view as they last arrived; they are not stored.
    int32_t gridSize = 0, gridOffsetX = 0, gridOffsetY = 0, viewX = 0, viewY = 0;
};

}  // namespace lh::db
