// The map window of the default Ruleset on one machine, drawn on a
// recording context: every entry of the map's menus in each state, each
// with an icon the Ruleset has, and the cursor of each mode; the players'
// view drawn on the host, moving with the picture, and "Go To Player View"
// bringing the host back to it, and on the real device framing the view
// within the control; the loading icon while the picture is on
// its way, and the availability icon once every client has the file.
#include <gtest/gtest.h>

#include <map>
#include <set>
#include <string>
#include <tuple>
#include <vector>

#include "db/Campaign.h"
#include "db/DbNode.h"
#include "db/SessionMode.h"
#include "platform/Paths.h"
#include "platform/Window.h"
#include "render/Bitmap.h"
#include "render/GlFixture.h"
#include "render/GraphicsDevice.h"
#include "render/RecordingRenderContext.h"
#include "render/RenderContext.h"
#include "support/TestSupport.h"
#include "table/ImageControl.h"
#include "table/ImageValue.h"
#include "table/LayerFile.h"
#include "table/MapNetwork.h"
#include "ui/Desktop.h"
#include "ui/InputState.h"
#include "ui/MenuModel.h"
#include "ui/ResourceFile.h"
#include "ui/RulesetData.h"
#include "ui/RulesetLoader.h"
#include "ui/Window.h"

namespace lh::table {
namespace {

using render::DrawCall;

// A session that sends nowhere: fetches start and never end, and the
// clients are whoever the test says.
struct QuietNetwork final : MapNetwork {
    void toHost(const net::NetMessage&) override {}
    void toClients(const net::NetMessage&, const std::string&) override {}
    void publish(db::DbNode&) override { ++published; }
    void sendToAll(db::DbNode& node) override { handedOut.push_back(node.pathOf()); }
    bool fetch(MapFetch, const std::string& file, uint64_t, const std::string&) override {
        fetches.push_back(file);
        return true;
    }
    std::vector<std::string> clients() override { return connected; }

    std::vector<std::string> connected, fetches, handedOut;
    int published = 0;
};

// The host's table with the map window of the default Ruleset, and two
// pictures on disk.
class MapDesk {
protected:
    void prepare() {
        db::clearTree();
        platform::setWorkingDirectory(dir.path());
        db::setSessionMode(db::SessionMode::Host);
        db::campaign().name.set("Saga");
        db::setValueMaker(db::NodeKind::image, makeImageValue);
        registerImageControl();
        ui::clearRuleset();
        ui::ResourceFile::setArchivePath(std::string(LOREHAVEN_BINARY_DIR) + "/resource.pak");
        ASSERT_NE(ui::LoadRuleset("Lorehaven", db::SessionMode::Host), nullptr);
        setMapNetwork(&network);
        desk.OnMainWindowSized(1024, 768);
        // A picture larger than the map's control (512 x 384 at the
        // window's default size), and one of exactly that size.
        AlphaPlane grey;
        grey.reset(800, 600, 200);
        ASSERT_TRUE(saveLayerFile(platform::diskPath("campaigns\\Saga\\images\\map.png"), grey));
        grey.reset(512, 384, 90);
        ASSERT_TRUE(saveLayerFile(platform::diskPath("campaigns\\Saga\\images\\exact.png"), grey));
    }
    void finish() {
        desk.windows.clear();
        setMapNetwork(nullptr);
        db::setSessionMode(db::SessionMode::Host);
        db::clearTree();
        ui::clearRuleset();
        ui::ResourceFile::setArchivePath("resource.pak");
    }

    // The record image.<id> with its picture, and its window opened.
    ImageControl& open(const char* id, const char* picture) {
        db::DbNode* node = db::rootNode().addChild("image")->addChild(id)->addChild("image");
        std::unique_ptr<db::NodeValue> made = makeImageValue();
        if (picture) static_cast<ImageValue&>(*made).setImagePath(picture);
        node->attachValue(std::move(made));
        window = desk.OpenWindow(*ui::findWindowClass("imagewindow"), id);
        EXPECT_NE(window, nullptr);
        auto* control = window ? dynamic_cast<ImageControl*>(window->FindControl("image")) : nullptr;
        EXPECT_NE(control, nullptr);
        return *control;
    }

    test::TempDir dir;
    QuietNetwork network;
    ui::Desktop desk;
    ui::Window* window = nullptr;
};

class MapControl : public ::testing::Test, protected MapDesk {
protected:
    void SetUp() override { prepare(); }
    void TearDown() override { finish(); }

