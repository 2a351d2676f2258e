// The Desktop on the real device (llvmpipe when headless): a full redraw of
// 20 open sheets of 40 controls each, the redraw after one control changed
// (only its window's rectangle is dirty), and opening one sheet (factory,
// layout and its first drawing), and a mouse press on a window behind
// others, from the platform's event to the frame that shows it in front.
// Run headless: SDL_VIDEODRIVER=offscreen ./bench/ui/bench_desktop
#include <benchmark/benchmark.h>

#include <cstdio>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "app/DesktopWiring.h"
#include "app/Frame.h"
#include "ui/FrameLayers.h"
#include "db/DbNode.h"
#include "db/IntValue.h"
#include "db/SessionMode.h"
#include "db/XmlParse.h"
#include "platform/Events.h"
#include "platform/Paths.h"
#include "render/Bitmap.h"
#include "render/FreeTypeFont.h"
#include "render/GraphicsDevice.h"
#include "render/PngWriter.h"
#include "render/RenderContext.h"
#include "support/BenchGl.h"
#include "ui/ControlFactory.h"
#include "ui/Desktop.h"
#include "ui/ResourceFile.h"
#include "ui/RulesetData.h"
#include "ui/RulesetLoader.h"
#include "ui/RulesetXml.h"
#include "ui/Window.h"

namespace {

using namespace lh;

constexpr int kSheets = 20;

render::FreeTypeFont* benchFont = nullptr;

// A number field as the number control will be: its frame, then its value
// as text, read from the record at each drawing.
class BenchField final : public ui::Control {
public:
    using Control::Control;
    void Parse(db::XmlElement& element, db::DbNode* record) override {
        Control::Parse(element, record);
        Bind(record, db::NodeKind::intValue);
    }
    void Draw(render::RenderContext& context, const render::Rect& clip) override {
        DrawControlFrame(context, clip);
        char text[16];
        int n = std::snprintf(text, sizeof text, "%d", BoundValue<db::IntValue>()->base());
        int32_t x, y;
        GetOrigin(x, y);
        context.SetFont(benchFont);
        context.DrawText(x + 4, y + 2, text, n, &clip);
    }
};

std::string sheetClass() {
    std::string xml = R"(<root><framedef name="box"><bitmap file="frame.png"/>
      <topleft rect="0,0,4,4"/><top rect="4,0,4,4"/><topright rect="8,0,4,4"/>
      <left rect="0,4,4,4"/><middle rect="4,4,4,4"/><right rect="8,4,4,4"/>
      <bottomleft rect="0,8,4,4"/><bottom rect="4,8,4,4"/><bottomright rect="8,8,4,4"/></framedef>
      <icon name="pic" file="pic.png"/>
      <windowclass name="sheet"><frame name="box"/><datasource name="sheets"/><defaultsize width="300" height="220"/>
      <sheetdata>)";
    for (int i = 0; i < 40; ++i) {
        char control[256];
        int col = i % 4, row = i / 4;
        if (i % 2) {
            std::snprintf(control, sizeof control,
                          R"(<benchfield name="f%d"><bounds rect="%d,%d,70,18"/><frame name="box"/></benchfield>)", i,
                          5 + col * 73, 25 + row * 19);
        } else {
            std::snprintf(control, sizeof control,
                          R"(<staticgraphic><bounds rect="%d,%d,70,18"/><frame name="box"/><icon name="pic"/></staticgraphic>)",
                          5 + col * 73, 25 + row * 19);
        }
        xml += control;
    }
    return xml + "</sheetdata></windowclass></root>";
}

void writePng(const std::filesystem::path& path, uint32_t size, uint32_t argb) {
    std::vector<uint32_t> px(size_t(size) * size);
    for (uint32_t i = 0; i < px.size(); ++i) px[i] = argb + (i % size) * 0x000405u;
    render::writePng(path, size, size, px.data(), render::PngLayout::Rgba);
}

struct Scene {
    bench::BenchDevice device;
    std::unique_ptr<render::FreeTypeFont> font;
    // The process's Desktop: the app's routing delivers the benchmark's
    // clicks to it, as the platform's events would be.
    ui::Desktop* desk = nullptr;
    platform::Subscription layer;
    std::filesystem::path dir;
    bool ok = false;

