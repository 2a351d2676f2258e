// What the lower layers of a frame drew in one area, kept from the middle of
// a frame and put back in a later one, so that a frame which changes only
// what lies above those layers need not draw them again. The chat's lines
// are the case: a new line changes its area, and the desktop and the chat's
// frame under them stay as they were.
#pragma once

#include "render/Bitmap.h"
#include "render/DeviceResource.h"
#include "render/Rect.h"

namespace lh::render {

class Backdrop : public DeviceResource {
public:
    Backdrop();
    ~Backdrop() override;
    Backdrop(const Backdrop&) = delete;
    Backdrop& operator=(const Backdrop&) = delete;

    // Copies `area` of the back buffer as it is now. False, and nothing
    // kept, when there is no back buffer or no memory for the copy.
    bool Keep(const Rect& area);
    // True when `part` lies inside a kept area.
    bool Holds(const Rect& part) const;
    // Copies `part` of the kept area back into the back buffer.
    bool Restore(const Rect& part);
    // Something under the area changed: the copy is no longer the picture.
    void Forget() { kept = Rect{}; }
    const Rect& Area() const { return kept; }

    void OnDeviceLost() override { Forget(); }
    void OnDeviceReset() override {}

private:
    Bitmap copy;
    Rect kept;
};

}  // namespace lh::render
