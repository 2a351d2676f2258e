// The point-cloud die: springs and dampers between vertex pairs, bounces on
// the floor and the four walls, the rest test, the orientation fit and the
// reading of the face. Every literal is a float and every operation is
// spelled out, so that the same start gives the same path on every machine.
#include "dice/DieBody.h"

#include <algorithm>
#include <cassert>
#include <cstring>
#include <span>

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

// Four floats that the compiler keeps in one vector register where it can;
// each operation works lane by lane with the same rounding as on a float.
typedef float Lanes4 __attribute__((vector_size(16)));

float& component(Vec3& v, int axis) {
    return axis == 0 ? v.x : axis == 1 ? v.y : v.z;
}

// Time of impact as a share of the step. A vertex that is already beyond
// the plane without moving towards it has no time of impact: 0 keeps the
// arithmetic finite.
float impactShare(float distance, float speed) {
    return speed == 0.0f ? 0.0f : distance / speed;
}

// The bounce of a vertex on a plane at right angles to `Axis`: the floor or
// a wall. `BeyondIsGreater` tells whether a vertex past the plane has the
// greater coordinate. `p` and `stored` are the position and velocity as the
// planes before left them; `v` is the velocity from before any bounce, which
// every plane moves by. Returns the plane's flags, or 0 when not reached.
template <int Axis, bool BeyondIsGreater>
int bounce(Vec3& p, Vec3& stored, Vec3 v, float at, int flag, float f) {
    float reach = component(p, Axis) + component(v, Axis);
    if (BeyondIsGreater ? !(reach > at) : !(reach < at)) return 0;
    int flags = std::abs(component(stored, Axis)) > kHardHitSpeed ? flag | kHardHit : flag;
    float t = impactShare(at - component(p, Axis), component(v, Axis));
    p += t * v;
    for (int axis = 0; axis < 3; ++axis) {
        float& c = component(stored, axis);
        c = axis == Axis ? -c : c * f;
    }
    stored = stored * kBounceKeep;
    // The rest of the step goes on with the velocity from before the bounce.
    p += (1.0f - t) * v;
    float& pc = component(p, Axis);
    if (BeyondIsGreater ? pc > at : pc < at) pc = at;
    return flags;
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
      shapeData(&shapeInfo(dieShape)),
      inverseCount(1.0f / static_cast<float>(shapeData->vertexCount)),
      referenceDirectionA(normalized(shapeData->vertices[shapeData->referenceA])) {
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
    center = sum * inverseCount;
}

void DieBody::SetOrientation(float yaw, float pitch, float roll) {
    SetOrientation(rotationYawPitchRoll(yaw, pitch, roll));
}

void DieBody::SetOrientation(const Matrix4& rotation) {
    fittedOrientation = rotation;
    fitPending = false;
    Rebuild();
    Fit();
}

void DieBody::MoveTo(Vec3 point) {
    Vec3 shift = point - center;
    for (int i = 0; i < vertexCount; ++i) positions[i] += shift;
    Fit();
}

void DieBody::Rebuild() {
    const Matrix4& turn = orientation();
    for (int i = 0; i < vertexCount; ++i)
        positions[i] = transformPoint(shapeData->vertices[i], turn) + center;
}

void DieBody::Fit() {
    recomputeCenter();
    fitCenter = center;
    fitPending = true;
}

const Matrix4& DieBody::orientation() const {
    if (fitPending) fitOrientation();
    return fittedOrientation;
}

Matrix4 DieBody::worldMatrix() const {
    Matrix4 m = orientation();
    m.m[12] = center.x;
    m.m[13] = center.y;
    m.m[14] = center.z + shapeData->drawOffsetZ;
    return m;
}

void DieBody::fitOrientation() const {
    fitPending = false;
    Matrix4 turn;

    // Turn the model so that reference vertex A points where it points now.
    Vec3 a0 = referenceDirectionA;
    Vec3 a1 = positions[shapeData->referenceA] - fitCenter;
    Vec3 u = normalized(a1);
    Vec3 axis = cross(a0, u);
    float c = dot(a0, u);
    float axisLength = length(axis);
    if (axisLength > 0.0f) {
        float r = std::sqrt(c * c + axisLength * axisLength);
        turn = rotationAxisCosSin(axis * (1.0f / axisLength), c / r, axisLength / r);
    } else if (c < 0.0f) {
        turn = rotationAxisCosSin(anyPerpendicular(a0), -1.0f, 0.0f);
    }

    // Then turn about A's direction until reference vertex B lines up too.
    // What is taken off each B along that direction is measured with a1 as
    // it is, not with its direction: a1 is about one unit long, so what is
    // left is nearly, not exactly, the part at right angles. This is the fit
    // that every copy of the program makes, so it stays as it is.
    Vec3 b0 = transformPoint(shapeData->vertices[shapeData->referenceB], turn);
    Vec3 b1 = positions[shapeData->referenceB] - fitCenter;
    Vec3 b0p = normalized(b0 - dot(a1, b0) * u);
    Vec3 b1p = normalized(b1 - dot(a1, b1) * u);
    float s = 0.0f;
    if (dot(u, u) > 0.0f && turnBetween(b0p, b1p, u, c, s))
        turn = multiply(turn, rotationAxisCosSin(u, c, s));
    fittedOrientation = turn;
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
    fittedOrientation = startOrientation;
    fitPending = false;
    center = startCenter;
    Rebuild();
    ZeroVelocities();
    Throw(v, mode);
}

// The spring terms of every pair of one die: they depend on the positions
// alone, which the pair constraints do not change, so they are worked out
// before the impulses, all pairs at once, in arrays the compiler can turn
// into vector code (vector square root and division are correctly rounded,
// lane by lane, like the scalar ones).
struct DieBody::PairTerms {
    float nx[kMaxPairs + kRowPad], ny[kMaxPairs + kRowPad], nz[kMaxPairs + kRowPad];
    float stretch[kMaxPairs + kRowPad];
    float distance[kMaxPairs + kRowPad];
};

bool DieBody::computePairTerms(PairTerms& terms) const {
    // Row by row (pairs (i, j) for all j > i), each row worked in whole
    // groups of kRowPad lanes so that the vector code needs no scalar tail.
    // What a row works out past its end lands on the first pairs of the rows
    // after it, which those rows then overwrite, or in the padding at the end.
    const int n = vertexCount;
    float px[kMaxVertices + kRowPad] = {}, py[kMaxVertices + kRowPad] = {}, pz[kMaxVertices + kRowPad] = {};
    for (int i = 0; i < n; ++i) px[i] = positions[i].x, py[i] = positions[i].y, pz[i] = positions[i].z;
    int rowStart = 0;  // pair (i, j) is at rowStart + j - (i + 1)
    for (int i = 0; i < n - 1; ++i) {
        const int rowLength = n - 1 - i;
        const int lanes = (rowLength + kRowPad - 1) / kRowPad * kRowPad;
        const float xi = px[i], yi = py[i], zi = pz[i];
        const float* xj = px + i + 1;
        const float* yj = py + i + 1;
        const float* zj = pz + i + 1;
        const float* rest = restLengths.data() + rowStart;
        float* stretch = terms.stretch + rowStart;
        float* distance = terms.distance + rowStart;
        float* nx = terms.nx + rowStart;
        float* ny = terms.ny + rowStart;
        float* nz = terms.nz + rowStart;
        for (int l = 0; l < lanes; ++l) {
            float dx = xj[l] - xi, dy = yj[l] - yi, dz = zj[l] - zi;
            float len = std::sqrt(dx * dx + dy * dy + dz * dz);
            stretch[l] = kStiffness * (rest[l] - len);
            distance[l] = len;
            // Not finite when the points coincide; such a pair is skipped.
            float inverse = 1.0f / len;
            nx[l] = dx * inverse, ny[l] = dy * inverse, nz[l] = dz * inverse;
        }
        rowStart += rowLength;
    }
    int coinciding = 0;
    for (int k = 0; k < rowStart; ++k) coinciding += terms.distance[k] == 0.0f;
    return coinciding > 0;
}

namespace {

// The impulse of one pair on the velocities of its two points.
// `SkipCoinciding`: whether to check for a pair whose points coincide, which
// has no direction and does nothing; the check is left out when the terms
// showed that no pair of the die has one.
template <bool SkipCoinciding>
void applyPair(Lanes4* vel, const DieBody::PairTerms& t, PairSlot slot) {
    if (SkipCoinciding && t.distance[slot.pair] == 0.0f) return;
    Lanes4 dir{t.nx[slot.pair], t.ny[slot.pair], t.nz[slot.pair], 0.0f};
    Lanes4 product = (vel[slot.i] - vel[slot.j]) * dir;
    float closing = product[0] + product[1] + product[2];
    Lanes4 impulse = (t.stretch[slot.pair] + kPairDamping * closing) * dir;
    vel[slot.i] -= impulse;
    vel[slot.j] += impulse;
}

// Where one lane of the sweep stands: in the pairs of one die, with `left`
// of them to go.
struct LaneCursor {
    Lanes4* vel;
    const DieBody::PairTerms* terms;
    const PairSlot* slot;
    size_t left;
};

// The next `run` pairs of the first `Width` lanes, one pair of each in turn.
template <bool SkipCoinciding, int Width>
void sweepRun(LaneCursor* lanes, size_t run) {
    for (size_t s = 0; s < run; ++s)
        for (int d = 0; d < Width; ++d)
            applyPair<SkipCoinciding>(lanes[d].vel, *lanes[d].terms, lanes[d].slot[s]);
    for (int d = 0; d < Width; ++d) lanes[d].slot += run, lanes[d].left -= run;
}

template <bool SkipCoinciding>
void sweepRun(LaneCursor* lanes, int width, size_t run) {
    switch (width) {
        case 4:
            return sweepRun<SkipCoinciding, 4>(lanes, run);
        case 3:
            return sweepRun<SkipCoinciding, 3>(lanes, run);
        case 2:
            return sweepRun<SkipCoinciding, 2>(lanes, run);
        default:
            return sweepRun<SkipCoinciding, 1>(lanes, run);
    }
}

}  // namespace

void DieBody::SolvePairs(DieBody* const* dice, int count, PairVelocities* out) {
    assert(count >= 0 && count <= kPairGroup);
    // Each die's impulses go in the order of pairOrder, which keeps every
    // vertex's sequence of updates exactly as in the plain i < j loop, so
    // later pairs see the changed velocities. The chain of updates is long
    // and each link waits for the one before; the chains of different dice
    // are independent, so four lanes take one pair each in turn and overlap.
    // A lane works through its dice one after the other, and the dice are
    // dealt to the lanes so that their pair counts come out even: the most
    // pairs first, each to the lane with the fewest so far.
    constexpr int kLanes = 4;
    int byPairs[kPairGroup];
    for (int d = 0; d < count; ++d) {
        int r = d;
        while (r > 0 && dice[byPairs[r - 1]]->vertexCount < dice[d]->vertexCount) {
            byPairs[r] = byPairs[r - 1];
            --r;
        }
        byPairs[r] = d;
    }
    int laneDice[kLanes][kPairGroup];
    int laneCount[kLanes] = {};
    size_t laneLoad[kLanes] = {};
    for (int k = 0; k < count; ++k) {
        const int d = byPairs[k];
        int lane = 0;
        for (int l = 1; l < kLanes; ++l)
            if (laneLoad[l] < laneLoad[lane]) lane = l;
        laneDice[lane][laneCount[lane]++] = d;
        laneLoad[lane] += pairOrder(dice[d]->vertexCount).size();
    }

    PairTerms terms[kPairGroup];
    // Velocities as four-lane vectors: lanes x, y and z take exactly the
    // scalar operations, and the fourth lane only carries zeros.
    Lanes4 vel[kPairGroup][kMaxVertices];
    bool anyCoinciding = false;
    for (int d = 0; d < count; ++d) {
        const DieBody& die = *dice[d];
        anyCoinciding = die.computePairTerms(terms[d]) || anyCoinciding;
        for (int i = 0; i < die.vertexCount; ++i) {
            Vec3 v = die.velocities[i];
            vel[d][i] = Lanes4{v.x, v.y, v.z, 0.0f};
        }
    }

    // The busy lanes stay at the front of `cursor`; `next` is the place of
    // a lane's following die in its list.
    LaneCursor cursor[kLanes];
    int laneOf[kLanes], next[kLanes];
    int width = 0;
    auto start = [&](int slot, int lane) {
        while (next[lane] < laneCount[lane]) {
            const int d = laneDice[lane][next[lane]++];
            std::span<const PairSlot> order = pairOrder(dice[d]->vertexCount);
            if (order.empty()) continue;
            cursor[slot] = LaneCursor{vel[d], &terms[d], order.data(), order.size()};
            laneOf[slot] = lane;
            return true;
        }
        return false;
    };
    for (int lane = 0; lane < kLanes; ++lane) {
        next[lane] = 0;
        if (start(width, lane)) ++width;
    }
    while (width > 0) {
        size_t run = cursor[0].left;
        for (int w = 1; w < width; ++w) run = std::min(run, cursor[w].left);
        if (anyCoinciding)
            sweepRun<true>(cursor, width, run);
        else
            sweepRun<false>(cursor, width, run);
        for (int w = 0; w < width;) {
            if (cursor[w].left > 0 || start(w, laneOf[w])) {
                ++w;
                continue;
            }
            --width;
            cursor[w] = cursor[width];
            laneOf[w] = laneOf[width];
        }
    }

    for (int d = 0; d < count; ++d)
        for (int i = 0; i < dice[d]->vertexCount; ++i)
            out[d][i] = Vec3{vel[d][i][0], vel[d][i][1], vel[d][i][2]};
}

int DieBody::collide(int vertex, float f, const Bounds& b) {
    Vec3& p = positions[vertex];
    Vec3& stored = velocities[vertex];
    const Vec3 v = stored;  // every test moves by the velocity before the bounces
    // Most vertices touch nothing in a step: the first test of each plane
    // below, all at once, on a position that no bounce has moved yet.
    float reachX = p.x + v.x, reachY = p.y + v.y, reachZ = p.z + v.z;
    if (!(reachZ > 0.0f) && !(reachY > b.top) && !(reachY < b.bottom) && !(reachX < b.left) && !(reachX > b.right)) {
        p += v;
        return 0;
    }

    // Floor first, then the walls top, bottom, left, right, each seeing the
    // position and stored velocity as the one before left them.
    int flags = bounce<2, true>(p, stored, v, 0.0f, kHitFloor, f);
    flags |= bounce<1, true>(p, stored, v, b.top, kHitTop, f);
    flags |= bounce<1, false>(p, stored, v, b.bottom, kHitBottom, f);
    flags |= bounce<0, false>(p, stored, v, b.left, kHitLeft, f);
    flags |= bounce<0, true>(p, stored, v, b.right, kHitRight, f);
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
    fittedOrientation = Matrix4{};
    fitPending = false;
    center = Vec3{(b.left + b.right) * 0.5f, (b.top + b.bottom) * 0.5f, shapeData->restHeight};
    if (!isFinite(center)) center = Vec3{0.0f, 0.0f, shapeData->restHeight};
    Rebuild();
    ZeroVelocities();
    Fit();
}

void DieBody::Step() {
    if (atRest || held) {
        stepWithPairsSolved(nullptr);
        return;
    }
    PairVelocities solved;
    DieBody* self = this;
    SolvePairs(&self, 1, &solved);
    stepWithPairsSolved(&solved);
}

void DieBody::stepWithPairsSolved(const PairVelocities* solved) {
    if (atRest) return;
    if (held) {
        ZeroVelocities();
        Fit();
        return;
    }
    assert(solved);
    for (int i = 0; i < vertexCount; ++i) velocities[i] = (*solved)[i];

    float speedSum = 0.0f;
    for (int i = 0; i < vertexCount; ++i) speedSum += length(velocities[i]);
    float f = speedSum / static_cast<float>(vertexCount) < kSlowMeanSpeed ? kSlowTangential : 1.0f;

    int flags = 0;
    const Bounds& bounds = collisionBounds();
    for (int i = 0; i < vertexCount; ++i) {
        velocities[i].z += kGravity;
        velocities[i] = velocities[i] * kAirDamping;
        flags |= collide(i, f, bounds);
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
