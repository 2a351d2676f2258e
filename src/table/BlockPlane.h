// The memory of a map layer, in square blocks. A block whose pixels are
// all one value holds only that value: a mask costs the parts revealed in
// part, a drawing layer the places that have ink, a flat picture next to
// nothing, and clearing a plane gives all of it back. Reads and writes go
// by runs of one row, so no caller needs the whole picture in one piece.
#pragma once

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <memory>
#include <vector>

#include "render/Rect.h"

namespace lh::table {

template <typename Pixel>
class BlockPlane {
public:
    static constexpr int32_t kBlockShift = 8;
    static constexpr int32_t kBlockSide = 1 << kBlockShift;

    int32_t width = 0, height = 0;

    bool empty() const { return blocks.empty(); }
    render::Rect bounds() const { return {0, 0, width, height}; }

    // Every pixel `fill`; no block memory is taken. The caller checks the
    // size against its own limits first.
    void reset(int32_t w, int32_t h, Pixel fill) {
        clear();
        if (w <= 0 || h <= 0) return;
        width = w;
        height = h;
        across = (w + kBlockSide - 1) >> kBlockShift;
        blocks.resize(size_t(across) * size_t((h + kBlockSide - 1) >> kBlockShift));
        for (Block& b : blocks) b.uniform = fill;
    }
    void clear() {
        std::vector<Block>().swap(blocks);
        width = height = across = 0;
    }

    Pixel at(int32_t x, int32_t y) const {
        const Block& b = blockAt(x, y);
        return b.pixels ? b.pixels[offsetIn(x, y)] : b.uniform;
    }
    // The pixel to change; its block gets memory of its own first.
    Pixel& ref(int32_t x, int32_t y) { return held(x, y)[offsetIn(x, y)]; }

    // Row y from x0 up to x1 (inside the plane) into `out`.
    void readRow(int32_t y, int32_t x0, int32_t x1, Pixel* out) const {
        while (x0 < x1) {
            const int32_t n = std::min(x1, blockEnd(x0)) - x0;
            const Block& b = blockAt(x0, y);
            if (b.pixels) {
                std::copy_n(&b.pixels[offsetIn(x0, y)], n, out);
            } else {
                fillPixels(out, size_t(n), b.uniform);
            }
            out += n;
            x0 += n;
        }
    }
    // Row y from x0 up to x1 from `in`; a run that leaves a uniform block
    // as it was takes no memory.
    void writeRow(int32_t y, int32_t x0, int32_t x1, const Pixel* in) {
        while (x0 < x1) {
            const int32_t n = std::min(x1, blockEnd(x0)) - x0;
            Block& b = blockAt(x0, y);
            if (b.pixels || !allAre(in, size_t(n), b.uniform))
                std::copy_n(in, n, &held(x0, y)[offsetIn(x0, y)]);
            in += n;
            x0 += n;
        }
    }
    // Loading a picture: every row in turn, top to bottom, each whole.
    // A block takes the first pixel of its first row as its value, and a
    // band of blocks, once complete, gives back the memory of those that
    // came out all one value: a flat picture never holds more than a band.
    void loadRow(int32_t y, const Pixel* in) {
        if ((y & (kBlockSide - 1)) == 0) {
            for (int32_t bx = 0; bx < across; ++bx) {
                Block& b = blocks[size_t(y >> kBlockShift) * size_t(across) + size_t(bx)];
                if (!b.pixels) b.uniform = in[size_t(bx) << kBlockShift];
            }
        }
        writeRow(y, 0, width, in);
        if (((y + 1) & (kBlockSide - 1)) == 0 || y + 1 == height) compact({0, y & ~(kBlockSide - 1), width, y + 1});
    }
    void fillRun(int32_t y, int32_t x0, int32_t x1, Pixel value) {
        while (x0 < x1) {
            const int32_t n = std::min(x1, blockEnd(x0)) - x0;
            Block& b = blockAt(x0, y);
            if (b.pixels || b.uniform != value) fillPixels(&held(x0, y)[offsetIn(x0, y)], size_t(n), value);
            x0 += n;
        }
    }

    // True when some pixel of `box` (inside the plane) differs from `value`.
    bool anyOtherThan(const render::Rect& box, Pixel value) const {
        for (int32_t by = box.top >> kBlockShift; by <= (box.bottom - 1) >> kBlockShift; ++by) {
            for (int32_t bx = box.left >> kBlockShift; bx <= (box.right - 1) >> kBlockShift; ++bx) {
                const Block& b = blocks[size_t(by) * size_t(across) + size_t(bx)];
                if (!b.pixels) {
                    if (b.uniform != value) return true;
                    continue;
                }
                const render::Rect part = render::intersect(box, blockArea(bx, by));
                for (int32_t y = part.top; y < part.bottom; ++y) {
                    const Pixel* row = &b.pixels[offsetIn(part.left, y)];
                    if (!allAre(row, size_t(part.width()), value)) return true;
                }
            }
        }
        return false;
    }

