// The dice drawn off-screen and read back: a die laid on each of its faces
// shows on top the face that its reading gives, and its shadow darkens the
// table. Drawn with a numeral picture in which every face is painted in a
// colour that encodes its value, so the pixel says which face is seen.
#include <gtest/gtest.h>

#include <cmath>
#include <map>

#include "../render/GlFixture.h"
#include "dice/DiceDrawing.h"
#include "dice/DiceWorld.h"
#include "dice/DieMeshes.h"
#include "render/RenderContext.h"

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
