// The IMAGE control; see ImageControl.h.
#include "table/ImageControl.h"

#include <algorithm>

#include "db/SessionMode.h"
#include "render/RenderContext.h"
#include "table/MapNetwork.h"
#include "table/TabletInput.h"
#include "ui/InputState.h"
#include "ui/ControlFactory.h"
#include "ui/Lights.h"
#include "ui/MenuModel.h"
#include "ui/RulesetData.h"
#include "ui/RulesetXml.h"
#include "ui/Window.h"

namespace lh::table {

namespace mouse = ui::mouse;

namespace {
constexpr uint32_t kOutlineColor = 0x000000FF;        // red, as lines take colours
constexpr uint32_t kOutlineClosingColor = 0x4FFFFFFF;
constexpr uint32_t kGridMeasureColor = 0x0000FF00;
constexpr uint32_t kPlayerViewColor = 0x4F000000;
}  // namespace

ImageControl::ImageControl(ui::Window& w) : Control(w) {}

ImageControl::~ImageControl() { closeValue(); }

void ImageControl::Parse(db::XmlElement& element, db::DbNode* record) {
    ui::readText(element, "NAME", name);
    ui::forEachChild(element, [&](std::unique_ptr<db::XmlElement> child, const std::string& tag) {
        if (ParseCommonChild(*child)) return;
        if (tag == "INDICATORS") {
            ui::readText(*child, "AVAILABILITY", availabilityIconName);
            ui::readText(*child, "LOADING", loadingIconName);
        }
    });
    Bind(name.empty() ? nullptr : record, db::NodeKind::image);
    openValue();
}

ImageValue* ImageControl::value() { return dynamic_cast<ImageValue*>(BoundValue<db::NodeValue>()); }

void ImageControl::openValue() {
    ImageValue* v = value();
    if (!v || v == opened) return;
    closeValue();
    opened = v;
    v->Open(this);
}

void ImageControl::closeValue() {
    // The field may have gone with its record: close only a value that is
    // still the one bound.
    if (opened && value() == opened) opened->Close(this);
    opened = nullptr;
}

bool ImageControl::sharedWindow() const { return window->outermost().shared; }

// Section: geometry.

MapScroll ImageControl::scroll() {
    ImageValue* v = value();
    return {v ? v->viewX : 0, v ? v->viewY : 0, panX, panY};
}

void ImageControl::PictureOrigin(int32_t& x, int32_t& y) {
    Control::GetOrigin(x, y);
    MapScroll s = scroll();
    x += s.left();
    y += s.top();
}

void ImageControl::DesktopToPicture(int32_t dx, int32_t dy, int32_t& px, int32_t& py) {
    int32_t ox, oy;
    Control::GetOrigin(ox, oy);
    controlToPicture(scroll(), rect.width(), rect.height(), dx - ox, dy - oy, px, py);
}

void ImageControl::PictureToDesktop(int32_t px, int32_t py, int32_t& dx, int32_t& dy) {
    int32_t ox, oy;
    Control::GetOrigin(ox, oy);
    pictureToControl(scroll(), px, py, dx, dy);
    dx += ox;
    dy += oy;
}

GridCell ImageControl::GridCellAt(int32_t px, int32_t py) {
    ImageValue* v = value();
    return v ? cellOf(v->grid.size, v->grid.offsetX, v->grid.offsetY, px, py) : GridCell{};
}

render::Rect ImageControl::GridCellRect(GridCell cell) {
    ImageValue* v = value();
    return v ? cellRect(v->grid.size, v->grid.offsetX, v->grid.offsetY, cell) : render::Rect{};
}

void ImageControl::Measure(ui::Size& size, int32_t) {
    ImageValue* v = value();
    size.width = v && v->hasBase() ? v->width : 0;
    size.height = v && v->hasBase() ? v->height : 0;
}

void ImageControl::Arrange(bool) {
    ImageValue* v = value();
    if (!v) return;
    if (v->hasBase()) {
        // A control that grew shows no empty edge where the picture reaches.
        v->viewX = limitView(v->viewX, rect.width(), v->width);
        v->viewY = limitView(v->viewY, rect.height(), v->height);
    } else if (v->hasDrawing()) {
        v->ResizeDrawing(rect.width(), rect.height());
    } else {
        v->SetDefaultSize(rect.width(), rect.height());
    }
}

void ImageControl::ShareData() {
    ImageValue* v = value();
    if (!v) return;
    viewRect = {-v->viewX, -v->viewY, -v->viewX + rect.width(), -v->viewY + rect.height()};
}

void ImageControl::GetScrollInfo(int32_t info[6]) {
    ImageValue* v = value();
    MapScroll s = scroll();
    info[0] = v ? v->width : 0;
    info[1] = s.left();
    info[2] = rect.width();
    info[3] = v ? v->height : 0;
    info[4] = s.top();
    info[5] = rect.height();
}

void ImageControl::holdPan() {
    ImageValue* v = value();
    if (!v) return;
    panX = limitPan(v->viewX, panX, rect.width(), v->width);
    panY = limitPan(v->viewY, panY, rect.height(), v->height);
}

void ImageControl::ScrollBy(int32_t dx, int32_t dy) {
    panX = dx;
    panY = dy;
    holdPan();
    Invalidate();
}

void ImageControl::ScrollEnded() {
    ImageValue* v = value();
    // Only the Gamemaster moves the view; a player's pan snaps back.
    if (v && db::isHost() && (panX || panY)) {
        v->viewX += panX;
        v->viewY += panY;
        v->Publish();
    }
    panX = panY = 0;
    panning = false;
    Invalidate();
}

// Section: drawing.

void ImageControl::renderStroke() {
    ImageValue* v = value();
    if (!v) return;
    for (; strokeRendered < strokePoints.size(); ++strokeRendered) {
        if (strokeRendered == 0) continue;
        const StrokePoint &a = strokePoints[strokeRendered - 1], &b = strokePoints[strokeRendered];
        v->DrawSegment(pointX(a.point), pointY(a.point), pointX(b.point), pointY(b.point), a.pressure);
    }
}

void ImageControl::Draw(render::RenderContext& context, const render::Rect& clip) {
    DrawControlFrame(context, clip);
    openValue();
    ImageValue* v = value();
    if (!v) return;
    if (!iconsLooked) {
        iconsLooked = true;
        loadingIcon = loadingIconName.empty() ? nullptr : ui::findIcon(loadingIconName);
        availabilityIcon = availabilityIconName.empty() ? nullptr : ui::findIcon(availabilityIconName);
    }
    int32_t ox, oy;
    Control::GetOrigin(ox, oy);
    const render::Rect area = render::intersect({ox, oy, ox + rect.width(), oy + rect.height()}, clip);
    if (area.isEmpty()) return;
    const render::Rect savedClip = context.ClipRect();
    context.SetClipRect(render::intersect(savedClip, area));

    if (v->loading && loadingIcon) {
        context.DrawBitmap(*loadingIcon, ox + (rect.width() - int32_t(loadingIcon->GetWidth())) / 2,
                           oy + (rect.height() - int32_t(loadingIcon->GetHeight())) / 2, ui::lights().icon, &area);
    }
    // New ink first: the layers are written out as they are drawn.
    if (gesture == Gesture::Stroke) renderStroke();
    int32_t px, py;
    PictureOrigin(px, py);
    v->DrawLayers(context, px, py, ui::lights().image, area);

    if (gesture == Gesture::Outline && !outlinePoints.empty()) {
        for (size_t i = 1; i < outlinePoints.size(); ++i)
            context.DrawLine(float(px + pointX(outlinePoints[i - 1])), float(py + pointY(outlinePoints[i - 1])),
                             float(px + pointX(outlinePoints[i])), float(py + pointY(outlinePoints[i])), kOutlineColor,
                             1.0f);
        context.DrawLine(float(px + pointX(outlinePoints.back())), float(py + pointY(outlinePoints.back())),
                         float(px + pointX(outlinePoints.front())), float(py + pointY(outlinePoints.front())),
                         kOutlineClosingColor, 1.0f);
    }
    if (settingGrid && !gridRect.isEmpty()) {
        context.DrawRect(px + gridRect.left, py + gridRect.top, px + gridRect.right, py + gridRect.bottom,
                         kGridMeasureColor, false);
    }
    if (db::isHost() && sharedWindow() && !viewRect.isEmpty()) {
        // Where the players' view is, moved with the picture: lines along
        // its outermost pixel rows and columns, so that a view filling the
        // control keeps all four sides inside it.
        float l = float(px + viewRect.left), t = float(py + viewRect.top);
        float r = float(px + viewRect.right - 1), b = float(py + viewRect.bottom - 1);
        context.DrawLine(l, t, r, t, kPlayerViewColor, 3.0f);
        context.DrawLine(r, t, r, b, kPlayerViewColor, 3.0f);
        context.DrawLine(r, b, l, b, kPlayerViewColor, 3.0f);
        context.DrawLine(l, b, l, t, kPlayerViewColor, 3.0f);
    }
    if (db::isHost()) v->UpdateEverybodyHasIt();
    if (v->everybodyHasIt && availabilityIcon && !v->imagePath().empty()) {
        context.DrawBitmap(*availabilityIcon, ox + rect.width() - int32_t(availabilityIcon->GetWidth()),
                           oy + rect.height() - int32_t(availabilityIcon->GetHeight()), ui::lights().icon, &area);
    }
    context.SetClipRect(savedClip);
}

// Section: the mouse.

int ImageControl::MouseButton(int message, uint32_t flags, uint32_t position) {
    if (message == mouse::kMiddleUp && panning) {
        ScrollEnded();
        return ui::kTakeNoCapture;
    }
    if (mouse::isPress(message) && (drawingMode || settingGrid || (maskMode && db::isHost()) ||
                                    message == mouse::kMiddleDown))
        return ui::kTakeCapture;
    (void)flags;
    (void)position;
    return ui::kPass;
}

int ImageControl::CursorAt(uint32_t) {
    if (drawingMode) return ui::cursor::kDrawing;
    if (settingGrid) return ui::cursor::kGrid;
    ImageValue* v = value();
    if (maskMode && db::isHost() && v && v->hasMask()) return ui::cursor::kMask;
    return ui::cursor::kDefault;
}

void ImageControl::endStroke() {
    ImageValue* v = value();
    if (!v) return;
    renderStroke();
    v->SendStroke(strokePoints, !sharedWindow());
    v->TellViewers();
    strokePoints.clear();
    strokeRendered = 0;
}

int ImageControl::MouseDrag(int message, uint32_t flags, uint32_t startPosition, uint32_t position) {
    ImageValue* v = value();
    if (!v) return 0;
    int32_t px, py;
    DesktopToPicture(mouse::xOf(position), mouse::yOf(position), px, py);
    const bool release = mouse::isRelease(message);

    if (gesture == Gesture::None && !release) {
        // A drag starts: what it does depends on the mode and the button.
        int32_t sx, sy;
        DesktopToPicture(mouse::xOf(startPosition), mouse::yOf(startPosition), sx, sy);
        if (flags & mouse::kMiddle) {
            if (!v->hasBase()) return 0;
            gesture = Gesture::Pan;
            panning = true;
            panStartX = mouse::xOf(startPosition);
            panStartY = mouse::yOf(startPosition);
        } else if (!(flags & mouse::kLeft)) {
            return 0;
        } else if (settingGrid) {
            gesture = Gesture::Grid;
            gridStartX = sx;
            gridStartY = sy;
        } else if (drawingMode) {
            // Drawing mode is the pen in the hand, also while the mask
            // stays in mask mode: the drag inks, as the menu promised.
            gesture = Gesture::Stroke;
            strokePoints.assign(1, StrokePoint{packPoint(sx, sy), TabletInput::get().strokePressure()});
            strokeRendered = 0;
        } else if (maskMode && db::isHost() && v->hasMask() && !(flags & (mouse::kRight | mouse::kControl))) {
            gesture = Gesture::Outline;
            outlinePoints.assign(1, packPoint(sx, sy));
        } else {
            return 0;  // the window moves
        }
    }

    switch (gesture) {
    case Gesture::Pan:
        panX = mouse::xOf(position) - panStartX;
        panY = mouse::yOf(position) - panStartY;
        holdPan();
        if (release) {
            ScrollEnded();
            gesture = Gesture::None;
        }
        break;
    case Gesture::Grid:
        gridRect = measureSquare(gridStartX, gridStartY, px, py);
        if (release) {
            MeasuredGrid g = measureGrid(gridStartX, gridStartY, px, py);
            settingGrid = false;
            gesture = Gesture::None;
            gridRect = {};
            if (g.valid && db::isHost()) {
                v->grid = {g.size, g.offsetX, g.offsetY};
                v->Publish();
                v->Rebuild();
            }
        }
        break;
    case Gesture::Outline:
        if (!release && outlinePoints.size() < kMaxStrokePoints) outlinePoints.push_back(packPoint(px, py));
        if (release) {
            gesture = Gesture::None;
            v->SendPolygon(outlinePoints, !sharedWindow());
            outlinePoints.clear();
        }
        break;
    case Gesture::Stroke:
        // Beyond the last point the pen goes on without ink until it lifts.
        if (!release && strokePoints.size() < kMaxStrokePoints)
            strokePoints.push_back({packPoint(px, py), TabletInput::get().strokePressure()});
        if (release) {
            gesture = Gesture::None;
            endStroke();
        }
        break;
    case Gesture::None: break;
    }
    Invalidate();
    return 1;
}

// Section: the menu.

std::unique_ptr<ui::MenuModel> ImageControl::BuildMenu() {
    std::unique_ptr<ui::MenuModel> menu = window->BuildMenu();
    if (!menu) menu = std::make_unique<ui::MenuModel>("menuhub");
    FillMenu(*menu);
    return menu;
}

void ImageControl::FillMenu(ui::MenuModel& menu) {
    ImageValue* v = value();
    if (!v) return;
    if (db::isHost()) {
        menu.set(5, "Preload Image", "send", kMenuPreloadImage);
        auto layers = std::make_unique<ui::MenuModel>("menuhub");
        layers->backSlot = 7;
        if (v->hasMask()) {
            layers->set(3, "Delete Mask", "deletemask", kMenuDeleteMask);
            layers->set(2, maskMode ? "Exit Mask Mode" : "Enter Mask Mode", maskMode ? "maskeditoff" : "maskedit",
                        kMenuMaskMode);
        } else if (v->hasBase()) {
            layers->set(3, "Enable Mask", "mask", kMenuEnableMask);
        }
        if (v->hasDrawing()) layers->set(5, "Erase Drawing Layer", "erase", kMenuEraseDrawing);
        if (v->grid.size) {
            layers->set(4, "Grid Off", "gridoff", kMenuGrid);
        } else {
            layers->set(4, "Set Grid", "grid", kMenuGrid);
        }
        if (sharedWindow() && (v->width != rect.width() || v->height != rect.height()))
            layers->set(6, "Go To Player View", "goto", kMenuGoToPlayerView);
        menu.setSubMenu(3, "Layers", "layers", std::move(layers));
    }
    menu.set(4, drawingMode ? "Exit Drawing Mode" : "Enter Drawing Mode", drawingMode ? "stopedit" : "edit",
             kMenuDrawingMode);
}

void ImageControl::MenuSelected(int id) {
    ImageValue* v = value();
    const bool host = db::isHost();
    if (id < kMenuPreloadImage || id > kMenuMaskMode || !v) {
        window->MenuSelected(id);
        return;
    }
    switch (id) {
    case kMenuPreloadImage:
        if (host && v->node && mapNetwork()) mapNetwork()->sendToAll(*v->node);
        break;
    case kMenuDrawingMode:
        drawingMode = !drawingMode;
        break;
    case kMenuEraseDrawing:
        if (host) v->EraseDrawing(false);
        break;
    case kMenuEnableMask:
        if (!host) break;
        v->CreateMask();
        v->Publish();
        maskMode = true;
        break;
    case kMenuDeleteMask:
        if (!host) break;
        v->DeleteMask();
        v->Publish();
        maskMode = false;
        break;
    case kMenuGrid:
        if (!host) break;
        if (v->grid.size) {
            v->grid.size = 0;
            v->Publish();
            v->Rebuild();
        } else {
            settingGrid = true;
            gridRect = {};
        }
        break;
    case kMenuGoToPlayerView:
        v->viewX = -viewRect.left;
        v->viewY = -viewRect.top;
        break;
    case kMenuMaskMode:
        maskMode = !maskMode;
        break;
    default: break;
    }
    window->Invalidate();
}

void registerImageControl() {
    ui::registerControlTag("IMAGE", [](ui::Window& w) -> std::unique_ptr<ui::Control> {
        return std::make_unique<ImageControl>(w);
    });
}

}  // namespace lh::table
