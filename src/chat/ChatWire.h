// The bodies of the chat's messages, as pure codecs: bytes in, struct out
// and back, with no window or socket in sight. All texts are 8-bit and end
// with a zero byte; a body that ends early, a text without its zero, or an
// attachment kind that does not exist is refused with the reason.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "net/NetMessage.h"

namespace lh::chat {

// CHATQ and CHATR: one chat line.
struct ChatMessage {
    std::string speaker;    // the label without its last ":"
    std::string font;       // a name in Fonts
    std::string text;
    std::string indicator;  // an icon name, empty for none
    uint8_t attachmentKind = 0;  // 0 none, 1 die result, 2 poll
    std::string dieText;         // kind 1: "d6=4,d6=1:2"
    uint32_t pollId = 0;         // kind 2

    bool operator==(const ChatMessage&) const = default;
};

// How long each field of a line may be on the wire. A label holds 120
// bytes, names 256; the text is a line of the entry or of an imported log.
constexpr size_t kMaxSpeaker = 255;
constexpr size_t kMaxFontName = 255;
constexpr size_t kMaxLineText = 64 * 1024;
constexpr size_t kMaxDieText = 8 * 1024;

net::NetMessage encodeChat(net::MessageTag tag, const ChatMessage& line);
std::optional<ChatMessage> decodeChat(const net::NetMessage& message, std::string& error);

// CHINQ and CHINR: an Identity's typing state.
enum class TypingState : uint8_t { Idle = 0, Typing = 1, Away = 2 };
struct TypingNotice {
    std::string identity;
    uint8_t state = 0;
};
net::NetMessage encodeTyping(net::MessageTag tag, const TypingNotice& notice);
std::optional<TypingNotice> decodeTyping(const net::NetMessage& message, std::string& error);

// CHITR: the host's typing state, then one empty text; a message whose text
// is not empty is ignored (nullopt with no error).
net::NetMessage encodeHostTyping(bool typing);
std::optional<bool> decodeHostTyping(const net::NetMessage& message, std::string& error);

// BELLR: 0 the asterisk sound, 1 the hand sound; others do nothing.
net::NetMessage encodeBell(uint8_t sound);
std::optional<uint8_t> decodeBell(const net::NetMessage& message, std::string& error);

// POLLQ and POLLR: a vote on a poll (the value is always 1).
struct PollVote {
    uint32_t pollId = 0;
    uint32_t value = 1;
    std::string identity;
};
net::NetMessage encodePollVote(net::MessageTag tag, const PollVote& vote);
std::optional<PollVote> decodePollVote(const net::NetMessage& message, std::string& error);

}  // namespace lh::chat