    // The blocks that `box` touches and that became one value again give
    // their memory back.
    void compact(const render::Rect& area) {
        const render::Rect box = render::intersect(area, bounds());
        if (box.isEmpty()) return;
        for (int32_t by = box.top >> kBlockShift; by <= (box.bottom - 1) >> kBlockShift; ++by) {
            for (int32_t bx = box.left >> kBlockShift; bx <= (box.right - 1) >> kBlockShift; ++bx) {
                Block& b = blocks[size_t(by) * size_t(across) + size_t(bx)];
                if (!b.pixels) continue;
                // Only what lies inside the plane counts: a block on the rim
                // has pixels beyond it that nothing ever writes.
                const render::Rect part = render::intersect(blockArea(bx, by), bounds());
                const Pixel first = b.pixels[0];
                bool same = true;
                for (int32_t y = part.top; y < part.bottom && same; ++y) {
                    const Pixel* row = &b.pixels[offsetIn(part.left, y)];
                    same = allAre(row, size_t(part.width()), first);
                }
                if (same) {
                    b.pixels.reset();
                    b.uniform = first;
                }
            }
        }
    }

    // Blocks with memory of their own, and the bytes they hold.
    size_t heldBlocks() const {
        return size_t(std::count_if(blocks.begin(), blocks.end(), [](const Block& b) { return bool(b.pixels); }));
    }
    size_t heldBytes() const { return heldBlocks() * blockPixels * sizeof(Pixel); }

    friend bool operator==(const BlockPlane& a, const BlockPlane& b) {
        if (a.width != b.width || a.height != b.height) return false;
        std::vector<Pixel> ra(size_t(a.width)), rb(size_t(a.width));
        for (int32_t y = 0; y < a.height; ++y) {
            a.readRow(y, 0, a.width, ra.data());
            b.readRow(y, 0, b.width, rb.data());
            if (ra != rb) return false;
        }
        return true;
    }

private:
    // Whether all n pixels are `value`: compared as memory, quick even in
    // a build without optimisation.
    static bool allAre(const Pixel* p, size_t n, Pixel value) {
        return n == 0 || (p[0] == value && std::memcmp(p, p + 1, (n - 1) * sizeof(Pixel)) == 0);
    }

    // A fill by doubling copies: quick even without optimisation.
    static void fillPixels(Pixel* p, size_t n, Pixel value) {
        if (n == 0) return;
        p[0] = value;
        for (size_t done = 1; done < n; done *= 2) std::memcpy(p + done, p, std::min(done, n - done) * sizeof(Pixel));
    }

    static constexpr size_t blockPixels = size_t(kBlockSide) * kBlockSide;
    struct Block {
        std::unique_ptr<Pixel[]> pixels;  // null: every pixel is `uniform`
        Pixel uniform{};
    };

    static int32_t blockEnd(int32_t x) { return ((x >> kBlockShift) + 1) << kBlockShift; }
    static size_t offsetIn(int32_t x, int32_t y) {
        return size_t(y & (kBlockSide - 1)) * kBlockSide + size_t(x & (kBlockSide - 1));
    }
    static render::Rect blockArea(int32_t bx, int32_t by) {
        return {bx << kBlockShift, by << kBlockShift, (bx + 1) << kBlockShift, (by + 1) << kBlockShift};
    }
    const Block& blockAt(int32_t x, int32_t y) const {
        return blocks[size_t(y >> kBlockShift) * size_t(across) + size_t(x >> kBlockShift)];
    }
    Block& blockAt(int32_t x, int32_t y) {
        return blocks[size_t(y >> kBlockShift) * size_t(across) + size_t(x >> kBlockShift)];
    }
    Pixel* held(int32_t x, int32_t y) {
        Block& b = blockAt(x, y);
        if (!b.pixels) {
            // Blocks at the right and bottom edges are whole too: one size
            // keeps the offsets simple, at a little memory on the rims.
            b.pixels = std::make_unique_for_overwrite<Pixel[]>(blockPixels);
            fillPixels(b.pixels.get(), blockPixels, b.uniform);
        }
        return b.pixels.get();
    }

    int32_t across = 0;
    std::vector<Block> blocks;
};

}  // namespace lh::table
