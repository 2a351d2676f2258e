// Vertex and face tables of the seven die shapes.
#include "dice/DieShapes.h"

#include <array>
#include <cassert>

namespace lh::dice {

namespace {

const Vec3 kIcosahedron[12] = {
    {0.850651f, 0.0f, 0.525731f},  {0.850651f, 0.0f, -0.525731f},  {0.525731f, 0.850651f, 0.0f},
    {0.525731f, -0.850651f, 0.0f}, {0.0f, -0.525731f, 0.850651f},  {0.0f, 0.525731f, 0.850651f},
    {0.0f, 0.525731f, -0.850651f}, {0.0f, -0.525731f, -0.850651f}, {-0.525731f, -0.850651f, 0.0f},
    {-0.850651f, 0.0f, 0.525731f}, {-0.525731f, 0.850651f, 0.0f},  {-0.850651f, 0.0f, -0.525731f},
};

const Vec3 kDodecahedron[20] = {
    {0.519615f, -0.519615f, 0.519615f},   {0.32114f, 0.0f, 0.840755f},
    {-0.32114f, 0.0f, 0.840755f},         {-0.519615f, -0.519615f, 0.519615f},
    {0.0f, -0.840755f, 0.32114f},         {0.840755f, -0.32114f, 0.0f},
    {0.519615f, -0.519615f, -0.519615f},  {0.32114f, 0.0f, -0.840755f},
    {0.519615f, 0.519615f, -0.519615f},   {0.840755f, 0.32114f, 0.0f},
    {0.0f, 0.840755f, -0.32114f},         {0.0f, 0.840755f, 0.32114f},
    {0.519615f, 0.519615f, 0.519615f},    {-0.840755f, -0.32114f, 0.0f},
    {-0.519615f, -0.519615f, -0.519615f}, {0.0f, -0.840755f, -0.32114f},
    {-0.519615f, 0.519615f, -0.519615f},  {-0.840755f, 0.32114f, 0.0f},
    {-0.519615f, 0.519615f, 0.519615f},   {-0.32114f, 0.0f, -0.840755f},
};

const Vec3 kTrapezohedron[12] = {
    {0.809017f, 0.0f, -0.587785f},
    {0.309017f, -0.2169f, -0.951056f},
    {-0.309017f, 0.0f, -0.951056f},
    {-0.809017f, -0.2169f, -0.587785f},
    {-1.0f, 0.0f, 0.0f},
    {-0.809017f, -0.2169f, 0.587785f},
    {-0.309017f, 0.0f, 0.951057f},
    {0.309017f, -0.2169f, 0.951057f},
    {0.809017f, 0.0f, 0.587785f},
    {1.0f, -0.2169f, 0.0f},
    {0.0f, 0.9f, 0.0f},
    {0.0f, -1.1169f, 0.0f},
};

const Vec3 kOctahedron[6] = {
    {1.1f, 0.0f, 0.0f},  {0.0f, 1.1f, 0.0f},  {0.0f, 0.0f, 1.1f},
    {0.0f, -1.1f, 0.0f}, {0.0f, 0.0f, -1.1f}, {-1.1f, 0.0f, 0.0f},
};

const Vec3 kCube[8] = {
    {-0.625f, -0.625f, 0.625f},  {0.625f, -0.625f, 0.625f},  {-0.625f, 0.625f, 0.625f},
    {0.625f, 0.625f, 0.625f},    {-0.625f, 0.625f, -0.625f}, {0.625f, 0.625f, -0.625f},
    {-0.625f, -0.625f, -0.625f}, {0.625f, -0.625f, -0.625f},
};

const Vec3 kTetrahedron[4] = {
    {0.0f, -0.386236f, -1.029962f},
    {-0.891973f, -0.386236f, 0.514981f},
    {0.891973f, -0.386236f, 0.514981f},
    {0.0f, 1.1f, 0.0f},
};

const FaceRow kD20Faces[20] = {
    {1, {3, 7, 8}},   {2, {2, 6, 10}}, {3, {0, 3, 4}},    {4, {10, 9, 11}}, {5, {7, 6, 11}},
    {6, {5, 4, 9}},   {7, {1, 3, 7}},  {8, {0, 2, 5}},    {9, {4, 8, 9}},   {10, {0, 1, 2}},
    {11, {8, 9, 11}}, {12, {1, 2, 6}}, {13, {7, 8, 11}},  {14, {5, 10, 9}}, {15, {1, 7, 6}},
    {16, {0, 5, 4}},  {17, {0, 1, 3}}, {18, {6, 10, 11}}, {19, {3, 4, 8}},  {20, {2, 5, 10}},
};

const FaceRow kD12Faces[12] = {
    {1, {9, 12, 11, 8, 10}}, {2, {0, 5, 6, 4, 15}},      {3, {0, 1, 5, 9, 12}},      {4, {3, 2, 13, 17, 18}},
    {5, {1, 2, 11, 12, 18}}, {6, {0, 1, 4, 2, 3}},       {7, {8, 10, 7, 19, 16}},    {8, {6, 7, 15, 14, 19}},
    {9, {5, 6, 9, 8, 7}},    {10, {13, 14, 17, 19, 16}}, {11, {11, 10, 18, 17, 16}}, {12, {4, 15, 14, 3, 13}},
};

const FaceRow kD10Faces[10] = {
    {1, {10, 2, 1, 0}}, {2, {11, 3, 2, 1}}, {3, {10, 0, 8, 9}}, {4, {11, 9, 7, 8}}, {5, {10, 6, 4, 5}},
    {6, {11, 1, 0, 9}}, {7, {10, 4, 3, 2}}, {8, {11, 5, 3, 4}}, {9, {10, 8, 7, 6}}, {10, {11, 7, 6, 5}},
};

const FaceRow kD8Faces[8] = {
    {1, {0, 1, 4}}, {2, {3, 4, 5}}, {3, {1, 4, 5}}, {4, {0, 4, 3}},
    {5, {1, 2, 5}}, {6, {0, 2, 3}}, {7, {0, 2, 1}}, {8, {2, 3, 5}},
};

const FaceRow kD6Faces[6] = {
    {1, {0, 1, 6, 7}}, {2, {2, 0, 3, 1}}, {3, {0, 2, 4, 6}},
    {4, {1, 3, 5, 7}}, {5, {6, 4, 7, 5}}, {6, {2, 3, 4, 5}},
};

const FaceRow kD4Faces[4] = {{1, {1}}, {2, {2}}, {3, {0}}, {4, {3}}};

// The percentile die reads tens, and 0 where a d10 reads 10.
const FaceRow kPercentileFaces[10] = {
    {10, {10, 2, 1, 0}}, {20, {11, 3, 2, 1}}, {30, {10, 0, 8, 9}}, {40, {11, 9, 7, 8}}, {50, {10, 6, 4, 5}},
    {60, {11, 1, 0, 9}}, {70, {10, 4, 3, 2}}, {80, {11, 5, 3, 4}}, {90, {10, 8, 7, 6}}, {0, {11, 7, 6, 5}},
};

const ShapeInfo kShapes[kShapeCount] = {
    {"d20", 12, kIcosahedron, 20, 3, kD20Faces, -0.776933f, 0, 3, 0.0f},
    {"d12", 20, kDodecahedron, 12, 5, kD12Faces, -0.7009541f, 0, 13, 0.0f},
    {"d10", 12, kTrapezohedron, 10, 4, kD10Faces, -0.6555619f, 11, 3, 0.0f},
    {"d8", 6, kOctahedron, 8, 3, kD8Faces, -0.625286f, 0, 3, 0.0f},
    {"d6", 8, kCube, 6, 4, kD6Faces, -0.6182497f, 0, 3, 0.0f},
    {"d4", 4, kTetrahedron, 4, 1, kD4Faces, -0.3614838f, 3, 0, -0.2f},
    {"d10", 12, kTrapezohedron, 10, 4, kPercentileFaces, -0.6555619f, 11, 3, 0.0f},
};

using PairList = std::array<PairSlot, kMaxPairs>;

// Each pair gets a level one above the latest earlier pair that shares a
// vertex with it; listing the pairs level by level, each level in packed
// order, keeps the order of the pairs at every vertex. Pairs of one level
// share no vertex.
constexpr PairList buildPairOrder(int n) {
    int level[kMaxPairs] = {};
    int vertexLevel[kMaxVertices] = {};
    int top = 0;
    int k = 0;
    for (int i = 0; i < n; ++i) {
        for (int j = i + 1; j < n; ++j, ++k) {
            int l = (vertexLevel[i] > vertexLevel[j] ? vertexLevel[i] : vertexLevel[j]) + 1;
            level[k] = vertexLevel[i] = vertexLevel[j] = l;
            if (l > top) top = l;
        }
    }
    PairList order{};
    int out = 0;
    for (int l = 1; l <= top; ++l) {
        k = 0;
        for (int i = 0; i < n; ++i)
            for (int j = i + 1; j < n; ++j, ++k)
                if (level[k] == l)
                    order[static_cast<size_t>(out++)] = {static_cast<uint8_t>(i), static_cast<uint8_t>(j),
                                                         static_cast<uint16_t>(k)};
    }
    return order;
}

constexpr std::array<PairList, kMaxVertices + 1> buildPairOrders() {
    std::array<PairList, kMaxVertices + 1> all{};
    for (int n = 0; n <= kMaxVertices; ++n) all[static_cast<size_t>(n)] = buildPairOrder(n);
    return all;
}

constexpr std::array<PairList, kMaxVertices + 1> kPairOrders = buildPairOrders();

}  // namespace

const ShapeInfo& shapeInfo(int32_t shape) {
    assert(isValidShape(shape));
    return kShapes[shape];
}

std::span<const PairSlot> pairOrder(int vertexCount) {
    assert(vertexCount >= 0 && vertexCount <= kMaxVertices);
    return {kPairOrders[static_cast<size_t>(vertexCount)].data(),
            static_cast<size_t>(vertexCount * (vertexCount - 1) / 2)};
}

}  // namespace lh::dice