    // Every entry of the control's menus by its labels ("Layers/Set Grid"),
    // with its icon; the hubs' icons are gathered too.
    std::map<std::string, std::string> menuOf(ImageControl& control) {
        ui::MenuModel menu;
        control.FillMenu(menu);
        std::map<std::string, std::string> entries;
        hubs.insert(menu.hubIcon);
        for (int slot = 0; slot < ui::MenuModel::kSlots; ++slot) {
            const auto& e = menu.at(slot);
            if (!e.present) continue;
            entries[e.label] = e.icon;
            if (!e.subMenu) continue;
            hubs.insert(e.subMenu->hubIcon);
            for (int inner = 0; inner < ui::MenuModel::kSlots; ++inner) {
                const auto& s = e.subMenu->at(inner);
                if (s.present) entries[e.label + "/" + s.label] = s.icon;
            }
        }
        return entries;
    }

    static std::set<std::string> labels(const std::map<std::string, std::string>& entries) {
        std::set<std::string> out;
        for (const auto& [label, icon] : entries) out.insert(label);
        return out;
    }

    static std::vector<DrawCall> draw(ImageControl& control, uint32_t kind = DrawCall::Bitmap) {
        render::RecordingRenderContext rc;
        control.Draw(rc, {0, 0, 1024, 768});
        std::vector<DrawCall> out;
        for (const DrawCall& c : rc.calls)
            if (c.kind == kind) out.push_back(c);
        return out;
    }

    // The calls that drew this icon.
    static std::vector<DrawCall> iconCalls(ImageControl& control, const char* icon) {
        std::vector<DrawCall> out;
        for (const DrawCall& c : draw(control))
            if (c.bitmap == ui::findIcon(icon)) out.push_back(c);
        return out;
    }

    // The players' view lines: width 3 in 0x4F000000.
    static std::vector<DrawCall> viewLines(ImageControl& control) {
        std::vector<DrawCall> out;
        for (const DrawCall& c : draw(control, DrawCall::Line))
            if (c.color == 0x4F000000u && c.width == 3.0f) out.push_back(c);
        return out;
    }

