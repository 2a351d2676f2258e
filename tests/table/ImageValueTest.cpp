// An image value on the host's disk: the picture loads, the mask hides and
// reveals, ink lands on the drawing layer, the layers are saved at the last
// close under names that do not collide, an erased drawing stays erased,
// and work that comes before the picture waits for it.
#include <gtest/gtest.h>

#include "db/Campaign.h"
#include "db/SessionMode.h"
#include "platform/Paths.h"
#include "support/TestSupport.h"
#include "table/ImageValue.h"
#include "table/LayerFile.h"
#include "render/RecordingRenderContext.h"

using namespace lh;
using namespace lh::table;

namespace {

struct HostDisk {
    test::TempDir dir;
    HostDisk() {
        platform::setWorkingDirectory(dir.path());
        db::setSessionMode(db::SessionMode::Host);
        db::campaign().name.set("Saga");
        // A grey picture of 40 x 30: grey 200 everywhere.
        AlphaPlane grey;
        grey.reset(40, 30, 200);
        EXPECT_TRUE(saveLayerFile(platform::diskPath("campaigns\\Saga\\images\\map.png"), grey));
    }
    ~HostDisk() { db::setSessionMode(db::SessionMode::Join); }
};

struct CountingViewer : ImageViewer {
    int told = 0;
    void LayersChanged() override { ++told; }
};

std::vector<uint32_t> square(int32_t l, int32_t t, int32_t r, int32_t b) {
    return {packPoint(l, t), packPoint(r, t), packPoint(r, b), packPoint(l, b)};
}

}  // namespace

TEST(ImageValue, MaskDrawingAndTheirFiles) {
    HostDisk disk;
    ImageValue value;
    value.setImagePath("campaigns\\Saga\\images\\map.png");
    CountingViewer a, b;
    ASSERT_TRUE(value.Open(&a));
    ASSERT_TRUE(value.Open(&b));  // a second control: no second load
    EXPECT_EQ(value.openCountValue(), 2);
    EXPECT_EQ(value.width, 40);
    EXPECT_EQ(value.height, 30);
    EXPECT_EQ(value.CompositePixel(5, 5), 0xFFC8C8C8u);

    value.CreateMask();
    EXPECT_EQ(value.CompositePixel(5, 5), 0x40C8C8C8u);  // the host sees through darkly
    value.ApplyPolygon(square(2, 2, 12, 12));
    EXPECT_EQ(value.CompositePixel(5, 5), 0xFFC8C8C8u);
    EXPECT_EQ(value.CompositePixel(20, 20), 0x40C8C8C8u);
    EXPECT_GT(a.told, 0);
    EXPECT_GT(b.told, 0);

    value.DrawSegment(0, 20, 10, 20, 255);
    EXPECT_EQ(value.drawing.at(5, 20), 254);

    value.Close(&a);
    EXPECT_TRUE(value.hasMask());  // one control still has it open
    value.Close(&b);
    EXPECT_FALSE(value.hasMask());
    ASSERT_FALSE(value.maskPath.empty());
    ASSERT_FALSE(value.drawingPath.empty());
    EXPECT_TRUE(std::filesystem::exists(platform::diskPath(value.maskPath)));
    EXPECT_NE(value.maskPath.find("campaigns\\Saga\\maskedimages\\"), std::string::npos);
    EXPECT_NE(value.drawingPath.find("campaigns\\Saga\\drawings\\drawing_"), std::string::npos);

    // Stored and read back, the layers come from their files.
    ASSERT_TRUE(value.Open(nullptr));
    EXPECT_EQ(value.mask.at(5, 5), 255);
    EXPECT_EQ(value.mask.at(20, 20), 0);
    EXPECT_EQ(value.drawing.at(5, 20), 254);

    // Erased, closed and opened again: still erased.
    value.EraseDrawing(false);
    value.Close(nullptr);
    ASSERT_TRUE(value.Open(nullptr));
    EXPECT_FALSE(value.hasDrawing());
    value.DeleteMask();
    EXPECT_TRUE(value.maskPath.empty());
    EXPECT_EQ(value.CompositePixel(20, 20), 0xFFC8C8C8u);
    value.Close(nullptr);
}

