// The seven die shapes: model vertices, how a face is read, and the numbers
// that the simulation and the drawing need about each.
#pragma once

#include <cstdint>
#include <span>

#include "dice/DiceMath.h"

namespace lh::dice {

enum DieShape : int32_t {
    kShapeD20 = 0,
    kShapeD12 = 1,
    kShapeD10 = 2,
    kShapeD8 = 3,
    kShapeD6 = 4,
    kShapeD4 = 5,
    kShapePercentile = 6,
};
constexpr int kShapeCount = 7;
constexpr int kMaxVertices = 20;
constexpr int kMaxPairs = kMaxVertices * (kMaxVertices - 1) / 2;
constexpr int kMaxVerticesPerReading = 5;

// One row of a face table: the value, and the vertices that are uppermost
// when the die shows it.
struct FaceRow {
    int32_t value;
    int32_t vertices[kMaxVerticesPerReading];
};

struct ShapeInfo {
    const char* dieTypeName;  // the die type that stands for the shape in results
    int32_t vertexCount;
    const Vec3* vertices;  // model space
    int32_t faceCount;
    int32_t verticesPerReading;
    const FaceRow* faces;  // faceCount rows, first match wins
    float restHeight;      // z of the centre when the die lies on a face
    int32_t referenceA;    // vertices that the orientation fit follows
    int32_t referenceB;
    float drawOffsetZ;  // added to z in the world matrix only
};

inline bool isValidShape(int32_t shape) {
    return shape >= 0 && shape < kShapeCount;
}

// The shape's description; `shape` must be valid.
const ShapeInfo& shapeInfo(int32_t shape);

// One vertex pair (i < j) and its index in the packed order (0,1), (0,2) ...
// (0,n-1), (1,2) ...
struct PairSlot {
    uint8_t i;
    uint8_t j;
    uint16_t pair;
};

// Every pair of a cloud of `vertexCount` points (at most kMaxVertices), in an
// order that touches each vertex's pairs in the same sequence as the packed
// order, but puts pairs that share no vertex next to each other, so that the
// work on them can overlap.
std::span<const PairSlot> pairOrder(int vertexCount);

}  // namespace lh::dice
