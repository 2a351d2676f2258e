// The image value; see ImageValue.h.
#include "table/ImageValue.h"

#include <algorithm>
#include <cstdio>
#include <ctime>
#include <system_error>

#include "db/Campaign.h"
#include "db/DbNode.h"
#include "db/SessionMode.h"
#include "db/XmlElement.h"
#include "net/FileStamp.h"
#include "net/MessageCatalogue.h"
#include "platform/Paths.h"
#include "platform/Trace.h"
#include "table/LayerFile.h"
#include "table/MapPicture.h"
#include "table/MapNetwork.h"

namespace lh::table {

namespace {

void appendAttribute(std::string& out, const char* name, std::string_view value) {
    out += name;
    out += "=\"";
    out += value;
    out += "\" ";
}

std::string readAttribute(db::XmlElement& element, const char* name) {
    std::string text;
    return element.attribute(name, text) == 0 ? text : std::string();
}

// A name for a new layer file that no file on disk and no name handed out
// by this process has: "%ld" of the time, moved on a second while taken,
// so that two masks made in one second do not share a file.
std::string freshLayerName(const char* folder, const char* pattern) {
    static std::set<std::string> handedOut;
    long seconds = long(std::time(nullptr));
    for (int tries = 0; tries < 100000; ++tries, ++seconds) {
        char name[64];
        std::snprintf(name, sizeof name, pattern, seconds);
        std::string path = db::campaignPath(folder) + "\\" + name;
        std::error_code ec;
        if (handedOut.count(path) || std::filesystem::exists(platform::diskPath(path), ec)) continue;
        handedOut.insert(path);
        return path;
    }
    return {};
}

void removeFile(const std::string& programPath) {
    if (programPath.empty()) return;
    std::error_code ec;
    std::filesystem::remove(platform::diskPath(programPath), ec);
}

}  // namespace

std::unique_ptr<db::NodeValue> makeImageValue() { return std::make_unique<ImageValue>(); }

void describePicture(std::string_view programPath, uint32_t& size, uint64_t& fileTime) {
    size = 0;
    fileTime = 0;
    net::FileStamp stamp;
    if (programPath.empty() || !net::readFileStamp(platform::diskPath(programPath), stamp)) return;
    size = uint32_t(stamp.size);
    fileTime = stamp.writeTime.value();
}

namespace {
// Kept to the very end: windows still open close while the program's
// statics go, after a plain static set would have gone.
std::set<ImageValue*>& openValues() {
    static std::set<ImageValue*>& values = *new std::set<ImageValue*>;
    return values;
}
}  // namespace

ImageValue::~ImageValue() { openValues().erase(this); }

void ImageValue::SaveOpenLayers() {
    for (ImageValue* value : openValues()) value->saveChangedLayers();
}

void ImageValue::saveChangedLayers() {
    // A layer as its file holds it is not written again: on a big map each
    // write takes seconds, and the exit would otherwise write every open
    // map's layers twice (here, and at the close of its window).
    if (hasMask() && maskUnsaved) SaveMask();
    if (hasDrawing() && drawingUnsaved) SaveDrawing();
}

// Section: stored form and replication.

void ImageValue::readStored(db::XmlElement& element) {
    picturePath = readAttribute(element, "IMAGE");
    maskPath = readAttribute(element, "MASK");
    drawingPath = readAttribute(element, "DRAWING");
}

void ImageValue::writeStored(std::string& out, int) const {
    if (!picturePath.empty()) appendAttribute(out, "image", picturePath);
    if (!maskPath.empty()) appendAttribute(out, "mask", maskPath);
    if (!drawingPath.empty()) appendAttribute(out, "drawing", drawingPath);
    if (!out.empty() && out.back() == ' ') out.pop_back();
}

void ImageValue::setImagePath(std::string_view path) {
    picturePath = std::string(path.substr(0, 259));
    maskPath.clear();
    drawingPath.clear();
    // Layers still open go to new files of their own.
    maskUnsaved = drawingUnsaved = true;
}

db::ImageWireState ImageValue::wireState() const {
    return {picturePath, maskPath, grid.size, grid.offsetX, grid.offsetY, viewX, viewY};
}

void ImageValue::setWireState(const db::ImageWireState& state) {
    const bool pictureChanged = state.imagePath != picturePath;
    const bool maskAppeared = maskPath.empty() && !state.maskPath.empty();
    picturePath = state.imagePath.substr(0, std::min<size_t>(state.imagePath.size(), 259));
    // The layer kept here goes to the file the host names now.
    if (state.maskPath != maskPath) maskUnsaved = true;
    maskPath = state.maskPath.substr(0, std::min<size_t>(state.maskPath.size(), 259));
    // A grid of one pixel or less, or beyond the picture's reach, is none.
    grid.size = state.gridSize >= 2 && state.gridSize <= kMaxLayerSide ? state.gridSize : 0;
    grid.offsetX = normaliseOffset(state.gridOffsetX, std::max(grid.size, 1));
    grid.offsetY = normaliseOffset(state.gridOffsetY, std::max(grid.size, 1));
    viewX = std::clamp(state.viewX, -kMaxLayerSide, kMaxLayerSide);
    viewY = std::clamp(state.viewY, -kMaxLayerSide, kMaxLayerSide);
    if (pictureChanged) {
        base.clear();
        pending.clear();
    }
    if (maskPath.empty()) mask.clear();
    if (!isOpen()) return;
    // A client shows nothing of the base until it has the mask: it asks
    // for the mask at once.
    if (maskAppeared && !db::isHost() && mapNetwork()) {
        net::NetMessage m;
        encodeSnapshotRequest(nodePath(), SnapshotKind::Mask, m);
        mapNetwork()->toHost(m);
    }
    Rebuild();
}

std::string ImageValue::nodePath() const { return node ? node->pathOf() : std::string(); }

void ImageValue::traceEvent(const char* event) const {
    if (platform::traceOn()) platform::trace("map %s %s", nodePath().c_str(), event);
}

void ImageValue::Publish() {
    if (node && mapNetwork()) mapNetwork()->publish(*node);
}

// Section: open and close.

bool ImageValue::loadBase() {
    base.clear();
    if (picturePath.empty()) return false;
    // Maps are drawn in tiles: they may be larger than a texture, up to
    // what the layers can hold.
    if (!loadMapPicture(platform::diskPath(picturePath), base)) return false;
    traceEvent("loaded");
    width = base.width;
    height = base.height;
    return true;
}

bool ImageValue::loadLayer(const std::string& path, AlphaPlane& plane) {
    plane.clear();
    if (path.empty()) return false;
    return loadLayerFile(platform::diskPath(path), hasBase() ? width : 0, hasBase() ? height : 0, plane);
}

bool ImageValue::Open(ImageViewer* viewer) {
    if (viewer) viewers.insert(viewer);
    if (openCount++ == 0) {
        openValues().insert(this);
        loadBase();
        if (db::isHost()) {
            loadLayer(maskPath, mask);
            loadLayer(drawingPath, drawing);
            maskUnsaved = drawingUnsaved = false;
            if (hasBase()) applyPending();
        } else if (mapNetwork() && node) {
            net::NetMessage m;
            encodeSnapshotRequest(nodePath(), SnapshotKind::Drawing, m);
            mapNetwork()->toHost(m);
            encodeSnapshotRequest(nodePath(), SnapshotKind::Mask, m);
            mapNetwork()->toHost(m);
        }
        if (!hasBase() && hasDrawing()) {
            width = drawing.width;
            height = drawing.height;
        } else if (!hasBase() && !hasDrawing() && defaultWidth > 0) {
            width = defaultWidth;
            height = defaultHeight;
        }
    }
    Rebuild();
    return hasBase() || hasDrawing();
}

void ImageValue::SetDefaultSize(int32_t w, int32_t h) {
    if (w <= 0 || h <= 0 || hasBase() || hasDrawing()) return;
    defaultWidth = w;
    defaultHeight = h;
    width = w;
    height = h;
}

void ImageValue::Close(ImageViewer* viewer) {
    if (viewer) viewers.erase(viewer);
    if (openCount == 0 || --openCount > 0) return;
    openValues().erase(this);
    saveChangedLayers();
    base.clear();
    mask.clear();
    drawing.clear();
    compositeTiles.release();
    drawingTiles.release();
    compositeDirty = drawingDirty = {};
}

// Section: the composite.

void ImageValue::Rebuild(const render::Rect* box) {
    render::Rect all{0, 0, width, height};
    compositeDirty = render::unite(compositeDirty, box ? render::intersect(*box, all) : all);
    TellViewers();
}

void ImageValue::TellViewers() {
    // A viewer may close the value while it is told: walk a copy.
    std::vector<ImageViewer*> copy(viewers.begin(), viewers.end());
    for (ImageViewer* v : copy)
        if (viewers.count(v)) v->LayersChanged();
}

CompositeInputs ImageValue::inputs() const {
    CompositeInputs in;
    in.base = hasBase() ? &base : nullptr;
    in.mask = hasMask() ? &mask : nullptr;
    in.maskNamed = !maskPath.empty();
    in.host = db::isHost();
    in.grid = grid;
    return in;
}

uint32_t ImageValue::CompositePixel(int32_t x, int32_t y) const {
    uint32_t pixel = 0;
    if (x < 0 || y < 0 || x >= width || y >= height) return 0;
    composeBox(inputs(), width, height, {x, y, x + 1, y + 1}, &pixel, 1, x, y);
    return pixel;
}

void ImageValue::DrawLayers(render::RenderContext& context, int32_t x, int32_t y, uint32_t tint,
                            const render::Rect& clip) {
    if (width <= 0 || height <= 0) return;
    if (hasBase() || !maskPath.empty() || grid.size) {
        if (compositeTiles.width() != width || compositeTiles.height() != height) compositeTiles.resize(width, height);
        compositeTiles.refresh(compositeDirty);
        compositeDirty = {};
        CompositeInputs in = inputs();
        compositeTiles.draw(context, x, y, tint, clip,
                            [&](const render::Rect& part, uint32_t* pixels, int32_t stride, int32_t tileX,
                                int32_t tileY) { composeBox(in, width, height, part, pixels, stride, tileX, tileY); });
    }
    if (!hasDrawing()) {
        drawingTiles.release();
        return;
    }
    if (drawingTiles.width() != drawing.width || drawingTiles.height() != drawing.height) {
        drawingTiles.resize(drawing.width, drawing.height);
    }
    drawingTiles.refresh(drawingDirty);
    drawingDirty = {};
    // Ink is rare on a big map: a tile without any gets no bitmap.
    auto blank = [&](const render::Rect& area) { return !drawing.anyOtherThan(area, 0); };
    std::vector<uint8_t> alpha;
    drawingTiles.draw(
        context, x, y, tint, clip,
        [&](const render::Rect& part, uint32_t* pixels, int32_t stride, int32_t tileX, int32_t tileY) {
            alpha.resize(size_t(part.width()));
            for (int32_t py = part.top; py < part.bottom; ++py) {
                uint32_t* row = pixels + ptrdiff_t(py - tileY) * stride + (part.left - tileX);
                drawing.readRow(py, part.left, part.right, alpha.data());
                for (size_t i = 0; i < alpha.size(); ++i) row[i] = uint32_t(alpha[i]) << 24;
            }
        },
        blank);
}

// Section: the picture file.

void ImageValue::FileAnnounced(uint32_t size, uint64_t fileTime) {
    if (picturePath.empty()) {
        traceEvent("unnamed");
        loading = false;
        base.clear();
        Rebuild();
        return;
    }
    net::FileStamp local;
    bool same = net::readFileStamp(platform::diskPath(picturePath), local) &&
                net::sameFile(uint32_t(local.size), local.writeTime, size, net::FileTime::of(fileTime));
    if (same) {
        traceEvent("same");
        loading = false;
        fetchingPath.clear();
        if (mapNetwork() && node) {
            net::NetMessage m;
            encodeAvailability(true, nodePath(), m);
            mapNetwork()->toHost(m);
        }
        if (isOpen() && !hasBase()) {
            loadBase();
            applyPending();
        }
        Rebuild();
        return;
    }
    if (loading && fetchingPath == picturePath) return;  // already on its way
    if (mapNetwork() && node && mapNetwork()->fetch(MapFetch::Picture, picturePath, fileTime, nodePath())) {
        loading = true;
        fetchingPath = picturePath;
        traceEvent("fetch");
    } else {
        traceEvent("unfetched");
    }
    Rebuild();
}

void ImageValue::OnFileArrived(bool ok) {
    loading = false;
    fetchingPath.clear();
    traceEvent(ok ? "arrived" : "failed");
    if (!ok) {
        picturePath.clear();
        base.clear();
        pending.clear();
        Rebuild();
        return;
    }
    if (isOpen()) {
        loadBase();
        applyPending();
    }
    Rebuild();
    if (mapNetwork() && node) {
        net::NetMessage m;
        encodeAvailability(true, nodePath(), m);
        mapNetwork()->toHost(m);
    }
}

void ImageValue::SetClientHasFile(const std::string& client, bool has) {
    if (has) {
        clientsWithFile.insert(client);
    } else {
        clientsWithFile.erase(client);
    }
    UpdateEverybodyHasIt();
}

void ImageValue::ClientLeft(const std::string& client) {
    clientsWithFile.erase(client);
    UpdateEverybodyHasIt();
}

void ImageValue::UpdateEverybodyHasIt() {
    bool all = true;
    if (mapNetwork())
        for (const std::string& c : mapNetwork()->clients()) all = all && clientsWithFile.count(c);
    if (all != everybodyHasIt) {
        everybodyHasIt = all;
        TellViewers();
    }
}

// Section: work that waits for the picture.

bool ImageValue::keepUntilLoaded(PendingWork work) {
    if (hasBase() || picturePath.empty()) return false;
    // A closed value on a client forgets it: the snapshots of the next
    // open bring it. The host applies it when the map opens next.
    if ((isOpen() || db::isHost()) && pending.size() < kMaxPending) pending.push_back(std::move(work));
    return true;
}

void ImageValue::applyPending() {
    if (!hasBase()) return;
    auto work = std::move(pending);
    pending.clear();
    for (auto& w : work) {
        if (auto* polygon = std::get_if<std::vector<uint32_t>>(&w)) ApplyPolygon(*polygon);
        if (auto* stroke = std::get_if<std::vector<StrokePoint>>(&w)) ApplyStroke(*stroke);
        if (auto* snapshot = std::get_if<PendingSnapshot>(&w)) MergeSnapshot(snapshot->kind, snapshot->bytes);
    }
}

// Section: masks.

void ImageValue::CreateMask() {
    if (hasMask() || !hasBase()) return;
    if (!mask.reset(width, height, 0)) return;
    maskUnsaved = true;
    if (maskPath.empty()) maskPath = freshLayerName("maskedimages", "%08lx.png");
    Rebuild();
    traceEvent("masked");
}

void ImageValue::DeleteMask() {
    mask.clear();
    removeFile(maskPath);
    maskPath.clear();
    Rebuild();
}

bool ImageValue::SaveMask() {
    if (!hasMask()) return false;
    if (maskPath.empty()) maskPath = freshLayerName("maskedimages", "%08lx.png");
    if (maskPath.empty() || !saveLayerFile(platform::diskPath(maskPath), mask)) return false;
    maskUnsaved = false;
    return true;
}

void ImageValue::SendPolygon(const std::vector<uint32_t>& outline, bool noSend) {
    std::string path = nodePath();
    std::vector<uint32_t> points = thinOutline(outline, polygonCapacity(path.size()));
    ApplyPolygon(points);
    if (noSend || !mapNetwork() || path.empty()) return;
    net::NetMessage m;
    if (db::isHost()) {
        encodePolygon(net::tags::IMMSR, path, points, m);
        mapNetwork()->toClients(m, {});
    } else {
        encodePolygon(net::tags::IMMSQ, path, points, m);
        mapNetwork()->toHost(m);
    }
}

void ImageValue::ApplyPolygon(const std::vector<uint32_t>& points) {
    if (keepUntilLoaded(points)) return;
    if (!hasBase()) return;
    if (!hasMask()) CreateMask();
    render::Rect box = revealPolygon(mask, points);
    maskUnsaved = maskUnsaved || !box.isEmpty();
    Rebuild(&box);
    traceEvent("polygon");
}

// Section: drawing.

void ImageValue::CreateDrawing() {
    int32_t w = hasBase() ? base.width : width, h = hasBase() ? base.height : height;
    if (!drawing.reset(w, h, 0)) return;
    drawingUnsaved = true;
    drawingDirty = drawing.bounds();
    // Named now, so that a save of the database made before the layer's
    // own (the program's exit) already points at its file.
    if (drawingPath.empty()) drawingPath = freshLayerName("drawings", "drawing_%ld.png");
}

void ImageValue::DrawSegment(int32_t x0, int32_t y0, int32_t x1, int32_t y1, uint8_t pressure) {
    if (!hasDrawing()) CreateDrawing();
    const render::Rect inked = drawSegment(drawing, x0, y0, x1, y1, pressure);
    drawingUnsaved = drawingUnsaved || !inked.isEmpty();
    drawingDirty = render::unite(drawingDirty, inked);
}

void ImageValue::SendStroke(const std::vector<StrokePoint>& stroke, bool noSend) {
    std::string path = nodePath();
    if (noSend || !mapNetwork() || path.empty() || stroke.size() < 2) return;
    net::NetMessage m;
    for (const auto& piece : splitStroke(stroke, strokeCapacity(path.size()))) {
        if (db::isHost()) {
            encodeStroke(net::tags::DRSTR, path, piece, m);
            mapNetwork()->toClients(m, {});
        } else {
            encodeStroke(net::tags::DRSTQ, path, piece, m);
            mapNetwork()->toHost(m);
        }
    }
}

void ImageValue::ApplyStroke(const std::vector<StrokePoint>& stroke) {
    if (keepUntilLoaded(stroke)) return;
    if (width <= 0 || height <= 0) return;
    if (!hasDrawing()) CreateDrawing();
    for (size_t i = 1; i < stroke.size(); ++i) {
        const StrokePoint &a = stroke[i - 1], &b = stroke[i];
        DrawSegment(pointX(a.point), pointY(a.point), pointX(b.point), pointY(b.point), a.pressure);
    }
    TellViewers();
    traceEvent("stroke");
}

void ImageValue::EraseDrawing(bool fromNetwork) {
    drawing.clear();
    drawingTiles.release();
    drawingDirty = {};
    // The path stays; the file goes, or the ink would come back with it.
    removeFile(drawingPath);
    Rebuild();
    traceEvent("erased");
    if (fromNetwork || !db::isHost() || !mapNetwork() || !node) return;
    net::NetMessage m;
    encodeErased(nodePath(), m);
    mapNetwork()->toClients(m, {});
}

bool ImageValue::SaveDrawing() {
    if (!hasDrawing()) return false;
    if (drawingPath.empty()) drawingPath = freshLayerName("drawings", "drawing_%ld.png");
    if (drawingPath.empty() || !saveLayerFile(platform::diskPath(drawingPath), drawing)) return false;
    drawingUnsaved = false;
    return true;
}

void ImageValue::ResizeDrawing(int32_t w, int32_t h) {
    if (hasBase() || w <= 0 || h <= 0) return;
    if (hasDrawing()) {
        resizePlane(drawing, w, h);
        drawingUnsaved = true;
        drawingDirty = drawing.bounds();
    }
    width = w;
    height = h;
    Rebuild();
}

bool ImageValue::MergeSnapshot(SnapshotKind kind, const std::vector<uint8_t>& fileBytes) {
    if (keepUntilLoaded(PendingSnapshot{kind, fileBytes})) return true;
    AlphaPlane incoming;
    if (!decodeLayer(fileBytes.data(), fileBytes.size(), width, height, incoming)) return false;
    AlphaPlane& layer = kind == SnapshotKind::Mask ? mask : drawing;
    if (kind == SnapshotKind::Mask && !hasMask()) CreateMask();
    if (kind == SnapshotKind::Drawing && !hasDrawing()) CreateDrawing();
    if (layer.width != incoming.width || layer.height != incoming.height) return false;
    // What came meanwhile as messages is newer than the snapshot: reveals
    // and ink only ever raise the alpha, so the larger value is the truth.
    // A run the snapshot leaves at 0, or that is already at 255 here,
    // stays as it is: on a big map that is nearly every run, and the
    // check looks at a block's one value before any pixel.
    constexpr int32_t kRun = AlphaPlane::kBlockSide;
    std::vector<uint8_t> mine(static_cast<size_t>(kRun)), theirs(static_cast<size_t>(kRun));
    for (int32_t y = 0; y < layer.height; ++y) {
        for (int32_t x0 = 0; x0 < layer.width; x0 += kRun) {
            const int32_t x1 = std::min(layer.width, x0 + kRun);
            const render::Rect run{x0, y, x1, y + 1};
            if (!incoming.anyOtherThan(run, 0) || !layer.anyOtherThan(run, 255)) continue;
            layer.readRow(y, x0, x1, mine.data());
            incoming.readRow(y, x0, x1, theirs.data());
            for (int32_t x = 0; x < x1 - x0; ++x) mine[size_t(x)] = std::max(mine[size_t(x)], theirs[size_t(x)]);
            layer.writeRow(y, x0, x1, mine.data());
        }
    }
    layer.compact(layer.bounds());
    (kind == SnapshotKind::Mask ? maskUnsaved : drawingUnsaved) = true;
    if (kind == SnapshotKind::Drawing) drawingDirty = drawing.bounds();
    Rebuild();
    traceEvent(kind == SnapshotKind::Mask ? "snapshot mask" : "snapshot drawing");
    return true;
}

void ImageValue::Deleted() {
    removeFile(maskPath);
    removeFile(drawingPath);
    removeFile(picturePath);
}

}  // namespace lh::table
