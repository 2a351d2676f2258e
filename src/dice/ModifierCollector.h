// The "Modifier" box on the Desktop: numbers dragged onto it pile up as
// counters, the wheel and a middle drag set an adjustment besides, and the
// next roll takes the whole total with a text that says where it came from.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "ui/DesktopObject.h"
#include "ui/RulesetSettings.h"

namespace lh::render {
class Bitmap;
class Font;
}  // namespace lh::render

namespace lh::dice {

class ModifierCollector : public ui::DesktopObject {
public:
    struct Entry {
        std::string label;
        int32_t value = 0;
    };
    static constexpr size_t kMaxDescription = 4095;

    explicit ModifierCollector(const ui::ModifierCollectorSettings& settings);

    // Appended while fewer than `limit` entries are held; otherwise nothing.
    void Add(int32_t value, const std::string& label);
    // total + adjust, and the description; nothing is cleared.
    int32_t Get(std::string& description);
    void Clear();
    void Draw(render::RenderContext& context, bool numberDragRunning);

    // The text of the entries: one entry gives its label alone; more give
    // "Strength +3, Prone -2". The adjustment never shows in it.
    std::string Description() const;
    // What the label line shows with no entry under the mouse.
    std::string LabelText() const;
    static std::string TotalText(int32_t total);

    int MouseButton(int message, uint32_t flags, uint32_t position) override;
    int MouseWheel(int notches, uint32_t position) override;
    int MouseDrag(int message, uint32_t flags, uint32_t startPosition, uint32_t position) override;
    int MouseDrop(int message, uint32_t flags, uint32_t position, ui::DesktopObject* source) override;
    int GetDragData(ui::DragPayload& payload) override;
    void MenuSelected(int id) override;
    std::unique_ptr<ui::MenuModel> BuildMenu() override;
    void HoverChanged(bool entered) override;
    void HoverMove(uint32_t position) override;

    const std::vector<Entry>& entries() const { return list; }
    int32_t total = 0;
    int32_t adjust = 0;
    static constexpr int kClearMenuId = 1;

private:
    void redraw();
    void resolve();

    ui::ModifierCollectorSettings settings;
    std::vector<Entry> list;
    int32_t adjustAtPress = 0;
    bool adjusting = false;
    int hoveredEntry = -1;
    render::Bitmap* baseIcon = nullptr;
    render::Bitmap* focusIcon = nullptr;
    render::Bitmap* counterIcon = nullptr;
    render::Font* modFont = nullptr;
    render::Font* labelFont = nullptr;
};

}  // namespace lh::dice