    std::set<std::string> hubs;
};

TEST_F(MapControl, EveryMenuEntryOfEachStateHasItsIconAndEachModeItsCursor) {
    ImageControl& map = open("00001", "campaigns\\Saga\\images\\map.png");
    ImageValue& value = *map.value();
    ASSERT_EQ(value.width, 800);
    ASSERT_EQ(map.rect.width(), 512);
    std::map<std::string, std::string> icons;
    auto seen = [&](const std::map<std::string, std::string>& entries) {
        for (const auto& [label, icon] : entries) icons[label.substr(label.find('/') + 1)] = icon;
        return labels(entries);
    };

    // The Gamemaster's map, not shared, with a picture and nothing else.
    using Labels = std::set<std::string>;
    EXPECT_EQ(seen(menuOf(map)), (Labels{"Preload Image", "Layers", "Layers/Enable Mask", "Layers/Set Grid",
                                         "Enter Drawing Mode"}));
    EXPECT_EQ(map.CursorAt(0), ui::cursor::kDefault);
    // Shared, and larger than its control: the way back to the players' view.
    window->shared = true;
    EXPECT_TRUE(menuOf(map).count("Layers/Go To Player View"));

    map.MenuSelected(kMenuEnableMask);
    ASSERT_TRUE(value.hasMask());
    EXPECT_EQ(seen(menuOf(map)), (Labels{"Preload Image", "Layers", "Layers/Delete Mask", "Layers/Exit Mask Mode",
                                         "Layers/Set Grid", "Layers/Go To Player View", "Enter Drawing Mode"}));
    EXPECT_EQ(map.CursorAt(0), ui::cursor::kMask);
    map.MenuSelected(kMenuMaskMode);
    EXPECT_TRUE(seen(menuOf(map)).count("Layers/Enter Mask Mode"));
    EXPECT_EQ(map.CursorAt(0), ui::cursor::kDefault);

    map.MenuSelected(kMenuGrid);
    EXPECT_TRUE(map.settingGrid);
    EXPECT_EQ(map.CursorAt(0), ui::cursor::kGrid);
    map.settingGrid = false;
    value.grid.size = 32;
    value.DrawSegment(10, 10, 60, 10, 255);
    map.MenuSelected(kMenuDrawingMode);
    EXPECT_EQ(seen(menuOf(map)), (Labels{"Preload Image", "Layers", "Layers/Delete Mask", "Layers/Enter Mask Mode",
                                         "Layers/Grid Off", "Layers/Erase Drawing Layer", "Layers/Go To Player View",
                                         "Exit Drawing Mode"}));
    EXPECT_EQ(map.CursorAt(0), ui::cursor::kDrawing);

    // "Preload Image" hands the record to every user; the grid goes off.
    map.MenuSelected(kMenuPreloadImage);
    EXPECT_EQ(network.handedOut, (std::vector<std::string>{"image.00001.image"}));
    map.MenuSelected(kMenuGrid);
    EXPECT_EQ(value.grid.size, 0);

    // A player has the drawing mode and nothing else, and no outline cursor.
    db::setSessionMode(db::SessionMode::Join);
    map.MenuSelected(kMenuDrawingMode);
    map.maskMode = true;
    EXPECT_EQ(seen(menuOf(map)), (Labels{"Enter Drawing Mode"}));
    EXPECT_EQ(map.CursorAt(0), ui::cursor::kDefault);
    db::setSessionMode(db::SessionMode::Host);

    // A map exactly the size of its control offers no way to the players'
    // view, shared or not.
    ImageControl& exact = open("00002", "campaigns\\Saga\\images\\exact.png");
    ASSERT_EQ(exact.value()->width, exact.rect.width());
    ASSERT_EQ(exact.value()->height, exact.rect.height());
    window->shared = true;
    EXPECT_FALSE(menuOf(exact).count("Layers/Go To Player View"));

    // Every entry's icon is the one the menus name, and the Ruleset has
    // each of them, with the hubs' and the indicators'.
    EXPECT_EQ(icons, (std::map<std::string, std::string>{
                         {"Preload Image", "send"}, {"Layers", "layers"}, {"Enable Mask", "mask"},
                         {"Delete Mask", "deletemask"}, {"Erase Drawing Layer", "erase"}, {"Grid Off", "gridoff"},
                         {"Set Grid", "grid"}, {"Enter Mask Mode", "maskedit"}, {"Exit Mask Mode", "maskeditoff"},
                         {"Go To Player View", "goto"}, {"Enter Drawing Mode", "edit"},
                         {"Exit Drawing Mode", "stopedit"}}));
    std::set<std::string> wanted = hubs;
    for (const auto& [label, icon] : icons) wanted.insert(icon);
    wanted.insert({"menuback", "indicator_loading", "indicator_everyone"});
    for (const std::string& name : wanted) {
        const render::Bitmap* icon = ui::findIcon(name);
        ASSERT_NE(icon, nullptr) << name;
        EXPECT_FALSE(icon->IsEmpty()) << name;
    }
    // And the window system has a shape for every cursor of a map.
    for (int cursor : {ui::cursor::kDefault, ui::cursor::kDrawing, ui::cursor::kGrid, ui::cursor::kMask})
        EXPECT_TRUE(platform::Window::hasCursorShape(cursor)) << cursor;
    EXPECT_FALSE(platform::Window::hasCursorShape(999));
}

TEST_F(MapControl, TheHostSeesThePlayersViewMoveWithThePictureAndGoesBackToIt) {
    ImageControl& map = open("00001", "campaigns\\Saga\\images\\map.png");
    ImageValue& value = *map.value();
    int32_t ox, oy;
    map.GetOrigin(ox, oy);
    // The four sides of the view, as (left, top, right, bottom) of the lines:
    // they run along its outermost pixels, the last column and row included.
    auto sides = [&]() {
        std::vector<DrawCall> lines = viewLines(map);
        render::Rect box{1 << 20, 1 << 20, -(1 << 20), -(1 << 20)};
        for (const DrawCall& l : lines) {
            box.left = std::min({box.left, int32_t(l.x1), int32_t(l.x2)});
            box.top = std::min({box.top, int32_t(l.y1), int32_t(l.y2)});
            box.right = std::max({box.right, int32_t(l.x1), int32_t(l.x2)});
            box.bottom = std::max({box.bottom, int32_t(l.y1), int32_t(l.y2)});
        }
        return std::pair{lines.size(), box};
    };

    // Not shared: no view to show.
    EXPECT_TRUE(viewLines(map).empty());
    window->shared = true;
    map.ShareData();
    EXPECT_EQ(map.viewRect, (render::Rect{0, 0, 512, 384}));
    EXPECT_EQ(sides(), (std::pair{size_t(4), render::Rect{ox, oy, ox + 511, oy + 383}}));

    // A player's pan snaps back and changes nothing.
    db::setSessionMode(db::SessionMode::Join);
    map.ScrollBy(-100, -50);
    EXPECT_EQ(map.scroll().left(), -100);
    map.ScrollEnded();
    EXPECT_EQ(value.viewX, 0);
    EXPECT_TRUE(viewLines(map).empty());  // and a player sees no such lines
    db::setSessionMode(db::SessionMode::Host);

    // The host's pan moves everyone's view; the lines stay on the picture
    // where the players were shown it.
    const int published = network.published;
    map.ScrollBy(-150, -80);
    map.ScrollEnded();
    EXPECT_EQ(value.viewX, -150);
    EXPECT_EQ(value.viewY, -80);
    EXPECT_EQ(network.published, published + 1);
    EXPECT_EQ(sides(), (std::pair{size_t(4), render::Rect{ox - 150, oy - 80, ox - 150 + 511, oy - 80 + 383}}));
    // Past its limits a pan holds at the picture's edge: 512 - 800.
    map.ScrollBy(-1000, -1000);
    map.ScrollEnded();
    EXPECT_EQ(value.viewX, 512 - 800);
    EXPECT_EQ(value.viewY, 384 - 600);

    map.MenuSelected(kMenuGoToPlayerView);
    EXPECT_EQ(value.viewX, 0);
    EXPECT_EQ(value.viewY, 0);
    EXPECT_EQ(sides(), (std::pair{size_t(4), render::Rect{ox, oy, ox + 511, oy + 383}}));
}

TEST_F(MapControl, LoadingAndAvailabilityIndicators) {
    // A player's map whose picture is on its way: the loading icon in the
    // middle of the control, and no picture yet.
    db::setSessionMode(db::SessionMode::Join);
    ImageControl& map = open("00001", nullptr);
    ImageValue& value = *map.value();
    value.setImagePath("campaigns\\Saga\\images\\far.png");
    value.FileAnnounced(1234, 0x01D0000000000000ull);
    ASSERT_TRUE(value.loading);
    EXPECT_EQ(network.fetches, (std::vector<std::string>{"campaigns\\Saga\\images\\far.png"}));
    int32_t ox, oy;
    map.GetOrigin(ox, oy);
    const render::Bitmap* loading = ui::findIcon("indicator_loading");
    ASSERT_NE(loading, nullptr);
    std::vector<DrawCall> shown = iconCalls(map, "indicator_loading");
    ASSERT_EQ(shown.size(), 1u);
    EXPECT_EQ(int32_t(shown[0].x1), ox + (512 - int32_t(loading->GetWidth())) / 2);
    EXPECT_EQ(int32_t(shown[0].y1), oy + (384 - int32_t(loading->GetHeight())) / 2);
    // Announced again while on its way: no second fetch.
    value.FileAnnounced(1234, 0x01D0000000000000ull);
    EXPECT_EQ(network.fetches.size(), 1u);

    // Arrived: the picture, and the icon is gone.
    AlphaPlane grey;
    grey.reset(600, 500, 10);
    ASSERT_TRUE(saveLayerFile(platform::diskPath("campaigns\\Saga\\images\\far.png"), grey));
    value.OnFileArrived(true);
    EXPECT_FALSE(value.loading);
    EXPECT_TRUE(value.hasBase());
    EXPECT_TRUE(iconCalls(map, "indicator_loading").empty());
    EXPECT_TRUE(iconCalls(map, "indicator_everyone").empty());  // a player is told nothing of the others

    // The host: the availability icon in the bottom right corner once every
    // connected client has said it has the file, and not before.
    desk.windows.clear();
    db::setSessionMode(db::SessionMode::Host);
    ImageControl& host = open("00002", "campaigns\\Saga\\images\\map.png");
    host.GetOrigin(ox, oy);
    network.connected = {"Ann", "Bob"};
    EXPECT_TRUE(iconCalls(host, "indicator_everyone").empty());
    host.value()->SetClientHasFile("Ann", true);
    EXPECT_TRUE(iconCalls(host, "indicator_everyone").empty());
    host.value()->SetClientHasFile("Bob", true);
    const render::Bitmap* everyone = ui::findIcon("indicator_everyone");
    ASSERT_NE(everyone, nullptr);
    shown = iconCalls(host, "indicator_everyone");
    ASSERT_EQ(shown.size(), 1u);
    EXPECT_EQ(int32_t(shown[0].x1), ox + 512 - int32_t(everyone->GetWidth()));
    EXPECT_EQ(int32_t(shown[0].y1), oy + 384 - int32_t(everyone->GetHeight()));
    // A newcomer does not have it yet; one who says he lost it neither.
    network.connected.push_back("Cid");
    EXPECT_TRUE(iconCalls(host, "indicator_everyone").empty());
    host.value()->SetClientHasFile("Cid", true);
    EXPECT_EQ(iconCalls(host, "indicator_everyone").size(), 1u);
    host.value()->SetClientHasFile("Ann", false);
    EXPECT_TRUE(iconCalls(host, "indicator_everyone").empty());
    // One who left no longer counts.
    network.connected = {"Bob", "Cid"};
    host.value()->ClientLeft("Ann");
    EXPECT_EQ(iconCalls(host, "indicator_everyone").size(), 1u);
}

// The map drawn alone over white on the real device and read back, with
// and without the players' view on it.
class MapControlOnScreen : public test::GlTest, protected MapDesk {
protected:
    void SetUp() override {
        GlTest::SetUp();
        if (!HasFatalFailure()) prepare();
    }
    void TearDown() override {
        finish();
        GlTest::TearDown();
    }

