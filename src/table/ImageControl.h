// IMAGE: a map in a window. It shows an ImageValue at its own size (no
// zoom), scrolled by the view that the Gamemaster sets for all and by the
// middle-button pan of the moment; the Gamemaster measures the grid by a
// drag, outlines what the mask reveals, and anybody draws.
//
// Coordinates, for what stands on a map (tokens, pointers):
//   PictureOrigin()        the picture's top left on the Desktop
//   DesktopToPicture()     a Desktop point to picture pixels (held to the control)
//   PictureToDesktop()     and back
//   GridCellAt()/GridCellRect()   the grid squares, in picture pixels
// GetOrigin stays the control's own top left, as for every control, so
// that the window places and clips it like the others.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "table/ImageValue.h"
#include "table/MapGeometry.h"
#include "ui/Control.h"

namespace lh::render {
class Bitmap;
}

namespace lh::ui {
class MenuModel;
}

namespace lh::table {

// The ids of the map's menu entries.
enum ImageMenuId : int {
    kMenuPreloadImage = 10,
    kMenuDrawingMode = 11,
    kMenuEraseDrawing = 12,
    kMenuEnableMask = 13,
    kMenuDeleteMask = 14,
    kMenuGrid = 15,
    kMenuGoToPlayerView = 16,
    kMenuMaskMode = 17,
};

class ImageControl final : public ui::Control, public ImageViewer {
public:
    static constexpr size_t kMaxStrokePoints = 4000;

    explicit ImageControl(ui::Window& window);
    ~ImageControl() override;

    void Parse(db::XmlElement& element, db::DbNode* record) override;
    void Draw(render::RenderContext& context, const render::Rect& clip) override;
    void Measure(ui::Size& size, int32_t width) override;
    void Arrange(bool force) override;
    void ShareData() override;
    void GetScrollInfo(int32_t info[6]) override;
    void ScrollBy(int32_t dx, int32_t dy) override;
    void ScrollEnded() override;

    int MouseButton(int message, uint32_t flags, uint32_t position) override;
    int MouseDrag(int message, uint32_t flags, uint32_t startPosition, uint32_t position) override;
    std::unique_ptr<ui::MenuModel> BuildMenu() override;
    void MenuSelected(int id) override;
    // The pen while drawing, the grid's measure while it is being set, the
    // outline on a host in mask mode with a mask; the arrow otherwise.
    int CursorAt(uint32_t position) override;

    void LayersChanged() override { Invalidate(); }

    // The value shown, or null (a field deleted meanwhile).
    ImageValue* value();
    MapScroll scroll();
    void PictureOrigin(int32_t& x, int32_t& y);
    void DesktopToPicture(int32_t dx, int32_t dy, int32_t& px, int32_t& py);
    void PictureToDesktop(int32_t px, int32_t py, int32_t& dx, int32_t& dy);
    GridCell GridCellAt(int32_t px, int32_t py);
    render::Rect GridCellRect(GridCell cell);

    // The menu's entries for this machine, on top of the window's `menu`.
    void FillMenu(ui::MenuModel& menu);

    // What the user is doing, for menus, cursors and tests.
    bool maskMode = false, drawingMode = false, settingGrid = false;
    bool panning = false;
    int32_t panX = 0, panY = 0;
    render::Rect viewRect;  // the picture part the players were shown
    render::Rect gridRect;  // picture coordinates, while measuring

private:
    bool sharedWindow() const;
    void openValue();
    void closeValue();
    void renderStroke();
    void endStroke();
    void holdPan();

    std::string loadingIconName, availabilityIconName;
    render::Bitmap* loadingIcon = nullptr;
    render::Bitmap* availabilityIcon = nullptr;
    bool iconsLooked = false;
    ImageValue* opened = nullptr;  // the value this control holds open

    enum class Gesture { None, Stroke, Outline, Grid, Pan } gesture = Gesture::None;
    std::vector<StrokePoint> strokePoints;
    size_t strokeRendered = 0;  // points whose segment into them is inked
    std::vector<uint32_t> outlinePoints;
    int32_t panStartX = 0, panStartY = 0;
    int32_t gridStartX = 0, gridStartY = 0;
};

// Registers the IMAGE tag with the control factory.
void registerImageControl();

}  // namespace lh::table
