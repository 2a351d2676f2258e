// An image value on the host's disk: the picture loads, the mask hides and
// reveals, ink lands on the drawing layer, the layers are saved at the last
// close under names that do not collide, an erased drawing stays erased,
// and work that comes before the picture waits for it.
#include <gtest/gtest.h>

#include "db/Campaign.h"
#include "db/SessionMode.h"
#include "platform/Paths.h"
#include "support/TestPictures.h"
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
    // The layer is named at its first ink, and the program's exit writes
    // it while the map is still open.
    ASSERT_FALSE(value.drawingPath.empty());
    ImageValue::SaveOpenLayers();
    EXPECT_TRUE(std::filesystem::exists(platform::diskPath(value.drawingPath)));

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
    // Layers that did not change are not written again, at the exit or at
    // the close.
    const std::filesystem::path maskFile = platform::diskPath(value.maskPath);
    const auto old = std::filesystem::last_write_time(maskFile) - std::chrono::hours(48);
    std::filesystem::last_write_time(maskFile, old);
    ImageValue::SaveOpenLayers();
    value.Close(nullptr);
    EXPECT_EQ(std::filesystem::last_write_time(maskFile), old);
    ASSERT_TRUE(value.Open(nullptr));
    value.ApplyPolygon(square(20, 20, 25, 25));
    value.Close(nullptr);
    EXPECT_NE(std::filesystem::last_write_time(maskFile), old);
    ASSERT_TRUE(value.Open(nullptr));

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

    // A snapshot read in later: its reveals and ink join what came as
    // messages meanwhile, and the larger alpha of each pixel stays.
    AlphaPlane snapshot;
    snapshot.reset(40, 30, 0);
    for (int32_t y = 20; y < 25; ++y) snapshot.fillRun(y, 30, 40, 255);
    snapshot.ref(5, 5) = 100;   // less than the polygon gave it
    snapshot.ref(39, 0) = 77;
    ASSERT_TRUE(later.MergeSnapshot(SnapshotKind::Mask, encodeLayerPng(snapshot)));
    EXPECT_EQ(later.mask.at(5, 5), 255);
    EXPECT_EQ(later.mask.at(35, 22), 255);
    EXPECT_EQ(later.mask.at(39, 0), 77);
    EXPECT_EQ(later.mask.at(20, 15), 0);
    ASSERT_TRUE(later.MergeSnapshot(SnapshotKind::Drawing, encodeLayerPng(snapshot)));
    EXPECT_EQ(later.drawing.at(15, 25), 254);  // the stroke's own ink
    EXPECT_EQ(later.drawing.at(35, 22), 255);
    // A snapshot of another size is refused and changes nothing.
    AlphaPlane wrong;
    wrong.reset(41, 30, 255);
    EXPECT_FALSE(later.MergeSnapshot(SnapshotKind::Mask, encodeLayerPng(wrong)));
    EXPECT_EQ(later.mask.at(20, 15), 0);
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
    // Memory goes where pixels differ: the flat picture and a fresh mask
    // hold none of their own.
    EXPECT_EQ(value.base.heldBlocks(), 0u);
    value.CreateMask();
    EXPECT_EQ(value.mask.heldBlocks(), 0u);
    render::RecordingRenderContext screen;
    value.DrawLayers(screen, -8000, -8000, 0xFFFFFFFF, {0, 0, 1024, 768});
    EXPECT_EQ(screen.calls.size(), 4u);  // of 81 tiles, the four on the screen
    EXPECT_TRUE(value.compositeChange().isEmpty());

    value.ApplyPolygon(square(8200, 8100, 8300, 8150));
    EXPECT_EQ(value.compositeChange(), (render::Rect{8200, 8100, 8301, 8151}));
    EXPECT_EQ(value.CompositePixel(8250, 8120), 0xFF5A5A5Au);
    EXPECT_EQ(value.CompositePixel(100, 100), 0x405A5A5Au);
    EXPECT_EQ(value.madeTiles(), 4u);  // only what has been on the screen
    EXPECT_EQ(value.mask.heldBlocks(), 1u);
    value.DrawSegment(8000, 10, 8100, 10, 255);
    EXPECT_EQ(value.drawing.heldBlocks(), 1u);
    value.DrawLayers(screen, 0, 0, 0xFFFFFFFF, {0, 0, 1024, 768});
    EXPECT_EQ(value.madeTiles(), 5u);  // the corner's tile; the ink is off the screen
    value.DrawLayers(screen, -7800, 0, 0xFFFFFFFF, {0, 0, 1024, 768});
    EXPECT_EQ(value.madeTiles(), 5u + 2u + 1u);  // two of the map, one of ink: its neighbour is blank
    value.DrawSegment(8000, 20, 8100, 20, 255);
    EXPECT_EQ(value.drawingChange(), (render::Rect{7999, 19, 8102, 22}));
    // A pan over the whole picture keeps about a screenful of tiles on the
    // device: those longest off the screen give theirs back.
    for (int32_t y = 0; y < 8300; y += 1024)
        for (int32_t x = 0; x < 8400; x += 1024) value.DrawLayers(screen, -x, -y, 0xFFFFFFFF, {0, 0, 256, 256});
    EXPECT_LE(value.madeTiles(), 2 * LayerTiles::kKeptTiles);
    EXPECT_GE(value.madeTiles(), LayerTiles::kKeptTiles);
    // A mask revealed all over is flat again and gives its memory back;
    // so does an erased drawing.
    value.ApplyPolygon(square(-100, -100, 9000, 9000));
    EXPECT_EQ(value.mask.heldBlocks(), 0u);
    value.EraseDrawing(false);
    EXPECT_EQ(value.drawing.heldBlocks(), 0u);
    value.Close(nullptr);
}

TEST(ImageValue, AWideMapOf20000By12000KeepsItsLayersAcrossACloseInLittleMemory) {
    HostDisk disk;
    ASSERT_TRUE(test::writePngRows(platform::diskPath("campaigns\\Saga\\images\\wide.png"), 20000, 12000,
                                   [](uint32_t y, uint32_t* argb) {
                                       std::fill_n(argb, 20000, y < 256 ? 0xFF102030u : 0xFF4A6B3Cu);
                                   }));
    ImageValue value;
    value.setImagePath("campaigns\\Saga\\images\\wide.png");
    ASSERT_TRUE(value.Open(nullptr));
    EXPECT_EQ(value.width, 20000);
    EXPECT_EQ(value.height, 12000);
    EXPECT_EQ(value.base.heldBlocks(), 0u);  // two bands of one colour each
    value.CreateMask();
    value.ApplyPolygon(square(19900, 11900, 19990, 11990));
    value.DrawSegment(19000, 11950, 19999, 11950, 255);
    render::RecordingRenderContext screen;
    value.DrawLayers(screen, -(20000 - 1024), -(12000 - 768), 0xFFFFFFFF, {0, 0, 1024, 768});
    EXPECT_EQ(value.CompositePixel(19950, 11950), 0xFF4A6B3Cu);
    EXPECT_EQ(value.CompositePixel(100, 100), 0x40102030u);
    value.Close(nullptr);
    // Saved at the close, read back at the next open.
    ASSERT_TRUE(value.Open(nullptr));
    EXPECT_EQ(value.mask.at(19950, 11950), 255);
    EXPECT_EQ(value.mask.at(100, 100), 0);
    EXPECT_EQ(value.drawing.at(19500, 11950), 254);
    EXPECT_LE(value.mask.heldBlocks() + value.drawing.heldBlocks(), 8u);
    value.Close(nullptr);
}
