// Building the dice's meshes and numeral picture from the shape tables.
#include "dice/DieMeshes.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <string>

#include "dice/DieShapes.h"

namespace lh::dice {

namespace {

constexpr uint32_t kCell = 64;     // pixels of one face's square in the picture
constexpr uint32_t kColumns = 10;  // cells in a row of the picture

struct V {
    float x = 0, y = 0, z = 0;
};
V operator-(V a, V b) { return {a.x - b.x, a.y - b.y, a.z - b.z}; }
V operator+(V a, V b) { return {a.x + b.x, a.y + b.y, a.z + b.z}; }
V operator*(V a, float s) { return {a.x * s, a.y * s, a.z * s}; }
float dotV(V a, V b) { return a.x * b.x + a.y * b.y + a.z * b.z; }
V crossV(V a, V b) { return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x}; }
V unit(V a) {
    float l = std::sqrt(dotV(a, a));
    return l > 0 ? a * (1.0f / l) : a;
}
V fromModel(Vec3 p) { return {p.x, p.y, p.z}; }

// The faces of a shape as vertex lists with their values (the d4's faces
// are every three of its corners, value 0: they carry the corners' values).
struct Face {
    std::vector<int> vertices;
    int32_t value = 0;
};

std::vector<Face> facesOf(const ShapeInfo& info) {
    std::vector<Face> faces;
    if (info.verticesPerReading >= 3) {
        for (int r = 0; r < info.faceCount; ++r) {
            Face f;
            f.value = info.faces[r].value;
            f.vertices.assign(info.faces[r].vertices, info.faces[r].vertices + info.verticesPerReading);
            faces.push_back(f);
        }
        return faces;
    }
    for (int skip = 0; skip < info.vertexCount; ++skip) {
        Face f;
        for (int v = 0; v < info.vertexCount; ++v)
            if (v != skip) f.vertices.push_back(v);
        faces.push_back(f);
    }
    return faces;
}

int32_t cornerValue(const ShapeInfo& info, int vertex) {
    for (int r = 0; r < info.faceCount; ++r)
        if (info.faces[r].vertices[0] == vertex) return info.faces[r].value;
    return 0;
}

int32_t valueCode(int32_t value) {
    return value <= 20 ? value : 20 + value / 10 - 2;  // 30..90 follow 20
}

struct CellText {
    std::string text;
    float u, v;  // in the cell, 0..1
    float size;  // share of the cell's height
    int32_t value;
};

}  // namespace

uint32_t valueColor(int32_t value) {
    const int32_t code = std::clamp(valueCode(value), 0, 27);
    return 0xFF000000u | uint32_t(10 + code * 4) << 16 | 130u;
}

int32_t valueOfColor(uint32_t argb) {
    // Light scales a colour and the highlight adds the same to every
    // channel. Where there is a highlight the light is full, and red less
    // green undoes it; elsewhere red against blue undoes the light.
    const int32_t r = int32_t((argb >> 16) & 0xFF), g = int32_t((argb >> 8) & 0xFF), b = int32_t(argb & 0xFF);
    float red;
    if (g > 2)
        red = float(r - g);
    else if (b > 20)
        red = float(r) * 130.0f / float(b);
    else
        return -1;
    const int32_t code = int32_t(std::lround((red - 10.0f) / 4.0f));
    if (code < 0 || code > 27 || std::abs(red - float(10 + code * 4)) > 1.5f) return -1;
    return code <= 20 ? code : (code - 18) * 10;
}

const char* faceLabel(int32_t shape, int32_t value) {
    static const char* const plain[] = {"0", "1", "2", "3", "4", "5", "6.", "7", "8", "9.", "10",
                                        "11", "12", "13", "14", "15", "16", "17", "18", "19", "20"};
    static const char* const tens[] = {"00", "10", "20", "30", "40", "50", "60", "70", "80", "90"};
    if (shape == kShapePercentile) return value >= 0 && value <= 90 ? tens[value / 10] : "";
    if (shape == kShapeD4 && (value == 6 || value == 9)) return value == 6 ? "6" : "9";
    return value >= 0 && value <= 20 ? plain[value] : "";
}

