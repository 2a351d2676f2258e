// The dice drawn off-screen and read back: a die laid on each of its faces
// shows on top the face that its reading gives, and its shadow darkens the
// table. Drawn with a numeral picture in which every face is painted in a
// colour that encodes its value, so the pixel says which face is seen.
#include <gtest/gtest.h>

#include <cmath>
#include <map>

#include "../render/GlFixture.h"
#include "app/Frame.h"
#include "dice/DiceDrawing.h"
#include "dice/DiceScene.h"
#include "dice/DiceWorld.h"
#include "dice/DieMeshes.h"
#include "dice/DieResult.h"
#include "render/FreeTypeFont.h"
#include "platform/Platform.h"
#include "platform/Window.h"
#include "render/Bitmap.h"
#include "render/RenderContext.h"
#include "ui/FrameLayers.h"
#include "ui/DieType.h"

namespace lh::dice {
namespace {

class DiceDrawingTest : public test::GlTest {};

// The rotation that turns the unit vector `from` to point up, towards the viewer.
Matrix4 turnUp(Vec3 from) {
    const Vec3 up{0.0f, 0.0f, -1.0f};
    Vec3 axis = cross(from, up);
    float s = length(axis), c = dot(from, up);
    Matrix4 m;
    if (s < 1e-6f) return c > 0 ? m : rotationAxisCosSin(Vec3{1, 0, 0}, -1.0f, 0.0f);
    m = rotationAxisCosSin(axis * (1.0f / s), c, s);
    Vec3 to = transformPoint(from, m);
    if (dot(to, up) < 0.99f) m = rotationAxisCosSin(axis * (1.0f / s), c, -s);
    return m;
}

struct ModelFace {
    Vec3 normal, centre;
    std::vector<Vec3> corners;
};

std::vector<ModelFace> facesOfMesh(const render::DieMeshData& mesh) {
    std::vector<ModelFace> faces;
    for (const render::DieMeshVertex& v : mesh.vertices) {
        Vec3 n{v.normal[0], v.normal[1], v.normal[2]}, p{v.position[0], v.position[1], v.position[2]};
        if (faces.empty() || dot(faces.back().normal, n) < 0.9999f) faces.push_back({n, {}, {}});
        faces.back().corners.push_back(p);
    }
    for (ModelFace& f : faces) {
        for (Vec3 p : f.corners) f.centre += p;
        f.centre = f.centre * (1.0f / float(f.corners.size()));
    }
    return faces;
}

TEST_F(DiceDrawingTest, TheFaceOnTopIsTheReading) {
    DiceArt art = makeDiceArt(NumeralStyle::ValueColors);
    std::vector<render::DieMeshData> meshes = art.meshes;
    render::DiceRenderer renderer;
    renderer.SetContent(std::move(art.meshes), std::move(art.numerals));
    ASSERT_TRUE(renderer.IsReady());
    render::DiceCamera camera = render::diceCamera(kWidth, kHeight);
    render::GraphicsDevice& device = render::GraphicsDevice::Get();

    int checked = 0;
    for (int shape = 0; shape < kShapeCount; ++shape) {
        const ShapeInfo& info = shapeInfo(shape);
        std::vector<ModelFace> faces = facesOfMesh(meshes[size_t(shape)]);
        // A d4 is read by its top corner; every other die by its top face.
        std::vector<Vec3> ups;
        if (shape == kShapeD4) {
            for (int v = 0; v < info.vertexCount; ++v) ups.push_back(normalized(info.vertices[v]));
        } else {
            for (const ModelFace& f : faces) ups.push_back(f.normal);
        }
        std::map<int32_t, int> seen;
        for (Vec3 up : ups) {
            DiceWorld world;
            DieBody* die = world.Add(std::make_unique<DieBody>(world, shape, 0xFF203040u, 1u));
            // In the middle of the picture, lying on the table.
            const float t = (info.restHeight + 150.0f) / 130.0f;
            die->center = Vec3{(-19.5f + 80.0f * 0.0380859375f) * t, (15.234375f - 60.0f * 0.0380859375f) * t,
                               info.restHeight};
            die->SetOrientation(turnUp(up));
            const int32_t value = die->ReadFace();
            ASSERT_GE(value, 0) << "shape " << shape;
            ++seen[value];

            // The point to look at: the top face's middle, or on a d4 a
            // face near its top corner.
            Vec3 look;
            if (shape == kShapeD4) {
                const ModelFace* best = nullptr;
                Vec3 corner = up * length(info.vertices[0]);
                for (const ModelFace& f : faces) {
                    bool has = false;
                    for (Vec3 c : f.corners) has = has || length(c - corner) < 0.05f;
                    if (has && (!best || transformPoint(f.normal, die->orientation()).z <
                                             transformPoint(best->normal, die->orientation()).z))
                        best = &f;
                }
                ASSERT_TRUE(best);
                for (Vec3 c : best->corners)
                    if (length(c - corner) < 0.05f) corner = c;
                look = corner * 0.7f + best->centre * 0.3f;
            } else {
                for (const ModelFace& f : faces)
                    if (dot(f.normal, up) > 0.9999f) look = f.centre;
            }
            Vec3 w = transformPoint(look, die->worldMatrix());
            glm::vec3 pixel = render::projectPoint({w.x, w.y, w.z}, camera.viewport, camera.projection, camera.view,
                                                   glm::mat4(1.0f));

            device.BeginFrame({0, 0, kWidth, kHeight});
            device.SetDepthTest(true);
            std::vector<render::DieDrawItem> items = drawItemsOf(world, true);
            renderer.Draw(camera, items);
            device.SetDepthTest(false);
            std::vector<uint32_t> px = screen();
            const uint32_t seenColor = at(px, int(pixel.x), int(pixel.y));
            EXPECT_EQ(valueOfColor(seenColor), value)
                << "shape " << shape << " at (" << pixel.x << ", " << pixel.y << ") colour " << std::hex << seenColor;
            ++checked;
        }
        // Every value of the shape was seen once.
        EXPECT_EQ(int(seen.size()), info.faceCount) << "shape " << shape;
    }
    EXPECT_EQ(checked, 20 + 12 + 10 + 8 + 6 + 4 + 10);
}

TEST_F(DiceDrawingTest, ShadowsDarkenTheTableAndAPlayerSeesOnlyTheGamemastersShadows) {
    DiceArt art = makeDiceArt(NumeralStyle::ValueColors);
    render::DiceRenderer renderer;
    renderer.SetContent(std::move(art.meshes), std::move(art.numerals));
    render::DiceCamera camera = render::diceCamera(kWidth, kHeight);
    render::GraphicsDevice& device = render::GraphicsDevice::Get();
    DiceWorld world;
    DieBody* die = world.Add(std::make_unique<DieBody>(world, kShapeD6, 0xFF203040u, 0x10000001u));
    const float t = (-3.0f + 150.0f) / 130.0f;
    die->MoveTo(Vec3{(-19.5f + 80.0f * 0.0380859375f) * t, (15.234375f - 60.0f * 0.0380859375f) * t, -3.0f});
    glm::vec3 centre = render::projectPoint({die->center.x, die->center.y, die->center.z}, camera.viewport,
                                            camera.projection, camera.view, glm::mat4(1.0f));
    // The light stands up and to the left: the shadow falls right and down.
    glm::vec3 shadow = render::projectPoint({die->center.x + 3.0f * 3.0f / 11.0f, die->center.y - 3.0f * 3.0f / 11.0f, -0.1f},
                                            camera.viewport, camera.projection, camera.view, glm::mat4(1.0f));
    const uint32_t table = 0xFF808080u;
    auto drawFor = [&](bool host) {
        device.BeginFrame({0, 0, kWidth, kHeight});
        render::RenderContext context(false, kWidth, kHeight);
        context.BeginSprites();
        context.DrawRect(0, 0, kWidth, kHeight, 0x00808080u, true);
        context.EndSprites();
        device.SetDepthTest(true);
        std::vector<render::DieDrawItem> items = drawItemsOf(world, host);
        renderer.Draw(camera, items);
        device.SetDepthTest(false);
        context.BeginSprites();
        return screen();
    };
    std::vector<uint32_t> host = drawFor(true);
    EXPECT_NE(at(host, int(centre.x), int(centre.y)), table);  // the die itself
    std::vector<uint32_t> player = drawFor(false);
    EXPECT_EQ(at(player, int(centre.x) - 12, int(centre.y) - 12), table);  // no body
    EXPECT_TRUE(test::near(at(player, int(shadow.x), int(shadow.y)), 0xFF5A5A5Au, 3))  // 0.7 of the table
        << std::hex << at(player, int(shadow.x), int(shadow.y));
    // After a reset, and after the context itself was lost, the dice draw
    // again from what the renderer kept.
    ASSERT_EQ(device.Reset(), 0);
    EXPECT_EQ(drawFor(true), host);
    ASSERT_EQ(device.RecreateContext(), 0);
    ASSERT_TRUE(renderer.IsReady());
    EXPECT_EQ(drawFor(true), host);
    EXPECT_EQ(render::DiceRenderer::ShadowAlpha(-0.7f), 0.3f);
    EXPECT_NEAR(render::DiceRenderer::ShadowAlpha(-0.2f), 0.075f, 1e-6f);
    EXPECT_EQ(render::DiceRenderer::ShadowAlpha(0.5f), 0.0f);
}

// A result box in a real frame: in a white font, the modifier shows white
// and the total after it the grey it stands back in.
TEST_F(DiceDrawingTest, AResultBoxDrawsItsTotalInGrey) {
    render::FreeTypeFont::Options options;
    options.pixelSize = 24;
    options.color = 0xFFFFFFFFu;
    auto font = render::FreeTypeFont::Open(options);
    ASSERT_TRUE(font) << "no system font found";
    ui::DieType d6;
    d6.name = "d6";
    DieResult result;
    result.AddDie(3, &d6);
    result.AddDie(4, &d6);
    result.SetModifier(2);
    result.SetDisplayMode(ShownValue::Sum);  // "+2 9"
    DieBoxStyle style;
    style.modFont = font.get();

    render::GraphicsDevice& device = render::GraphicsDevice::Get();
    const render::Rect all{0, 0, kWidth, kHeight};
    device.BeginFrame(all);
    {
        render::RenderContext context(false, kWidth, kHeight);
        context.SetClipRect(all);
        context.BeginScene();
        context.DrawRect(0, 0, kWidth, kHeight, 0xFF000000u, true);
        drawDieResult(result, style, context, render::Rect{0, 0, 100, 40}, all, false);
        context.EndScene();
    }
    device.Present(all);
    std::vector<uint32_t> s = screen();

    // The modifier's first lit column; the total begins a blank after
    // the modifier's width from there.
    int left = -1;
    for (int x = 0; x < kWidth && left < 0; ++x)
        for (int y = 0; y < 40 && left < 0; ++y)
            if ((at(s, x, y) & 0xFFFFFFu) != 0) left = x;
    ASSERT_GE(left, 0) << "nothing drawn";
    const int split = left + font->MeasureText("+2", 2).width;
    EXPECT_TRUE(test::near(test::brightestIn(s, kWidth, left, 0, split, 40), 0xFFFFFFFFu, 2));
    EXPECT_TRUE(test::near(test::brightestIn(s, kWidth, split, 0, kWidth, 40), 0xFFAFAFAFu, 2));
}

// The real frame at 1024 x 768 over a patterned Desktop, where a stale
// pixel would show.
class DiceFrameTest : public ::testing::Test {
protected:
    static constexpr int kWide = 1024, kHigh = 768;
    void SetUp() override {
        std::string error;
        ASSERT_TRUE(platform::initialize(error)) << error;
        window.reset(platform::Window::create("dice frame", kWide, kHigh));
        ASSERT_TRUE(window);
        ASSERT_EQ(render::GraphicsDevice::Get().Create(*window), 0);
        std::vector<uint32_t> tile(97 * 61);
        for (uint32_t i = 0; i < tile.size(); ++i) tile[i] = 0xFF000000u | (i * 2654435761u >> 8);
        desktop.LoadFromPixels(97, 61, tile.data());
        app::setDesktopImage(&desktop);
    }
    void TearDown() override {
        app::setDesktopImage(nullptr);
        render::GraphicsDevice::Get().Destroy();
        window.reset();
        platform::shutdown();
    }
    static std::vector<uint32_t> picture() {
        std::vector<uint32_t> px;
        render::GraphicsDevice::Get().ReadBackBuffer({0, 0, kWide, kHigh}, px);
        return px;
    }

