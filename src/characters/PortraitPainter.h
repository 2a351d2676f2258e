// Portraits where characters are listed, wherever that is: the strip along
// the Desktop and the rows of the choice of character. Each file is shaped
// once, at the mask's size; a character without a picture yet shows a
// slate disc in the portrait's outline with the first letter of its name,
// so that an empty place still tells who stands there.
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <string>

namespace lh::render {
class Bitmap;
class Font;
class RenderContext;
struct Rect;
}  // namespace lh::render

namespace lh::ui {
struct CharacterListSettings;
}

namespace lh::characters {

class PortraitPainter {
public:
    // The disc's colour, 0xAARRGGBB.
    static constexpr uint32_t kBlankColour = 0xFF2C3140u;

    explicit PortraitPainter(const ui::CharacterListSettings& settings);
    ~PortraitPainter();
    PortraitPainter(const PortraitPainter&) = delete;
    PortraitPainter& operator=(const PortraitPainter&) = delete;

    // The portrait of the file (a program path) centred on (x, y), or the
    // blank disc of `name` when the file gives no picture.
    void draw(render::RenderContext& context, const std::string& name, const std::string& path, int32_t x, int32_t y,
              const render::Rect* clip);
    // The blank disc of `name` alone, centred on (x, y).
    void drawBlank(render::RenderContext& context, const std::string& name, int32_t x, int32_t y,
                   const render::Rect* clip);
    // The file changed (a new portrait arrived or was picked): it is read
    // again at its next drawing.
    void forget(const std::string& path);

private:
    // The size of a shaped portrait: the mask's, or the base picture's.
    void shapeSize(uint32_t& width, uint32_t& height) const;

    const ui::CharacterListSettings& settings;
    std::map<std::string, std::unique_ptr<render::Bitmap>> shaped;  // null: no picture there
    std::unique_ptr<render::Bitmap> blank;
    render::Font* initialFont = nullptr;
};

}  // namespace lh::characters