DiceArt makeDiceArt(NumeralStyle style) {
    DiceArt art;
    int totalFaces = 0;
    for (int s = 0; s < kShapeCount; ++s) totalFaces += int(facesOf(shapeInfo(s)).size());
    const uint32_t rows = (uint32_t(totalFaces) + kColumns - 1) / kColumns;
    art.numerals.width = kColumns * kCell;
    art.numerals.height = rows * kCell;
    // Transparent white, so that filtering at a numeral's edge does not
    // darken it.
    art.numerals.pixels.assign(size_t(art.numerals.width) * art.numerals.height, 0x00FFFFFFu);
    std::vector<render::PlacedText> placed;
    std::vector<std::string> keep;  // texts outlive `placed`
    keep.reserve(size_t(totalFaces) * 3);

    int cell = 0;
    for (int s = 0; s < kShapeCount; ++s) {
        const ShapeInfo& info = shapeInfo(s);
        render::DieMeshData mesh;
        V middle;
        for (int i = 0; i < info.vertexCount; ++i) middle = middle + fromModel(info.vertices[i]);
        middle = middle * (1.0f / float(info.vertexCount));

        for (const Face& face : facesOf(info)) {
            // Order the corners around the centre, front faces clockwise as
            // seen from outside in a left-handed view.
            V c;
            for (int v : face.vertices) c = c + fromModel(info.vertices[v]);
            c = c * (1.0f / float(face.vertices.size()));
            V n0 = unit(c - middle);
            V e1 = unit(fromModel(info.vertices[face.vertices[0]]) - c);
            V e2 = crossV(n0, e1);
            std::vector<std::pair<float, int>> around;
            for (int v : face.vertices) {
                V d = fromModel(info.vertices[v]) - c;
                around.push_back({std::atan2(dotV(d, e2), dotV(d, e1)), v});
            }
            std::sort(around.begin(), around.end());
            std::vector<int> ring;
            for (auto& a : around) ring.push_back(a.second);
            // Newell's normal of the ring, pointing outwards.
            V n;
            for (size_t i = 0; i < ring.size(); ++i) {
                V a = fromModel(info.vertices[ring[i]]), b = fromModel(info.vertices[ring[(i + 1) % ring.size()]]);
                n = n + V{(a.y - b.y) * (a.z + b.z), (a.z - b.z) * (a.x + b.x), (a.x - b.x) * (a.y + b.y)};
            }
            n = unit(n);
            if (dotV(n, c - middle) < 0) n = n * -1.0f;
            {
                V a = fromModel(info.vertices[ring[0]]), b = fromModel(info.vertices[ring[1]]),
                  d = fromModel(info.vertices[ring[2]]);
                if (dotV(crossV(b - a, d - a), n) < 0) std::reverse(ring.begin(), ring.end());
            }

            // The numeral's frame in the face: up towards the farthest
            // corner (the pole of a kite, a corner of a triangle), or
            // towards an edge of a square.
            float far = 0, near = 1e9f;
            int farthest = ring[0];
            for (int v : ring) {
                V d = fromModel(info.vertices[v]) - c;
                float l = std::sqrt(dotV(d, d));
                if (l > far) far = l, farthest = v;
                near = std::min(near, l);
            }
            V up;
            if (ring.size() == 4 && far - near < 0.01f * far)
                up = unit((fromModel(info.vertices[ring[0]]) + fromModel(info.vertices[ring[1]])) * 0.5f - c);
            else
                up = unit(fromModel(info.vertices[farthest]) - c);
            up = unit(up - n * dotV(up, n));
            V right = crossV(n, up);

            const uint32_t cellX = uint32_t(cell) % kColumns * kCell, cellY = uint32_t(cell) / kColumns * kCell;
            auto uvOf = [&](V p, float& u, float& v) {
                V d = p - c;
                u = 0.5f + dotV(d, right) / (2.0f * far);
                v = 0.5f - dotV(d, up) / (2.0f * far);
            };
            const uint16_t base = uint16_t(mesh.vertices.size());
            for (int vtx : ring) {
                V p = fromModel(info.vertices[vtx]);
                float u, v;
                uvOf(p, u, v);
                mesh.vertices.push_back({{p.x, p.y, p.z},
                                         {n.x, n.y, n.z},
                                         {(float(cellX) + u * float(kCell)) / float(art.numerals.width),
                                          (float(cellY) + v * float(kCell)) / float(art.numerals.height)}});
            }
            for (size_t i = 1; i + 1 < ring.size(); ++i) {
                mesh.indices.push_back(base);
                mesh.indices.push_back(uint16_t(base + i));
                mesh.indices.push_back(uint16_t(base + i + 1));
            }

            // What the cell shows.
            std::vector<CellText> texts;
            // Distance from the centre to the nearest edge, as a share of
            // the cell: how big a numeral fits.
            float inner = 1e9f;
            for (size_t i = 0; i < ring.size(); ++i) {
                V a = fromModel(info.vertices[ring[i]]), b = fromModel(info.vertices[ring[(i + 1) % ring.size()]]);
                V edge = unit(b - a), d = c - a;
                V off = d - edge * dotV(d, edge);
                inner = std::min(inner, std::sqrt(dotV(off, off)));
            }
            const float fit = inner / (2.0f * far);
            if (s == kShapeD4) {
                for (int vtx : ring) {
                    float u, v;
                    uvOf(fromModel(info.vertices[vtx]), u, v);
                    int32_t value = cornerValue(info, vtx);
                    texts.push_back({faceLabel(s, value), 0.5f + (u - 0.5f) * 0.55f, 0.5f + (v - 0.5f) * 0.55f,
                                     fit * 1.1f, value});
                }
            } else {
                std::string label = faceLabel(s, face.value);
                float size = fit * (label.size() > 1 && label.back() != '.' ? 1.15f : 1.4f);
                texts.push_back({label, 0.5f, 0.5f, size, face.value});
            }

            if (style == NumeralStyle::ValueColors) {
                // Every pixel takes the value of the nearest text centre.
                for (uint32_t y = 0; y < kCell; ++y) {
                    for (uint32_t x = 0; x < kCell; ++x) {
                        float best = 1e9f;
                        int32_t value = 0;
                        for (const CellText& t : texts) {
                            float du = (float(x) + 0.5f) / kCell - t.u, dv = (float(y) + 0.5f) / kCell - t.v;
                            float d2 = du * du + dv * dv;
                            if (d2 < best) best = d2, value = t.value;
                        }
                        art.numerals.pixels[size_t(cellY + y) * art.numerals.width + cellX + x] = valueColor(value);
                    }
                }
            } else {
                for (const CellText& t : texts) {
                    keep.push_back(t.text);
                    placed.push_back({nullptr, float(cellX) + t.u * kCell, float(cellY) + t.v * kCell,
                                      int32_t(t.size * kCell)});
                }
            }
            ++cell;
        }
        art.meshes.push_back(std::move(mesh));
    }
    for (size_t i = 0; i < placed.size(); ++i) placed[i].text = keep[i].c_str();
    if (!placed.empty()) render::drawTextsInto(art.numerals, placed);
    return art;
}

}  // namespace lh::dice
