// Anything that holds GL objects which must be given up and made again
// around a device reset or a lost context.
#pragma once

namespace lh::render {

class DeviceResource {
public:
    virtual ~DeviceResource() = default;
    // The device is going away. When the context itself was lost
    // (GraphicsDevice::IsContextLost) the GL names are already dead: forget
    // them without deleting, or the new context's objects would go instead.
    virtual void OnDeviceLost() = 0;
    // The device is back; make again what OnDeviceLost gave up.
    virtual void OnDeviceReset() = 0;
};

}  // namespace lh::render
