// The pixel rules of the map layers, as tables: the composite, the grid's
// colours, the even-odd reveal, the integer Wu line, and the geometry of
// pan limits and grid measuring; the block memory under the layers and the
// pictures read into it row by row.
#include <gtest/gtest.h>

#include <random>

#include "net/MessageCatalogue.h"
#include "platform/Spine.h"
#include "support/TestPictures.h"
#include "table/ImageMessages.h"
#include "table/LayerFile.h"
#include "table/LayerPixels.h"
#include "table/MapGeometry.h"
#include "table/MapPicture.h"
#include "table/TabletInput.h"

using namespace lh::table;
namespace render = lh::render;

namespace {

PicturePixels picture(int32_t w, int32_t h, uint32_t argb) {
    PicturePixels p;
    p.reset(w, h, argb);
    return p;
}

uint32_t composeOne(const CompositeInputs& in, int32_t x = 0, int32_t y = 0) {
    std::vector<uint32_t> out;
    composeAll(in, in.base ? in.base->width : 4, in.base ? in.base->height : 4, out);
    return out[size_t(y) * size_t(in.base ? in.base->width : 4) + size_t(x)];
}

}  // namespace

TEST(LayerPixels, CompositeRulesForHostAndPlayers) {
    PicturePixels base = picture(4, 4, 0x00336699);  // alpha 0 in the file: shown opaque
    AlphaPlane mask;
    ASSERT_TRUE(mask.reset(4, 4, 0));
    mask.ref(1, 0) = 30;
    mask.ref(2, 0) = 200;
    mask.ref(3, 0) = 255;
    struct Row {
        const AlphaPlane* mask;
        bool named, host;
        int32_t x;
        uint32_t expected;
    } rows[] = {
        {nullptr, false, false, 0, 0xFF336699},  // no mask: the picture, opaque
        {nullptr, true, false, 0, 0x00000000},   // mask known, not here yet: nothing
        {nullptr, true, true, 0, 0x00000000},
        {&mask, true, false, 0, 0x00336699},  // hidden from a player
        {&mask, true, true, 0, 0x40336699},   // the host sees it darkly
        {&mask, true, true, 1, 0x40336699},   // under 64 is raised to 64
        {&mask, true, false, 1, 0x1E336699},
        {&mask, true, true, 2, 0xC8336699},
        {&mask, true, false, 3, 0xFF336699},
    };
    for (const Row& r : rows) {
        CompositeInputs in{&base, r.mask, r.named, r.host, {}};
        EXPECT_EQ(composeOne(in, r.x, 0), r.expected) << "x " << r.x << " host " << r.host;
    }
    // No base at all: cleared.
    CompositeInputs none{nullptr, nullptr, false, true, {}};
    EXPECT_EQ(composeOne(none), 0u);
}

TEST(LayerPixels, GridColoursAndPlaces) {
    struct Row {
        uint32_t in, out;
    } rows[] = {
        {0x00123456, 0x40000000},  // transparent: black at alpha 64
        {0xFF808080, 0xFF606060},  // light: three quarters
        {0xFF201F00, 0xFF181700},  // one channel at 32 is enough
        {0xFF000000, 0xFF3F3F3F},  // black map: (0 + 85) * 3 / 4
        {0xFF1F1F1F, 0xFF575757},  // (31 + 85) * 3 / 4
        {0x40808080, 0x80606060},  // partly hidden: a + 64
        {0xF0808080, 0xFF606060},  // a + 64 stops at 255
    };
    for (const Row& r : rows) EXPECT_EQ(gridPixel(r.in), r.out) << std::hex << r.in;

    // Lines at offset + k x size, the crossing darkened once.
    PicturePixels base = picture(20, 20, 0xFF808080);
    CompositeInputs in{&base, nullptr, false, false, {8, 3, -6}};  // offset y -6 is 2
    std::vector<uint32_t> out;
    composeAll(in, 20, 20, out);
    auto at = [&](int x, int y) { return out[size_t(y) * 20 + size_t(x)]; };
    EXPECT_EQ(at(3, 0), 0xFF606060u);
    EXPECT_EQ(at(11, 5), 0xFF606060u);
    EXPECT_EQ(at(19, 2), 0xFF606060u);
    EXPECT_EQ(at(0, 10), 0xFF606060u);
    EXPECT_EQ(at(3, 2), 0xFF606060u);  // crossing: once, not twice
    EXPECT_EQ(at(4, 3), 0xFF808080u);
    // A box rebuilt alone gives the same pixels as the whole.
    std::vector<uint32_t> tile(5 * 4, 0);
    composeBox(in, 20, 20, {9, 1, 14, 5}, tile.data(), 5, 9, 1);
    for (int y = 1; y < 5; ++y)
        for (int x = 9; x < 14; ++x) EXPECT_EQ(tile[size_t(y - 1) * 5 + size_t(x - 9)], at(x, y));
}