    std::vector<uint32_t> drawn(ImageControl& control) {
        render::GraphicsDevice& device = render::GraphicsDevice::Get();
        const render::Rect all{0, 0, kWidth, kHeight};
        device.BeginFrame(all);
        {
            render::RenderContext context(false, kWidth, kHeight);
            context.BeginScene();
            device.SetDepthTest(false);
            // White around the control, where a line that spilled would show.
            context.DrawRect(0, 0, kWidth, kHeight, 0x00FFFFFFu, true);
            control.Draw(context, all);
            context.EndScene();
        }
        device.Present(all);
        return screen();
    }
    static int brightness(uint32_t rgb) { return int(rgb & 0xFF) + int((rgb >> 8) & 0xFF) + int((rgb >> 16) & 0xFF); }
};

// A view that fills the control shows as a band two pixels deep along each
// of its four sides, inside the control: the sides on its far edges are
// not lost, and the near ones reach no pixel out of it.
TEST_F(MapControlOnScreen, AViewThatFillsTheControlIsFramedOnEverySideWithinIt) {
    ImageControl& map = open("00001", "campaigns\\Saga\\images\\map.png");
    ui::Window& sheet = *MapDesk::window;
    const int32_t w = map.rect.width(), h = map.rect.height();
    // Each corner of the control in turn on the small screen: its top left
    // at (20, 20), then its bottom right at (140, 100).
    for (auto [cx, cy, nearSide] : {std::tuple{20, 20, true}, std::tuple{140, 100, false}}) {
        int32_t ox, oy;
        map.Control::GetOrigin(ox, oy);
        if (nearSide) {
            sheet.MoveBy(cx - ox, cy - oy);
        } else {
            sheet.MoveBy(cx - (ox + w), cy - (oy + h));
        }
        sheet.shared = false;
        const std::vector<uint32_t> plain = drawn(map);
        sheet.shared = true;
        map.ShareData();
        const std::vector<uint32_t> framed = drawn(map);
        ASSERT_EQ(at(plain, 60, 60), at(framed, 60, 60));
        ASSERT_GT(brightness(at(plain, 60, 60)), 300) << "the picture is not drawn";
        // Across one vertical and one horizontal side, from outside in.
        const int step = nearSide ? 1 : -1, edgeX = nearSide ? cx : cx - 1, edgeY = nearSide ? cy : cy - 1;
        const int alongX = nearSide ? 60 : 40, alongY = nearSide ? 60 : 40;
        for (int d = -1; d <= 2; ++d) {
            const bool band = d == 0 || d == 1;
            const int x = edgeX + step * d, y = edgeY + step * d;
            if (band) {
                EXPECT_LT(brightness(at(framed, x, alongY)), brightness(at(plain, x, alongY)) - 60) << x;
                EXPECT_LT(brightness(at(framed, alongX, y)), brightness(at(plain, alongX, y)) - 60) << y;
            } else {
                EXPECT_EQ(at(framed, x, alongY), at(plain, x, alongY)) << x;
                EXPECT_EQ(at(framed, alongX, y), at(plain, alongX, y)) << y;
            }
        }
    }
}

}  // namespace
}  // namespace lh::table