    Scene() {
        if (!device.ok()) return;
        dir = std::filesystem::temp_directory_path() / "lorehaven_desktop_bench";
        std::filesystem::create_directories(dir);
        writePng(dir / "frame.png", 12, 0xFF406080);
        writePng(dir / "pic.png", 16, 0xFFC08040);
        platform::setWorkingDirectory(dir);
        ui::ResourceFile::setArchivePath("resource.pak");
        render::FreeTypeFont::Options options;
        options.pixelSize = 12;
        options.color = 0xFFE0E0E0u;
        font = render::FreeTypeFont::Open(options);
        benchFont = font.get();
        ui::registerControlTag("BENCHFIELD", [](ui::Window& w) -> std::unique_ptr<ui::Control> {
            return std::make_unique<BenchField>(w);
        });
        ui::LoadRulesetFile(db::parseXmlText(sheetClass(), "bench"), db::SessionMode::Host);
        desk = &ui::desktop();
        desk->OnMainWindowSized(bench::kWidth, bench::kHeight);
        const ui::WindowClass* cls = ui::findWindowClass("sheet");
        if (!cls) return;
        for (int i = 0; i < kSheets; ++i) {
            char id[8];
            std::snprintf(id, sizeof id, "%05d", i + 1);
            ui::Window* w = desk->OpenWindow(*cls, id);
            w->MoveBy((i % 5) * 180 - w->rect.left, (i / 5) * 170 - w->rect.top);
        }
        layer = ui::drawOnFrameStep(ui::FrameStep::DesktopWindows,
                                    [this](render::RenderContext& c) { desk->Draw(c, c.ClipRect()); });
        ok = font != nullptr && desk->windows.size() == kSheets && desk->windows[0]->controls.size() == 40;
    }
};

Scene& scene() {
    static Scene s;
    return s;
}

void BM_FullRedraw20Sheets(benchmark::State& state) {
    if (!scene().ok) return state.SkipWithError("no OpenGL device or no sheets");
    for (auto _ : state) bench::redrawAndWait();
}
BENCHMARK(BM_FullRedraw20Sheets)->Unit(benchmark::kMillisecond);

void BM_RedrawAfterOneControlChanged(benchmark::State& state) {
    if (!scene().ok) return state.SkipWithError("no OpenGL device or no sheets");
    ui::Window& w = *scene().desk->windows[7];
    auto& field = *w.ControlAt(1);
    int32_t n = 0;
    for (auto _ : state) {
        auto* v = static_cast<BenchField&>(field).BoundValue<db::IntValue>();
        v->set(++n);
        v->publish(false);  // the window hears of it and marks itself dirty
        bench::drawAndWait();
    }
}
BENCHMARK(BM_RedrawAfterOneControlChanged)->Unit(benchmark::kMillisecond);

void BM_OpenSheet(benchmark::State& state) {
    if (!scene().ok) return state.SkipWithError("no OpenGL device or no sheets");
    ui::Desktop& desk = *scene().desk;
    const ui::WindowClass& cls = *ui::findWindowClass("sheet");
    app::DrawFrame();
    for (auto _ : state) {
        ui::Window* w = desk.OpenWindow(cls, "00099");
        render::GraphicsDevice::Get().ClearDirtyRect();
        w->Invalidate();
        bench::drawAndWait();
        state.PauseTiming();
        w->Close(false);
        desk.CollectClosed();
        app::DrawFrame();
        state.ResumeTiming();
    }
}
BENCHMARK(BM_OpenSheet)->Unit(benchmark::kMillisecond);

// A click, as the platform delivers it, through the app's routing.
void clickAt(int x, int y) {
    platform::Event e;
    e.x = x;
    e.y = y;
    e.button = platform::MouseButton::Left;
    e.type = platform::EventType::MouseMove;
    app::routeDesktopInput(e);
    e.type = platform::EventType::MouseDown;
    app::routeDesktopInput(e);
    e.type = platform::EventType::MouseUp;
    app::routeDesktopInput(e);
}

// Sheets "00001" and "00002" overlap; each press lands where only the one
// beneath shows and brings it over the other, so every frame changes the
// overlap's pixels. The two are found by record, not by their place in the
// stack, which the presses of earlier repetitions have changed.
void BM_PressToWindowInFront(benchmark::State& state) {
    if (!scene().ok) return state.SkipWithError("no OpenGL device or no sheets");
    ui::Desktop& desk = *scene().desk;
    ui::Window* first = desk.Find("sheet", "00001");
    ui::Window* second = desk.Find("sheet", "00002");
    if (!first || !second) return state.SkipWithError("the two sheets are not open");
    bench::drawAndWait();
    for (auto _ : state) {
        const bool firstOnTop = desk.windows.back().get() == first;
        ui::Window* wanted = firstOnTop ? second : first;
        // Left of the second sheet, right of the first; above the row below.
        if (wanted == first) {
            clickAt(first->rect.left + 20, first->rect.top + 10);
        } else {
            clickAt(second->rect.right - 130, second->rect.top + 10);
        }
        bench::drawAndWait();
        if (desk.windows.back().get() != wanted) return state.SkipWithError("the press did not bring the window forward");
    }
}
BENCHMARK(BM_PressToWindowInFront)->Unit(benchmark::kMillisecond)->Repetitions(9)->ReportAggregatesOnly(true);

}  // namespace

BENCHMARK_MAIN();