TEST(ImageValue, NamesDoNotCollideAndWorkWaitsForThePicture) {
    HostDisk disk;
    ImageValue one, two;
    one.setImagePath("campaigns\\Saga\\images\\map.png");
    two.setImagePath("campaigns\\Saga\\images\\map.png");
    ASSERT_TRUE(one.Open(nullptr));
    ASSERT_TRUE(two.Open(nullptr));
    one.CreateMask();
    two.CreateMask();
    EXPECT_NE(one.maskPath, two.maskPath);  // made in the same second
    one.Close(nullptr);
    two.Close(nullptr);

    // Closed on the host: a polygon and a stroke wait, in order, and apply
    // when the map opens.
    ImageValue later;
    later.setImagePath("campaigns\\Saga\\images\\map.png");
    later.ApplyPolygon(square(0, 0, 10, 10));
    later.ApplyStroke({{packPoint(0, 25), 255}, {packPoint(30, 25), 255}});
    EXPECT_EQ(later.pendingCount(), 2u);
    ASSERT_TRUE(later.Open(nullptr));
    EXPECT_EQ(later.pendingCount(), 0u);
    EXPECT_EQ(later.mask.at(5, 5), 255);
    EXPECT_EQ(later.drawing.at(15, 25), 254);
    later.Close(nullptr);

    // A value with no picture takes strokes at the control's size, and its
    // layer follows the control.
    ImageValue pad;
    pad.SetDefaultSize(50, 20);
    EXPECT_FALSE(pad.Open(nullptr));
    pad.ApplyStroke({{packPoint(0, 5), 255}, {packPoint(49, 5), 255}});
    ASSERT_TRUE(pad.hasDrawing());
    pad.ResizeDrawing(30, 40);
    EXPECT_EQ(pad.drawing.width, 30);
    EXPECT_EQ(pad.drawing.at(29, 5), 254);
    pad.Close(nullptr);
}

TEST(ImageValue, AMapLargerThanATextureIsDrawnInTilesAndTouchesOnlyWhatChanged) {
    HostDisk disk;
    // Beyond the 8192 of a texture on both sides.
    AlphaPlane big;
    ASSERT_TRUE(big.reset(8400, 8300, 90));
    ASSERT_TRUE(saveLayerFile(platform::diskPath("campaigns\\Saga\\images\\big.png"), big));
    big.clear();
    ImageValue value;
    value.setImagePath("campaigns\\Saga\\images\\big.png");
    ASSERT_TRUE(value.Open(nullptr));
    EXPECT_EQ(value.width, 8400);
    value.CreateMask();
    render::RecordingRenderContext screen;
    value.DrawLayers(screen, -8000, -8000, 0xFFFFFFFF, {0, 0, 1024, 768});
    EXPECT_EQ(screen.calls.size(), 4u);  // of 81 tiles, the four on the screen
    EXPECT_TRUE(value.compositeChange().isEmpty());

    value.ApplyPolygon(square(8200, 8100, 8300, 8150));
    EXPECT_EQ(value.compositeChange(), (render::Rect{8200, 8100, 8301, 8151}));
    EXPECT_EQ(value.CompositePixel(8250, 8120), 0xFF5A5A5Au);
    EXPECT_EQ(value.CompositePixel(100, 100), 0x405A5A5Au);
    value.DrawSegment(8000, 10, 8100, 10, 255);
    value.DrawLayers(screen, 0, 0, 0xFFFFFFFF, {0, 0, 1024, 768});
    value.DrawSegment(8000, 20, 8100, 20, 255);
    EXPECT_EQ(value.drawingChange(), (render::Rect{7999, 19, 8102, 22}));
    value.Close(nullptr);
}
