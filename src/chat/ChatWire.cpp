// Chat message bodies.
#include "chat/ChatWire.h"

#include "net/MessageCatalogue.h"
#include "net/MessageReader.h"

namespace lh::chat {

net::NetMessage encodeChat(net::MessageTag tag, const ChatMessage& line) {
    net::NetMessage m(tag);
    net::MessageWriter w(m);
    w.text(line.speaker).text(line.font).text(line.text).text(line.indicator).u8(line.attachmentKind);
    if (line.attachmentKind == 1) w.text(line.dieText).u8(0);
    if (line.attachmentKind == 2) w.u32(line.pollId);
    return m;
}

std::optional<ChatMessage> decodeChat(const net::NetMessage& message, std::string& error) {
    net::MessageReader r(message);
    ChatMessage line;
    line.speaker = r.text(kMaxSpeaker + 1);
    line.font = r.text(kMaxFontName + 1);
    line.text = r.text(kMaxLineText + 1);
    line.indicator = r.text(kMaxFontName + 1);
    line.attachmentKind = r.u8();
    if (r.ok() && line.attachmentKind == 1) {
        line.dieText = r.text(kMaxDieText + 1);
        r.u8();
    } else if (r.ok() && line.attachmentKind == 2) {
        line.pollId = r.u32();
    } else if (r.ok() && line.attachmentKind != 0) {
        error = "attachment kind " + std::to_string(line.attachmentKind) + " does not exist";
        return std::nullopt;
    }
    if (!r.ok()) {
        error = r.error();
        return std::nullopt;
    }
    return line;
}

net::NetMessage encodeTyping(net::MessageTag tag, const TypingNotice& notice) {
    net::NetMessage m(tag);
    net::MessageWriter(m).text(notice.identity).u8(notice.state);
    return m;
}

std::optional<TypingNotice> decodeTyping(const net::NetMessage& message, std::string& error) {
    net::MessageReader r(message);
    TypingNotice n;
    n.identity = r.text(kMaxSpeaker + 1);
    n.state = r.u8();
    if (!r.ok()) {
        error = r.error();
        return std::nullopt;
    }
    return n;
}

net::NetMessage encodeHostTyping(bool typing) {
    net::NetMessage m(net::tags::CHITR);
    net::MessageWriter(m).u8(typing ? 1 : 0).text("");
    return m;
}

std::optional<bool> decodeHostTyping(const net::NetMessage& message, std::string& error) {
    net::MessageReader r(message);
    uint8_t state = r.u8();
    std::string text = r.text(kMaxSpeaker + 1);
    if (!r.ok()) {
        error = r.error();
        return std::nullopt;
    }
    if (!text.empty()) return std::nullopt;
    return state != 0;
}

net::NetMessage encodeBell(uint8_t sound) {
    net::NetMessage m(net::tags::BELLR);
    net::MessageWriter(m).u8(sound);
    return m;
}

std::optional<uint8_t> decodeBell(const net::NetMessage& message, std::string& error) {
    net::MessageReader r(message);
    uint8_t sound = r.u8();
    if (!r.ok()) {
        error = r.error();
        return std::nullopt;
    }
    return sound;
}

net::NetMessage encodePollVote(net::MessageTag tag, const PollVote& vote) {
    net::NetMessage m(tag);
    net::MessageWriter(m).u32(vote.pollId).u32(vote.value).text(vote.identity);
    return m;
}

std::optional<PollVote> decodePollVote(const net::NetMessage& message, std::string& error) {
    net::MessageReader r(message);
    PollVote v;
    v.pollId = r.u32();
    v.value = r.u32();
    v.identity = r.text(kMaxSpeaker + 1);
    if (!r.ok()) {
        error = r.error();
        return std::nullopt;
    }
    return v;
}

}  // namespace lh::chat
