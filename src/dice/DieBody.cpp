// The point-cloud die: springs and dampers between vertex pairs, bounces on
// the floor and the four walls, the rest test, the orientation fit and the
// reading of the face. Every literal is a float and every operation is
// spelled out, so that the same start gives the same path on every machine.
#include "dice/DieBody.h"

#include <cstring>

#include "dice/DiceWorld.h"

namespace lh::dice {

namespace {

constexpr float kGravity = 0.011f;      // added to z velocity per step
constexpr float kAirDamping = 0.9995f;  // per step
constexpr float kStiffness = 0.3f;      // of the pair springs
constexpr float kPairDamping = 0.35f;
constexpr float kBounceKeep = 0.8f;      // share of speed kept at a bounce
constexpr float kSlowTangential = 0.5f;  // further tangential loss when slow
constexpr float kSlowMeanSpeed = 0.5f;
constexpr float kHardHitSpeed = 1.0f;
constexpr float kMaxThrowSpeed = 0.8f;
constexpr float kRollSpin = 2.5f;
constexpr float kSpinDamping = 0.1f;
constexpr float kSpinTurn = 3.0f;
constexpr float kAreaMargin = 1.0f;

enum CollisionFlag : int {
    kHitTop = 1,
    kHitRight = 2,
    kHitBottom = 4,
    kHitLeft = 8,
    kHitFloor = 16,
    kHardHit = 32,
};

// A plane that a vertex bounces on: the floor or one of the four walls.
struct Plane {
    int axis;  // 0 x, 1 y, 2 z
    float at;
    bool beyondIsGreater;  // whether a vertex past the plane has the greater coordinate
    int flag;
};

float& component(Vec3& v, int axis) {
    return axis == 0 ? v.x : axis == 1 ? v.y : v.z;
}
float component(const Vec3& v, int axis) {
    return axis == 0 ? v.x : axis == 1 ? v.y : v.z;
}

// Time of impact as a share of the step. A vertex that is already beyond
// the plane without moving towards it has no time of impact: 0 keeps the
// arithmetic finite.
float impactShare(float distance, float speed) {
    return speed == 0.0f ? 0.0f : distance / speed;
}

// Cosine and sine that turn unit vector `from` into unit vector `to` about
// `axis`, taken from the dot and the (signed) cross product rather than from
// an arc cosine, so that small angles keep their precision and no trig is
// needed. Returns false when the angle is undefined.
bool turnBetween(Vec3 from, Vec3 to, Vec3 axis, float& c, float& s) {
    c = dot(from, to);
    s = dot(cross(from, to), axis);
    float r = std::sqrt(c * c + s * s);
    if (r == 0.0f) return false;
    c = c / r;
    s = s / r;
    return true;
}

Vec3 anyPerpendicular(Vec3 v) {
    Vec3 p = cross(v, Vec3{1.0f, 0.0f, 0.0f});
    if (dot(p, p) < 0.01f) p = cross(v, Vec3{0.0f, 1.0f, 0.0f});
    return normalized(p);
}

}  // namespace

DieBody::DieBody(DiceWorld& owner, int32_t dieShape, uint32_t color, uint32_t flags)
    : world(&owner),
      shape(dieShape),
      vertexCount(shapeInfo(dieShape).vertexCount),
      bodyColor(color),
      colorFlags(flags),
      shapeData(&shapeInfo(dieShape)) {
    const Vec3* model = shapeData->vertices;
    for (int i = 0; i < vertexCount; ++i) positions[i] = model[i];
    int k = 0;
    for (int i = 0; i < vertexCount; ++i)
        for (int j = i + 1; j < vertexCount; ++j) restLengths[k++] = length(model[j] - model[i]);
    recomputeCenter();
    Fit();
}

const Bounds& DieBody::collisionBounds() const {
    return inRollArea ? world->rollBounds : world->viewBounds;
}

void DieBody::recomputeCenter() {
    Vec3 sum;
    for (int i = 0; i < vertexCount; ++i) sum += positions[i];
    center = sum * (1.0f / static_cast<float>(vertexCount));
}

void DieBody::SetOrientation(float yaw, float pitch, float roll) {
    orientation = rotationYawPitchRoll(yaw, pitch, roll);
    Rebuild();
    Fit();
}

void DieBody::MoveTo(Vec3 point) {
    Vec3 shift = point - center;
    for (int i = 0; i < vertexCount; ++i) positions[i] += shift;
    Fit();
}

void DieBody::Rebuild() {
    for (int i = 0; i < vertexCount; ++i)
        positions[i] = transformPoint(shapeData->vertices[i], orientation) + center;
}

void DieBody::Fit() {
    recomputeCenter();
    orientation = Matrix4{};

    // Turn the model so that reference vertex A points where it points now.
    Vec3 a0 = normalized(shapeData->vertices[shapeData->referenceA]);
    Vec3 a1 = positions[shapeData->referenceA] - center;
    Vec3 u = normalized(a1);
    Vec3 axis = cross(a0, u);
    float c = dot(a0, u);
    float axisLength = length(axis);
    if (axisLength > 0.0f) {
        float r = std::sqrt(c * c + axisLength * axisLength);
        orientation = rotationAxisCosSin(axis * (1.0f / axisLength), c / r, axisLength / r);
    } else if (c < 0.0f) {
        orientation = rotationAxisCosSin(anyPerpendicular(a0), -1.0f, 0.0f);
    }

    // Then turn about A's direction until reference vertex B lines up too,
    // comparing only the parts of B at right angles to that direction.
    Vec3 b0 = transformPoint(shapeData->vertices[shapeData->referenceB], orientation);
    Vec3 b1 = positions[shapeData->referenceB] - center;
    Vec3 b0p = normalized(b0 - dot(u, b0) * u);
    Vec3 b1p = normalized(b1 - dot(u, b1) * u);
    float s = 0.0f;
    if (dot(u, u) > 0.0f && turnBetween(b0p, b1p, u, c, s))
        orientation = multiply(orientation, rotationAxisCosSin(u, c, s));

    worldMatrix = orientation;
    worldMatrix.m[12] = center.x;
    worldMatrix.m[13] = center.y;
    worldMatrix.m[14] = center.z + shapeData->drawOffsetZ;
}

void DieBody::ClampIntoArea() {
    recomputeCenter();
    const Bounds& b = collisionBounds();
    if (center.x > b.right - kAreaMargin) center.x = b.right - kAreaMargin;
    if (center.x < b.left + kAreaMargin) center.x = b.left + kAreaMargin;
    if (center.y < b.bottom + kAreaMargin) center.y = b.bottom + kAreaMargin;
    if (center.y > b.top - kAreaMargin) center.y = b.top - kAreaMargin;
}

void DieBody::ZeroVelocities() {
    for (int i = 0; i < vertexCount; ++i) velocities[i] = Vec3{};
}

void DieBody::Throw(Vec3 v, int32_t mode) {
    stepCount = 0;
    float speed = length(v);
    if (speed > kMaxThrowSpeed) v = v * (kMaxThrowSpeed / speed);
    float m = length(v);
    for (int i = 0; i < vertexCount; ++i) velocities[i] += v;

    Vec3 across{-v.y, v.x, 0.0f};  // at right angles to the direction of the throw
    if (mode == kThrowRolling) {
        for (int i = 0; i < vertexCount; ++i) {
            Vec3 u = normalized(cross(positions[i] - center, across));
            velocities[i] += (kRollSpin * m) * u;
        }
    } else if (mode == kThrowSpin) {
        for (int i = 0; i < vertexCount; ++i) {
            Vec3 u = normalized(cross(positions[i] - center, across));
            velocities[i] = kSpinDamping * velocities[i] + (kSpinDamping * m) * u;
        }
        for (int i = 0; i < vertexCount; ++i) {
            Vec3 u = normalized(cross(positions[i] - center, Vec3{0.0f, 0.0f, 1.0f}));
            velocities[i] += (kSpinTurn * m) * u;
        }
    }
}

void DieBody::Launch(const Matrix4& startOrientation, Vec3 startCenter, Vec3 v, int32_t mode) {
    orientation = startOrientation;
    center = startCenter;
    Rebuild();
    ZeroVelocities();
    Throw(v, mode);
}

void DieBody::applyPairConstraints() {
    // Impulses take effect at once: later pairs see the changed velocities.
    int k = 0;
    for (int i = 0; i < vertexCount; ++i) {
        for (int j = i + 1; j < vertexCount; ++j) {
            Vec3 d = positions[j] - positions[i];
            float len = length(d);
            float stretch = kStiffness * (restLengths[k++] - len);
            if (len == 0.0f) continue;
            Vec3 n = d * (1.0f / len);
            float closing = dot(velocities[i] - velocities[j], n);
            Vec3 impulse = (stretch + kPairDamping * closing) * n;
            velocities[i] -= impulse;
            velocities[j] += impulse;
        }
    }
}

int DieBody::collide(int vertex, float f) {
    // Floor first, then the walls top, bottom, left, right, each seeing the
    // position and stored velocity as the one before left them.
    const Bounds& b = collisionBounds();
    const Plane planes[5] = {{2, 0.0f, true, kHitFloor},
                             {1, b.top, true, kHitTop},
                             {1, b.bottom, false, kHitBottom},
                             {0, b.left, false, kHitLeft},
                             {0, b.right, true, kHitRight}};
    Vec3& p = positions[vertex];
    Vec3& stored = velocities[vertex];
    const Vec3 v = stored;  // every test moves by the velocity before the bounces
    int flags = 0;
    for (const Plane& plane : planes) {
        float reach = component(p, plane.axis) + component(v, plane.axis);
        if (plane.beyondIsGreater ? !(reach > plane.at) : !(reach < plane.at)) continue;
        flags |= std::abs(component(stored, plane.axis)) > kHardHitSpeed ? plane.flag | kHardHit : plane.flag;
        float t = impactShare(plane.at - component(p, plane.axis), component(v, plane.axis));
        p += t * v;
        for (int axis = 0; axis < 3; ++axis) {
            float& c = component(stored, axis);
            c = axis == plane.axis ? -c : c * f;
        }
        stored = stored * kBounceKeep;
        // The rest of the step goes on with the velocity from before the bounce.
        p += (1.0f - t) * v;
        float& pc = component(p, plane.axis);
        if (plane.beyondIsGreater ? pc > plane.at : pc < plane.at) pc = plane.at;
    }
    if (flags == 0) p += v;
    return flags;
}

bool DieBody::restTestPasses() const {
    float h = shapeData->restHeight;  // negative: above the table
    if (!(center.z > 1.02f * h && center.z < 0.98f * h)) return false;
    Vec3 sum;
    for (int i = 0; i < vertexCount; ++i)
        sum += Vec3{std::abs(velocities[i].x), std::abs(velocities[i].y), std::abs(velocities[i].z)};
    float count = static_cast<float>(vertexCount);
    return sum.x / count < 0.00001f && sum.y / count < 0.00001f && sum.z / count < 0.009f;
}

void DieBody::recoverFromNonFinite() {
    // Cannot happen from a validated start; if it ever does, the die lies
    // down in the middle of its area instead of spreading NaN.
    const Bounds& b = collisionBounds();
    orientation = Matrix4{};
    center = Vec3{(b.left + b.right) * 0.5f, (b.top + b.bottom) * 0.5f, shapeData->restHeight};
    if (!isFinite(center)) center = Vec3{0.0f, 0.0f, shapeData->restHeight};
    Rebuild();
    ZeroVelocities();
    Fit();
}

void DieBody::Step() {
    if (atRest) return;
    if (held) {
        ZeroVelocities();
        Fit();
        return;
    }
    applyPairConstraints();

    float speedSum = 0.0f;
    for (int i = 0; i < vertexCount; ++i) speedSum += length(velocities[i]);
    float f = speedSum / static_cast<float>(vertexCount) < kSlowMeanSpeed ? kSlowTangential : 1.0f;

    int flags = 0;
    for (int i = 0; i < vertexCount; ++i) {
        velocities[i].z += kGravity;
        velocities[i] = velocities[i] * kAirDamping;
        flags |= collide(i, f);
    }
    Fit();
    if (!isFinite(center)) recoverFromNonFinite();
    if (flags & kHardHit) Rebuild();  // a stiff bounce must not fold the die

    atRest = restTestPasses();
    if (++stepCount > kMaxStepsPerThrow) {
        stepCount = 0;
        atRest = true;
    }
    if (atRest) {
        finished = true;
        inRollArea = false;
        Rebuild();
        world->OnDieFinished(*this, ReadValue());
    }
}

int32_t DieBody::ReadFace() const {
    // Pick the K uppermost vertices (most negative z below the table's plane).
    const int k = shapeData->verticesPerReading;
    int picks[kMaxVerticesPerReading];
    bool picked[kMaxVertices] = {};
    int last = 0;
    for (int round = 0; round < k; ++round) {
        int best = -1;
        float bestZ = 0.0f;
        for (int i = 0; i < vertexCount; ++i) {
            if (!picked[i] && positions[i].z < bestZ) {
                best = i;
                bestZ = positions[i].z;
            }
        }
        if (best >= 0) last = best;
        picks[round] = last;
        picked[last] = true;
    }
    for (int row = 0; row < shapeData->faceCount; ++row) {
        const FaceRow& face = shapeData->faces[row];
        bool all = true;
        for (int v = 0; v < k && all; ++v) {
            bool found = false;
            for (int p = 0; p < k; ++p) found = found || picks[p] == face.vertices[v];
            all = found;
        }
        if (all) return face.value;
    }
    return -1;
}

int32_t DieBody::ReadValue() const {
    int32_t face = ReadFace();
    if (face >= 0) return face;
    // No face is up (the die stopped on an edge at the step limit): any value
    // from 1 to the number of faces will do, but it must be the same on every
    // machine, so it comes from the bits of the die's state, not from a
    // random generator.
    uint32_t h = 2166136261u;
    for (int i = 0; i < vertexCount; ++i) {
        uint32_t bits[3];
        std::memcpy(bits, &positions[i], sizeof bits);
        for (uint32_t word : bits) h = (h ^ word) * 16777619u;
    }
    return static_cast<int32_t>(h % static_cast<uint32_t>(shapeData->faceCount)) + 1;
}

}  // namespace lh::dice
