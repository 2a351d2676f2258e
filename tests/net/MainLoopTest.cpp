// The platform's event wait wakes for a message on a session socket, with
// no tick running.
#include <gtest/gtest.h>

#include "NetTestLoop.h"
#include "net/MainLoopHook.h"
#include "net/MessageCatalogue.h"
#include "platform/Platform.h"

using namespace lh::net;
namespace platform = lh::platform;

TEST(MainLoop, ASessionSocketWakesTheWait) {
    std::string error;
    ASSERT_TRUE(platform::initialize(error)) << error;
    Session host;
    uint16_t port = lh::test::openLoopbackHost(host);
    Session client;
    lh::platform::Subscription watch = attachToMainLoop(client);
    int chats = 0;
    client.setHandler(tags::CHATR, [&](SessionPeer*, const NetMessage&) {
        ++chats;
        return HandlerResult::Handled;
    });
    client.connectToHost("localhost", port);  // by name: the resolver wakes the loop too
    ASSERT_TRUE(lh::test::pumpUntil({&host, &client}, [&] { return host.users().size() == 1; }));
    host.users()[0]->name = "player";

    platform::Event event;
    while (platform::pollEvent(event)) {
    }
    host.sendToAll(NetMessage(tags::CHATR, {'h', 'i', 0}));
    host.poll();
    // No timer is set: only the socket can end this wait before its timeout.
    ASSERT_TRUE(platform::waitEvent(event, 10000));
    EXPECT_EQ(event.type, platform::EventType::Wake);
    client.poll();
    EXPECT_EQ(chats, 1);

    watch.reset();
    platform::shutdown();
}