    std::unique_ptr<platform::Window> window;
    render::Bitmap desktop;
};

// A roll drawn frame by frame, each frame redrawing only around the dice
// that changed, leaves the same picture as a frame that redraws all: the
// boxes hold every die and shadow where it was and where it is, through a
// hand of dice carried high over the table and thrown, and a roll of
// twenty-four from elsewhere, some of them the Gamemaster's (shadows only).
TEST_F(DiceFrameTest, FramesOfRollingDiceRedrawnAroundThemMatchAFullRedraw) {
    render::GraphicsDevice& device = render::GraphicsDevice::Get();
    DiceArt art = makeDiceArt();
    render::DiceRenderer renderer;
    renderer.SetContent(std::move(art.meshes), std::move(art.numerals));
    ASSERT_TRUE(renderer.IsReady());
    DiceScene::Hooks hooks;
    hooks.invalidate = [&device](const render::Rect* r) { device.Invalidate(r); };
    seedRandom(3);
    DiceScene scene(false, kWide, kHigh, render::Rect{10, 330, 450, 670}, std::move(hooks));
    platform::Subscription layer = ui::drawOnFrameStep(ui::FrameStep::DiceScene, [&](render::RenderContext&) {
        std::vector<render::DieDrawItem> items = drawItemsOf(scene.world(), scene.isHost());
        renderer.Draw(scene.camera(), items);
    });
    double now = 1.0;
    scene.Advance(now);
    device.Invalidate(nullptr);
    app::DrawFrame();

    std::vector<uint8_t> body;
    for (int j = 0; j < 24; ++j) {
        ThrowStart s;
        s.shape = j % kShapeCount;
        s.colorFlags = j % 3 == 0 ? kGamemasterDice | kWhiteNumerals : kWhiteNumerals;
        s.bodyColor = 0xFF000000u | uint32_t(j) * 0x0A1B2Cu;
        s.orientation = rotationYawPitchRoll(0.7f * float(j), 1.1f + 0.4f * float(j), 0.0f);
        s.center = Vec3{-17.0f + 1.5f * float(j % 8), -8.0f + 3.0f * float(j / 8), -5.0f};
        s.velocity = Vec3{0.5f - 0.04f * float(j), 0.35f, 0.0f};
        appendThrowRecord(body, s);
    }
    // The d20 from its home, five more in the hand, carried up to the chat.
    const glm::vec3 home = scene.project(scene.world().dice()[0]->center);
    ASSERT_EQ(scene.Mouse(int32_t(home.x), int32_t(home.y), MousePhase::PressOrMove, false), 1);
    for (int i = 0; i < 5; ++i) scene.AddDie(-1);

    int compared = 0, small = 0;
    for (int frame = 1; frame <= 150; ++frame) {
        now += 1.0 / 60.0;
        if (frame < 30) scene.Mouse(int32_t(home.x) - 8 * frame, int32_t(home.y) - 7 * frame, MousePhase::PressOrMove, false);
        if (frame == 30) scene.Mouse(int32_t(home.x) - 240, int32_t(home.y) - 210, MousePhase::ReleaseThrow, false);
        if (frame == 10) {
            ASSERT_EQ(scene.ReceiveRoll(body.data(), body.size()), "");
        }
        scene.Advance(now);
        const render::Rect dirty = device.DirtyRect();
        small += !dirty.isEmpty() && dirty.width() * dirty.height() < kWide * kHigh / 2;
        app::DrawFrame();
        if (frame % 15 != 0) continue;
        const std::vector<uint32_t> partial = picture();
        device.Invalidate(nullptr);
        app::DrawFrame();
        const std::vector<uint32_t> full = picture();
        ASSERT_EQ(partial.size(), full.size());
        int differ = 0, firstX = -1, firstY = -1;
        for (size_t i = 0; i < full.size(); ++i) {
            if (partial[i] == full[i]) continue;
            if (differ++ == 0) firstX = int(i % kWide), firstY = int(i / kWide);
        }
        EXPECT_EQ(differ, 0) << "frame " << frame << ", first at (" << firstX << ", " << firstY << ")";
        ++compared;
    }
    EXPECT_EQ(compared, 10);
    EXPECT_GT(small, 60);  // most frames of the roll redraw less than half the screen
}

}  // namespace
}  // namespace lh::dice

namespace lh::dice {
namespace {

TEST(DiceArt, EveryFaceCarriesItsNumeral) {
    DiceArt art = makeDiceArt();
    ASSERT_EQ(art.meshes.size(), size_t(kShapeCount));
    // Each 64-pixel cell in use holds some opaque numeral pixels and a
    // transparent margin where the body colour shows.
    const uint32_t cells = 20 + 12 + 10 + 8 + 6 + 4 + 10;
    for (uint32_t c = 0; c < cells; ++c) {
        const uint32_t x0 = c % 10 * 64, y0 = c / 10 * 64;
        int opaque = 0;
        for (uint32_t y = 0; y < 64; ++y)
            for (uint32_t x = 0; x < 64; ++x) opaque += (art.numerals.pixels[(y0 + y) * art.numerals.width + x0 + x] >> 24) > 128;
        EXPECT_GT(opaque, 20) << "cell " << c;
        EXPECT_EQ(art.numerals.pixels[y0 * art.numerals.width + x0] >> 24, 0u) << "cell " << c;
    }
    EXPECT_STREQ(faceLabel(kShapePercentile, 0), "00");
    EXPECT_STREQ(faceLabel(kShapeD20, 9), "9.");
}

}  // namespace
}  // namespace lh::dice
