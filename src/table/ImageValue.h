// The value of an image record: a base picture, a mask that hides parts of
// it from the players, a drawing layer that everybody inks, a square grid
// and the view that the Gamemaster sets for all. The layers exist only
// while some control has the value open; what is drawn is the composite of
// base, mask and grid, and the drawing layer over it, each kept as tiles
// on the device and refreshed only where something changed.
//
// Network effects go through MapNetwork (MapNetwork.h); without one the
// value works on this machine alone.
#pragma once

#include <cstdint>
#include <deque>
#include <set>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "db/NodeValue.h"
#include "render/Rect.h"
#include "table/ImageMessages.h"
#include "table/LayerPixels.h"
#include "table/LayerTiles.h"

namespace lh::table {

// Anything showing a value: told when a part of the picture changed
// (picture coordinates) or the value's size or view did.
class ImageViewer {
public:
    virtual ~ImageViewer() = default;
    virtual void LayersChanged() = 0;
};

class ImageValue final : public db::ImageValueBase {
public:
    // Pending work is capped: a flood of polygons for a picture that never
    // arrives must not grow without end.
    static constexpr size_t kMaxPending = 4096;

    ImageValue() = default;
    ~ImageValue() override;

    // Stored form and replication.
    void readStored(db::XmlElement& element) override;
    void writeStored(std::string& out, int indent) const override;
    std::string_view imagePath() const override { return picturePath; }
    void setImagePath(std::string_view path) override;
    db::ImageWireState wireState() const override;
    void setWireState(const db::ImageWireState& state) override;

    // Opening and closing by controls (and a test's stand-in viewer).
    // Open answers false when neither base nor drawing could be had.
    bool Open(ImageViewer* viewer);
    void Close(ImageViewer* viewer);
    bool isOpen() const { return openCount > 0; }
    // The program ends with maps open: their layers are written as a last
    // close would write them.
    static void SaveOpenLayers();
    // With no base and no drawing: the layer takes the control's size.
    void SetDefaultSize(int32_t w, int32_t h);

    // Remakes the composite inside `box` (all of it by default) and tells
    // the viewers.
    void Rebuild(const render::Rect* box = nullptr);
    void TellViewers();

    // Client, from DATAR: a file of this size and time stands behind the
    // path; fetch it unless the local copy is the same.
    void FileAnnounced(uint32_t size, uint64_t fileTime);
    // The fetch ended (ok false: it failed and the path is cleared).
    void OnFileArrived(bool ok);

    // Host: who has the file.
    void SetClientHasFile(const std::string& client, bool has);
    void ClientLeft(const std::string& client);
    void UpdateEverybodyHasIt();
    bool everybodyHasIt = false;

    // Masks.
    void CreateMask();
    void DeleteMask();
    // A polygon from this machine: applied, then sent unless `noSend`.
    void SendPolygon(const std::vector<uint32_t>& outline, bool noSend);
    void ApplyPolygon(const std::vector<uint32_t>& points);
    bool SaveMask();

    // Drawing.
    void CreateDrawing();
    // Ink of one segment; the layer is made if missing.
    void DrawSegment(int32_t x0, int32_t y0, int32_t x1, int32_t y1, uint8_t pressure);
    // A stroke drawn here (its ink is on the layer already): sent in pieces
    // unless `noSend`.
    void SendStroke(const std::vector<StrokePoint>& stroke, bool noSend);
    void ApplyStroke(const std::vector<StrokePoint>& stroke);
    // Deletes the layer; its file is emptied too, so that the erased ink
    // does not come back at the next open. The host tells the clients.
    void EraseDrawing(bool fromNetwork);
    bool SaveDrawing();
    void ResizeDrawing(int32_t w, int32_t h);

    // A snapshot of a layer merged in (client): alpha from the file's grey.
    bool MergeSnapshot(SnapshotKind kind, const std::vector<uint8_t>& fileBytes);

    // The record was deleted on the host: mask, drawing and picture go.
    void Deleted();
    // The node marked changed: its DATAR goes to everyone who holds it.
    void Publish();

    // Drawing the layers (a control calls this in its Draw).
    void DrawLayers(render::RenderContext& context, int32_t x, int32_t y, uint32_t tint, const render::Rect& clip);

    // What the value holds; read by the control and by tests.
    int32_t width = 0, height = 0;
    PicturePixels base;
    AlphaPlane mask, drawing;
    std::string maskPath, drawingPath;
    bool loading = false;
    GridLines grid;
    int32_t viewX = 0, viewY = 0;
    std::set<std::string> clientsWithFile;
    std::set<ImageViewer*> viewers;
    bool hasBase() const { return !base.empty(); }
    bool hasMask() const { return !mask.empty(); }
    bool hasDrawing() const { return !drawing.empty(); }
    size_t pendingCount() const { return pending.size(); }
    int openCountValue() const { return openCount; }

    // What the next draw writes out to the device: a change touches its
    // own box, never the whole picture.
    const render::Rect& compositeChange() const { return compositeDirty; }
    const render::Rect& drawingChange() const { return drawingDirty; }
    // Tiles on the device, of both layers.
    size_t madeTiles() const { return compositeTiles.madeTiles() + drawingTiles.madeTiles(); }

    // The composite's pixel at (x, y), as drawn (tests, the screenshot
    // checks); 0 outside the picture.
    uint32_t CompositePixel(int32_t x, int32_t y) const;

    std::string nodePath() const;

private:
    // A "map PATH EVENT" line in the trace, for those who watch the run.
    void traceEvent(const char* event) const;
    struct PendingSnapshot {
        SnapshotKind kind;
        std::vector<uint8_t> bytes;
    };
    using PendingWork = std::variant<std::vector<uint32_t>, std::vector<StrokePoint>, PendingSnapshot>;

    bool loadBase();
    bool loadLayer(const std::string& path, AlphaPlane& plane);
    // True when the work must wait for the picture (and was kept if it may).
    bool keepUntilLoaded(PendingWork work);
    // Writes the layers that changed since they were read or written.
    void saveChangedLayers();
    void applyPending();
    CompositeInputs inputs() const;

    std::string picturePath;
    std::string fetchingPath;  // the picture on its way, if any
    int openCount = 0;
    LayerTiles compositeTiles, drawingTiles;
    // What changed since the tiles were last written.
    render::Rect compositeDirty, drawingDirty;
    // Polygons, strokes and snapshots that came before the picture, in
    // their order.
    std::deque<PendingWork> pending;
    int32_t defaultWidth = 0, defaultHeight = 0;
    // A layer differs from its file (or has none yet).
    bool maskUnsaved = false, drawingUnsaved = false;
};

// The value class for kind 5: registered by the maps subsystem.
std::unique_ptr<db::NodeValue> makeImageValue();

// The fileTime of a file as the DATAR carries it; 0, 0 when it is absent.
void describePicture(std::string_view programPath, uint32_t& size, uint64_t& fileTime);

}  // namespace lh::table
