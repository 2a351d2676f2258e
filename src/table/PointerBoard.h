// Each user's one pointer, and the PNTRQ/PNTRR messages that carry it. The
// host relays a client's pointer unchanged to everybody, once it has made
// sure that the sender speaks for himself; a receiver never lets the echo
// overwrite its own user's shape, but takes the colour. No Desktop here:
// whether a window is open on this machine is asked of `isOpen`.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <string>

#include "net/NetMessage.h"
#include "table/TokenMessages.h"

namespace lh::table {

struct PointerState {
    bool shown = false;  // false: no window, the user has no pointer here
    WindowKey window;
    int16_t startX = 0, startY = 0, endX = 0, endY = 0;  // relative to the pointer's origin
    uint32_t color = 255;  // 0x00BBGGRR: red
    int32_t kind = 1;
};

class PointerBoard {
public:
    // A pointer map is bounded: names beyond this many are not kept.
    static constexpr size_t kMaxUsers = 256;

    void setLocalUser(std::string name) { local = std::move(name); }
    const std::string& localUser() const { return local; }
    void setHost(bool host) { isHost = host; }
    // Off in the local-characters mode: nothing leaves the machine.
    void setOnline(bool on) { online = on; }
    void setSend(std::function<void(const net::NetMessage&)> send) { sendOut = std::move(send); }
    void setIsOpen(std::function<bool(const WindowKey&)> f) { isOpen = std::move(f); }

    // The local user's pointer; `window` null takes it away. Positions are
    // packed, already relative to the pointer's origin. `finish` sends it.
    void SetLocal(const WindowKey* window, int32_t kind, uint32_t start, uint32_t end, bool finish);
    // Keeps the local user's colour; `send` tells the others at once.
    void SetColor(uint32_t color, bool send = true);
    void Send();

    // PNTRQ on the host (from `fromUser`) or PNTRR on a client. False with
    // the reason when malformed; `accepted` false when refused quietly (a
    // pointer for somebody else), which the host does not relay.
    bool handle(const net::NetMessage& m, const std::string& fromUser, bool& accepted, std::string& why);

    // A window closed here: pointers on it vanish. A user left: his goes;
    // the host also sends it away from every client.
    void WindowClosed(const WindowKey& key);
    void UserLeft(const std::string& user);

    PointerState* find(const std::string& user);
    const std::map<std::string, PointerState>& all() const { return pointers; }

private:
    PointerState* obtain(const std::string& user);

    std::map<std::string, PointerState> pointers;
    std::string local;
    bool isHost = true;
    bool online = true;
    std::function<void(const net::NetMessage&)> sendOut;
    std::function<bool(const WindowKey&)> isOpen;
};

}  // namespace lh::table