TEST(LayerPixels, EvenOddRevealStaysInItsBox) {
    AlphaPlane mask;
    ASSERT_TRUE(mask.reset(100, 100, 0));
    // A five-pointed star drawn in one stroke crosses itself: its centre
    // is inside twice, which the even-odd rule leaves hidden.
    std::vector<uint32_t> star = {packPoint(50, 5), packPoint(78, 90), packPoint(5, 35), packPoint(95, 35),
                                  packPoint(22, 90)};
    render::Rect box = revealPolygon(mask, star);
    EXPECT_EQ(box, (render::Rect{5, 5, 96, 91}));
    EXPECT_EQ(mask.at(50, 55), 0);     // the pentagon in the middle
    EXPECT_EQ(mask.at(50, 15), 255);   // the top point
    EXPECT_EQ(mask.at(15, 37), 255);   // the left point
    EXPECT_EQ(mask.at(2, 2), 0);       // outside
    size_t revealed = 0;
    for (int y = 0; y < 100; ++y)
        for (int x = 0; x < 100; ++x) {
            if (!mask.at(x, y)) continue;
            ++revealed;
            EXPECT_TRUE(box.contains(x, y)) << x << "," << y;
        }
    EXPECT_GT(revealed, 1000u);

    // Fewer than three points reveal nothing.
    AlphaPlane other;
    ASSERT_TRUE(other.reset(10, 10, 0));
    EXPECT_TRUE(revealPolygon(other, std::vector<uint32_t>{packPoint(0, 0), packPoint(9, 9)}).isEmpty());
    EXPECT_FALSE(other.anyOtherThan(other.bounds(), 0));
    // Points at the ends of the 16-bit range are cut to the plane before
    // anything is made: the whole plane, nothing beyond it.
    std::vector<uint32_t> huge = {packPoint(-32767, -32767), packPoint(32767, -32767), packPoint(32767, 32767),
                                  packPoint(-32767, 32767)};
    EXPECT_EQ(polygonBox(huge, other.bounds()), other.bounds());
    revealPolygon(other, huge);
    EXPECT_FALSE(other.anyOtherThan(other.bounds(), 255));
}

