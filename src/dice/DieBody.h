// One die of the simulation: a cloud of points (the vertices of its shape)
// held in shape by a damped spring between every pair of them. It has no
// mass and no rotation state; tumbling comes from the vertices' different
// velocities at a bounce. The orientation is only fitted afterwards, for
// drawing and for resetting the shape, and only when one of them asks.
//
// Units: world units (a die is about 1 across its radius), time in steps of
// 0.006 s, velocities in world units per step. z = 0 is the table and
// negative z lies above it.
#pragma once

#include <array>
#include <cstdint>

#include "dice/DiceMath.h"
#include "dice/DieShapes.h"

namespace lh::dice {

class DiceWorld;

// Rectangle in world x and y; top is greater than bottom.
struct Bounds {
    float left = 0.0f;
    float top = 0.0f;
    float right = 0.0f;
    float bottom = 0.0f;
};

enum ThrowMode : int32_t {
    kThrowRolling = 0,
    kThrowSpin = 1,
};

class DieBody {
public:
    // Lays the vertices out as in the model, with zero velocities, around the
    // origin. `shape` must be valid (see isValidShape).
    DieBody(DiceWorld& world, int32_t shape, uint32_t bodyColor, uint32_t colorFlags);

    DieBody(const DieBody&) = delete;
    DieBody& operator=(const DieBody&) = delete;

    void SetOrientation(float yaw, float pitch, float roll);
    // Lays the model out turned by `rotation` around `center`.
    void SetOrientation(const Matrix4& rotation);
    void MoveTo(Vec3 point);
    // Back to the exact model shape, turned by `orientation()`, around `center`.
    void Rebuild();
    // Recomputes `center` from the vertices, and the orientation from the
    // vertices as they are now. The orientation is worked out when first
    // asked for: most steps of a rolling die never need it, and working it
    // out later from the same vertices gives the same numbers.
    void Fit();
    // Pure rotation.
    const Matrix4& orientation() const;
    // For drawing: the orientation moved to `center`, plus the shape's draw
    // offset.
    Matrix4 worldMatrix() const;
    void ClampIntoArea();
    void ZeroVelocities();
    void Throw(Vec3 velocity, int32_t mode);
    void Step();
    // The value on top: a face reading, or a fallback chosen from the die's
    // own state when no face matches (still the same on every machine).
    int32_t ReadValue() const;
    // The face reading alone, or -1 when the uppermost vertices form no face.
    int32_t ReadFace() const;

    // Starts a throw from exactly these numbers: the same call on the thrower
    // and on every receiver gives the same path, bit for bit. `orientation`
    // should be a rotation; `velocity` is capped by Throw.
    void Launch(const Matrix4& startOrientation, Vec3 startCenter, Vec3 velocity, int32_t mode);

    const ShapeInfo& info() const { return *shapeData; }
    const Bounds& collisionBounds() const;
    Vec3 position(int vertex) const { return positions[vertex]; }
    Vec3 velocity(int vertex) const { return velocities[vertex]; }
    void setPosition(int vertex, Vec3 p) {
        orientation();  // a fit asked for before stays the fit of the vertices then
        positions[vertex] = p;
    }
    void setVelocity(int vertex, Vec3 v) { velocities[vertex] = v; }

    // State that the scene reads and sets directly.
    DiceWorld* world;
    int32_t shape;
    int32_t vertexCount;
    Vec3 center;
    int32_t rollGroup = 0;  // 0 when the die belongs to no running roll
    bool held = false;
    bool atRest = false;
    bool finished = false;  // came to rest after a throw and reported
    int32_t stepCount = 0;
    bool inRollArea = false;
    uint32_t bodyColor;
    uint32_t colorFlags;

    // The pair constraints of a step, which depend on nothing but the die:
    // SolvePairs works them out for up to kPairGroup moving dice at once,
    // without changing the dice, and stepWithPairsSolved then steps a die
    // with the velocities they gave. Together they give exactly what Step
    // gives, as long as nothing changes the die between the two.
    static constexpr int kPairGroup = 12;
    using PairVelocities = std::array<Vec3, kMaxVertices>;
    static void SolvePairs(DieBody* const* dice, int count, PairVelocities* out);
    void stepWithPairsSolved(const PairVelocities* solved);

    struct PairTerms;

private:
    // Fills the terms of every pair; true when the points of some pair coincide.
    bool computePairTerms(PairTerms& terms) const;
    int collide(int vertex, float tangential, const Bounds& bounds);
    bool restTestPasses() const;
    void recomputeCenter();
    void recoverFromNonFinite();
    void fitOrientation() const;

    const ShapeInfo* shapeData;
    // Fixed for the shape, worked out once: 1 / vertexCount, and the
    // direction of reference vertex A in the model.
    float inverseCount;
    Vec3 referenceDirectionA;
    std::array<Vec3, kMaxVertices> positions{};
    std::array<Vec3, kMaxVertices> velocities{};
    // The orientation, and whether it must still be fitted to the vertices,
    // whose mean was then `fitCenter`.
    mutable Matrix4 fittedOrientation;
    mutable bool fitPending = false;
    Vec3 fitCenter;
    // Pairs (0,1), (0,2) ... (1,2) ..., and zeros after them for the lanes
    // that the pair terms work past a row's end.
    static constexpr int kRowPad = 4;
    std::array<float, kMaxPairs + kRowPad> restLengths{};
};

}  // namespace lh::dice
