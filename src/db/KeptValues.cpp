// Stand-in values that keep the stored form of formatted text and images.
#include "db/KeptValues.h"

#include "db/StoredText.h"
#include "db/XmlElement.h"

namespace lh::db {

void KeptFormattedText::readStored(XmlElement& element) { markup = element.innerMarkup(); }

void KeptFormattedText::writeStored(std::string& out, int indent) const {
    size_t start = 0;
    while (start < markup.size()) {
        size_t end = markup.find('\n', start);
        if (end == std::string::npos) end = markup.size();
        if (end > start) {
            out.append(size_t(indent), '\t');
            out.append(markup, start, end - start);
            out.push_back('\n');
        }
        start = end + 1;
    }
}

void KeptImage::readStored(XmlElement& element) {
    std::string text;
    image.set(element.attribute("IMAGE", text) == 0 ? text : "");
    text.clear();
    mask.set(element.attribute("MASK", text) == 0 ? text : "");
    text.clear();
    drawing.set(element.attribute("DRAWING", text) == 0 ? text : "");
}

void KeptImage::writeStored(std::string& out, int) const {
    if (!image.empty()) appendAttribute(out, "image", image.view());
    if (!mask.empty()) appendAttribute(out, "mask", mask.view());
    if (!drawing.empty()) appendAttribute(out, "drawing", drawing.view());
}

void KeptImage::setImagePath(std::string_view path) {
    image.set(path);
    mask.clear();
    drawing.clear();
}

ImageWireState KeptImage::wireState() const {
    return {std::string(image.view()), std::string(mask.view()), gridSize, gridOffsetX, gridOffsetY, viewX, viewY};
}

void KeptImage::setWireState(const ImageWireState& state) {
    image.set(state.imagePath);
    mask.set(state.maskPath);
    gridSize = state.gridSize;
    gridOffsetX = state.gridOffsetX;
    gridOffsetY = state.gridOffsetY;
    viewX = state.viewX;
    viewY = state.viewY;
}

}  // namespace lh::db