TEST(LayerPixels, WuLineGoldenAlphas) {
    AlphaPlane plane;
    ASSERT_TRUE(plane.reset(8, 4, 0));
    drawSegment(plane, 0, 0, 5, 2, 255);
    struct Pixel {
        int x, y;
        uint8_t alpha;
    } golden[] = {{0, 0, 254}, {1, 0, 152}, {1, 1, 101}, {2, 0, 50}, {2, 1, 203},
                  {3, 1, 203}, {3, 2, 50},  {4, 1, 101}, {4, 2, 152}, {5, 2, 0}};
    for (const Pixel& p : golden) EXPECT_EQ(plane.at(p.x, p.y), p.alpha) << p.x << "," << p.y;
    // Drawn from the other end: ordered by y first, the same ink.
    AlphaPlane back;
    ASSERT_TRUE(back.reset(8, 4, 0));
    drawSegment(back, 5, 2, 0, 0, 255);
    EXPECT_TRUE(back == plane);

    // Straight lines are solid and include their end: a mouse gives 254,
    // a second pass saturates at 255; a light pen is fainter.
    AlphaPlane line;
    ASSERT_TRUE(line.reset(6, 6, 0));
    drawSegment(line, 0, 1, 4, 1, 255);
    EXPECT_EQ(line.at(0, 1), 254);
    EXPECT_EQ(line.at(4, 1), 254);
    EXPECT_EQ(line.at(5, 1), 0);
    drawSegment(line, 0, 1, 4, 1, 255);
    EXPECT_EQ(line.at(2, 1), 255);
    drawSegment(line, 2, 2, 2, 5, 64);
    EXPECT_EQ(line.at(2, 4), 63);
    drawSegment(line, 2, 2, 2, 5, 64);
    EXPECT_EQ(line.at(2, 4), 126);
    drawSegment(line, 0, 0, 3, 3, 255);  // the diagonal
    EXPECT_EQ(line.at(3, 3), 254);

    // Ink off the plane is skipped, whatever the wire says.
    drawSegment(line, -32767, -5, 32767, 30000, 255);
}

// The platform's pen packets set the pressure a stroke point takes; a pen
// that leaves hands the stroke back to the mouse at full strength.
TEST(TabletInput, PenPacketsSetTheStrokesPressure) {
    TabletInput& tablet = TabletInput::get();
    tablet.listen();
    lh::platform::spine().penPacket.emit(true, 400);
    EXPECT_TRUE(tablet.penInRange());
    EXPECT_EQ(tablet.strokePressure(), 100);
    AlphaPlane light, full;
    ASSERT_TRUE(light.reset(6, 3, 0));
    ASSERT_TRUE(full.reset(6, 3, 0));
    drawSegment(light, 0, 1, 5, 1, tablet.strokePressure());
    lh::platform::spine().penPacket.emit(false, 0);
    EXPECT_EQ(tablet.strokePressure(), 255);
    drawSegment(full, 0, 1, 5, 1, tablet.strokePressure());
    EXPECT_EQ(light.at(2, 1), 99);
    EXPECT_EQ(full.at(2, 1), 254);
    tablet.inject(true, 5000);  // beyond the pen's range: its hardest
    EXPECT_EQ(tablet.strokePressure(), 255);
    tablet.inject(false, 0);
}

TEST(LayerPixels, SplitStrokesInkLikeOne) {
    std::mt19937 random(7);
    std::vector<StrokePoint> stroke;
    for (int i = 0; i < 4000; ++i)
        stroke.push_back({packPoint(int32_t(random() % 300), int32_t(random() % 200)), uint8_t(random() % 256)});
    AlphaPlane whole, pieces;
    ASSERT_TRUE(whole.reset(300, 200, 0));
    ASSERT_TRUE(pieces.reset(300, 200, 0));
    auto ink = [](AlphaPlane& plane, const std::vector<StrokePoint>& s) {
        for (size_t i = 1; i < s.size(); ++i)
            drawSegment(plane, pointX(s[i - 1].point), pointY(s[i - 1].point), pointX(s[i].point), pointY(s[i].point),
                        s[i - 1].pressure);
    };
    ink(whole, stroke);
    const std::string path = "image.00001.image";
    auto split = splitStroke(stroke, strokeCapacity(path.size()));
    ASSERT_GE(split.size(), 3u);
    for (const auto& piece : split) {
        lh::net::NetMessage m;
        encodeStroke(lh::net::tags::DRSTQ, path, piece, m);
        EXPECT_LE(m.body.size(), kMapBodyLimit);
        std::string back;
        std::vector<StrokePoint> decoded;
        std::string why;
        ASSERT_TRUE(decodeStroke(m, back, decoded, why)) << why;
        ink(pieces, decoded);
    }
    EXPECT_TRUE(whole == pieces);

    // An outline is thinned to one message, never cut.
    std::vector<uint32_t> outline(4000);
    for (size_t i = 0; i < outline.size(); ++i) outline[i] = packPoint(int32_t(i % 500), int32_t(i / 500));
    auto thin = thinOutline(outline, polygonCapacity(path.size()));
    EXPECT_EQ(thin.size(), polygonCapacity(path.size()));
    EXPECT_EQ(thin.front(), outline.front());
    EXPECT_EQ(thin.back(), outline.back());
}

