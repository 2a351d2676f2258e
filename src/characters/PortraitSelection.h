// PORTRAITSELECTION: the pictures of the "portraits" folder in rows, each
// shaped like a portrait; a double click on one makes it the portrait of
// the character the user plays, and the window closes.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <string>

#include "ui/Control.h"

namespace lh::render {
class Bitmap;
}

namespace lh::characters {

class PortraitSelection final : public ui::Control {
public:
    // What a double click does with the chosen file: set by the plugin.
    static std::function<void(const std::string& path)>& chooser();
    // Clicks this close together on one picture make a double click.
    static constexpr uint64_t kDoubleClickMs = 500;

    explicit PortraitSelection(ui::Window& window);
    ~PortraitSelection() override;

    void Parse(db::XmlElement& element, db::DbNode* record) override;
    void Draw(render::RenderContext& context, const render::Rect& clip) override;
    int MouseButton(int message, uint32_t flags, uint32_t position) override;
    int MouseWheel(int notches, uint32_t position) override;

    // The picture under a point relative to the control; -1 for none.
    int pictureAt(int32_t x, int32_t y) const;
    // Reads the folder again: pictures not yet known are shaped and added.
    void fill();
    const std::map<std::string, std::unique_ptr<render::Bitmap>>& items() const { return pictures; }

    int32_t spacing = 5;
    int selectedIndex = -1;
    int32_t scrollOffset = 0;
    int32_t contentHeight = 0;
    uint64_t lastClickTime = 0;
    std::string selectionFrameName;

private:
    template <class Visit>
    void walk(Visit&& visit) const;
    void cellSize(uint32_t& width, uint32_t& height) const;

    std::map<std::string, std::unique_ptr<render::Bitmap>> pictures;  // by path
};

// Enters the control's tag into the control factory.
void registerPortraitSelection();

}  // namespace lh::characters
