// Feeds arbitrary bytes through the session's framing and dispatch, on a
// host and on a client, with handlers that read each body the way their
// subsystems do. Nothing may read out of bounds, assert or leak.
#include <cstddef>
#include <cstdint>

#include "net/MessageCatalogue.h"
#include "net/MessageReader.h"
#include "net/Session.h"

using namespace lh::net;

namespace {

// Reads a body by a small layout: 'b' byte, 'w' 16 bits, 'd' 32 bits,
// 'q' 64 bits, 'f' float, 't' text, 'r' 20 reserved bytes, '*' texts to the end.
HandlerResult readLayout(Session& session, SessionPeer* from, const NetMessage& m, const char* layout) {
    MessageReader r(m);
    for (const char* p = layout; *p; ++p) {
        switch (*p) {
            case 'b': r.u8(); break;
            case 'w': r.u16(); break;
            case 'd': r.u32(); break;
            case 'q': r.u64(); break;
            case 'f': r.f32(); break;
            case 't': r.text(1024); break;
            case 'r': r.skip(20); break;
            case '*':
                while (r.ok() && r.remaining() > 0) r.text(1024);
                break;
        }
    }
    if (!r.ok()) {
        session.reportMalformed(from, m, r.error());
        return HandlerResult::Rejected;
    }
    return HandlerResult::Handled;
}

const char* layoutOf(const MessageTag& tag) {
    std::string_view t = tag.text();
    if (t == "CONNQ") return "rtt";
    if (t == "CONNR") return "bbbttt";
    if (t == "CNDBR") return "dqt";
    if (t == "LGINR") return "ttb";
    if (t.substr(0, 3) == "TOK") return "tddfb";
    if (t.substr(0, 4) == "DIET") return "tdffffff";
    return "*";
}

struct Rig {
    Session host;
    Session client;
    Rig() {
        host.becomeHost();
        for (Session* s : {&host, &client}) {
            s->setSystemLineSink([](const std::string&) {});
            for (const TagInfo& info : messageCatalogue()) {
                const char* layout = layoutOf(info.tag);
                s->setHandler(info.tag, [s, layout](SessionPeer* from, const NetMessage& m) {
                    return readLayout(*s, from, m, layout);
                });
            }
        }
        host.addPeer(nullptr).name = "player";
        host.addPeer(nullptr);  // not logged in
    }
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static Rig rig;
    ByteQueue in;
    in.append(data, size);
    NetMessage message;
    size_t index = 0;
    while (takeMessage(in, message) == FrameStatus::Complete) {
        SessionPeer* from = rig.host.users()[index++ % 2].get();
        rig.host.dispatch(from, message);
        rig.client.dispatch(nullptr, message);
    }
    return 0;
}