TEST(MapGeometry, PanLimitsGridMeasureAndMapping) {
    struct Pan {
        int32_t view, pan, viewSize, pictureSize, expected;
    } pans[] = {
        {0, -50, 300, 100, 0},     // small picture: not left of the control
        {0, 250, 300, 100, 200},   // up to 200 right
        {0, 120, 300, 100, 120},
        {0, 50, 300, 1000, 0},     // big picture: never a gap at the left
        {0, -900, 300, 1000, -700},
        {-100, -50, 300, 1000, -50},
        {0, 0, 300, 300, 0},       // exactly the size: nowhere to go
        {0, 10, 300, 300, 0},
    };
    for (const Pan& p : pans)
        EXPECT_EQ(limitPan(p.view, p.pan, p.viewSize, p.pictureSize), p.expected)
            << p.view << " " << p.pan << " " << p.viewSize << " " << p.pictureSize;
    EXPECT_EQ(limitView(-900, 300, 1000), -700);

    MeasuredGrid g = measureGrid(10, 10, 60, 40);
    EXPECT_TRUE(g.valid);
    EXPECT_EQ(g.size, 50);
    EXPECT_EQ(g.offsetX, 10);
    EXPECT_EQ(g.offsetY, 10);
    EXPECT_FALSE(measureGrid(10, 10, 10, 10).valid);  // a click changes nothing
    g = measureGrid(-120, 30, -150, -10);             // a scrolled map, dragged up and left
    EXPECT_EQ(g.size, 40);
    EXPECT_EQ(g.offsetX, 0);
    EXPECT_EQ(g.offsetY, 30);
    EXPECT_EQ(measureSquare(10, 10, 60, 40), (render::Rect{10, 10, 60, 60}));
    EXPECT_EQ(measureSquare(60, 40, 10, 30), (render::Rect{10, -10, 60, 40}));

    MapScroll s{-100, -40, 10, 0};
    int32_t px, py, cx, cy;
    controlToPicture(s, 200, 100, 50, 500, px, py);  // below the control: held to its last row
    EXPECT_EQ(px, 140);
    EXPECT_EQ(py, 139);
    pictureToControl(s, px, py, cx, cy);
    EXPECT_EQ(cx, 50);
    EXPECT_EQ(cy, 99);
    GridCell c = cellOf(50, 10, 10, 9, 60);
    EXPECT_EQ(c.column, -1);
    EXPECT_EQ(c.row, 1);
    EXPECT_EQ(cellRect(50, 10, 10, c), (render::Rect{-40, 60, 10, 110}));
}

TEST(BlockPlane, MemoryOnlyWhereThePixelsDiffer) {
    AlphaPlane plane;
    ASSERT_TRUE(plane.reset(1000, 600, 0));  // 4 x 3 blocks, the last ones cut
    EXPECT_EQ(plane.heldBlocks(), 0u);
    EXPECT_FALSE(plane.reset(32768, 10, 0));
    EXPECT_FALSE(plane.reset(20000, 20001, 0));  // beyond the area the layers may take
    ASSERT_TRUE(plane.reset(1000, 600, 0));
    // A run across a block edge, a run that changes nothing, a pixel.
    plane.fillRun(10, 250, 262, 255);
    plane.fillRun(300, 0, 1000, 0);
    plane.ref(999, 599) = 7;
    EXPECT_EQ(plane.heldBlocks(), 3u);
    std::vector<uint8_t> row(20);
    plane.readRow(10, 245, 265, row.data());
    EXPECT_EQ(std::count(row.begin(), row.end(), 255), 12);
    EXPECT_EQ(row[4], 0);
    EXPECT_EQ(row[5], 255);
    EXPECT_TRUE(plane.anyOtherThan({990, 590, 1000, 600}, 0));
    EXPECT_TRUE(plane.anyOtherThan({0, 100, 1000, 600}, 7));
    EXPECT_FALSE(plane.anyOtherThan({300, 0, 1000, 599}, 0));
    // Back to one value: the rim block counts only what lies in the plane.
    plane.ref(999, 599) = 0;
    plane.compact(plane.bounds());
    EXPECT_EQ(plane.heldBlocks(), 2u);
    std::vector<uint8_t> full(1000, 255);
    for (int32_t y = 0; y < 256; ++y) plane.writeRow(y, 0, 1000, full.data());
    plane.compact({0, 0, 1000, 256});
    EXPECT_EQ(plane.heldBlocks(), 0u);
    EXPECT_EQ(plane.at(600, 200), 255);
    EXPECT_EQ(plane.at(600, 256), 0);
    plane.clear();
    EXPECT_TRUE(plane.empty());
}

TEST(MapPicture, RowsFromPngsOtherFormatsAndHostileBytes) {
    // A layer file read back row by row is the same plane.
    AlphaPlane plane;
    ASSERT_TRUE(plane.reset(300, 280, 0));
    drawSegment(plane, 0, 0, 299, 270, 255);
    std::vector<uint8_t> file = encodeLayerPng(plane);
    AlphaPlane back;
    ASSERT_TRUE(decodeAlphaPicture(file.data(), file.size(), 300, 280, back));
    EXPECT_TRUE(back == plane);
    EXPECT_FALSE(decodeAlphaPicture(file.data(), file.size(), 301, 280, back));  // not the map's size
    EXPECT_TRUE(back.empty());
    // A picture with alpha, and a JPEG that the row reader leaves to the
    // decoder of whole pictures.
    std::vector<uint32_t> argb(6 * 4, 0x80102030u);
    argb[5] = 0xFFFFFFFFu;
    std::vector<uint8_t> png = lh::test::encodePng(6, 4, argb);
    PicturePixels picture;
    ASSERT_TRUE(decodeMapPicture(png.data(), png.size(), picture));
    EXPECT_EQ(picture.width, 6);
    EXPECT_EQ(picture.at(5, 0), 0xFFFFFFFFu);
    EXPECT_EQ(picture.at(0, 3) & 0xFFFFFF, 0x102030u);
    std::vector<uint8_t> jpeg = lh::test::encodeJpeg(20, 10, 255, 0, 0);
    ASSERT_TRUE(decodeMapPicture(jpeg.data(), jpeg.size(), picture));
    EXPECT_EQ(picture.height, 10);
    EXPECT_GT((picture.at(10, 5) >> 16) & 0xFF, 0xF0u);
    // Cut short, bent, claiming a size beyond the limits, or nothing.
    for (size_t keep : {size_t(8), size_t(40), file.size() / 2, file.size() - 4}) {
        std::vector<uint8_t> cut(file.begin(), file.begin() + ptrdiff_t(keep));
        EXPECT_FALSE(decodeAlphaPicture(cut.data(), cut.size(), 0, 0, back)) << keep;
        EXPECT_TRUE(back.empty());
    }
    std::vector<uint8_t> bent = file;
    bent[file.size() / 2] ^= 0x55;
    decodeAlphaPicture(bent.data(), bent.size(), 0, 0, back);  // either way, no crash
    std::vector<uint8_t> huge = lh::test::encodePng(1, 1, {0xFF000000u});
    huge[16] = 0x00, huge[17] = 0x00, huge[18] = 0x9C, huge[19] = 0x40;  // a width of 40000, CRC now wrong too
    EXPECT_FALSE(decodeMapPicture(huge.data(), huge.size(), picture));
    EXPECT_TRUE(picture.empty());
    EXPECT_FALSE(decodeMapPicture(nullptr, 0, picture));
    EXPECT_FALSE(loadMapPicture("/nonexistent/map.png", picture));
}
