// The bodies of the login and Identity messages.
#include "net/LoginMessages.h"

#include "net/MessageReader.h"
#include "net/MessageCatalogue.h"

namespace lh::net {

namespace {

// A body read to its end with every field in place; bytes behind the last
// field are tolerated (a newer peer may add some), a short body is not.
template <class T>
std::optional<T> finish(const MessageReader& reader, T value, std::string& error) {
    if (!reader.ok()) {
        error = reader.error();
        return std::nullopt;
    }
    return value;
}

}  // namespace

NetMessage encodeConnectRequest(const ConnectRequest& request) {
    NetMessage m(tags::CONNQ);
    MessageWriter w(m);
    for (int i = 0; i < 20; ++i) w.u8(0);
    w.text(request.userName).text(request.password);
    return m;
}

std::optional<ConnectRequest> decodeConnectRequest(const NetMessage& message, std::string& error) {
    MessageReader r(message);
    r.skip(20);
    ConnectRequest request;
    request.userName = r.text(kLoginTextMax);
    request.password = r.text(kLoginTextMax);
    return finish(r, request, error);
}

NetMessage encodeConnectAnswer(const ConnectAnswer& answer) {
    NetMessage m(tags::CONNR);
    MessageWriter w(m);
    w.u8(answer.major).u8(answer.minor).u8(answer.status);
    if (answer.status == kAccepted) w.text(answer.campaign).text(answer.setting).text(answer.ruleset);
    return m;
}

std::optional<ConnectAnswer> decodeConnectAnswer(const NetMessage& message, std::string& error) {
    MessageReader r(message);
    ConnectAnswer answer;
    answer.major = r.u8();
    answer.minor = r.u8();
    answer.status = r.u8();
    if (r.ok() && answer.status == kAccepted) {
        answer.campaign = r.text(kLoginTextMax);
        answer.setting = r.text(kLoginTextMax);
        answer.ruleset = r.text(kLoginTextMax);
    }
    return finish(r, answer, error);
}

NetMessage encodeLoginNotice(const LoginNotice& notice) {
    NetMessage m(tags::LGINR);
    MessageWriter(m).text(notice.identity).text(notice.userName).u8(notice.isLocal);
    return m;
}

std::optional<LoginNotice> decodeLoginNotice(const NetMessage& message, std::string& error) {
    MessageReader r(message);
    LoginNotice notice;
    notice.identity = r.text(kLoginTextMax);
    notice.userName = r.text(kLoginTextMax);
    notice.isLocal = r.u8();
    return finish(r, notice, error);
}

NetMessage encodeIdentityRequest(const IdentityRequest& request) {
    NetMessage m(tags::IDENQ);
    MessageWriter(m).text(request.name).u8(request.isLocal);
    return m;
}

std::optional<IdentityRequest> decodeIdentityRequest(const NetMessage& message, std::string& error) {
    MessageReader r(message);
    IdentityRequest request;
    request.name = r.text(kLoginTextMax);
    request.isLocal = r.u8();
    return finish(r, request, error);
}

NetMessage encodeTextMessage(MessageTag tag, const std::string& text) {
    NetMessage m(tag);
    MessageWriter(m).text(text);
    return m;
}

std::optional<std::string> decodeTextMessage(const NetMessage& message, std::string& error) {
    MessageReader r(message);
    std::string text = r.text(kLoginTextMax);
    return finish(r, text, error);
}

NetMessage encodeIdentityAnswer(uint8_t inUse) {
    NetMessage m(tags::IDENR);
    MessageWriter(m).u8(inUse);
    return m;
}

std::optional<uint8_t> decodeIdentityAnswer(const NetMessage& message, std::string& error) {
    MessageReader r(message);
    uint8_t inUse = r.u8();
    return finish(r, inUse, error);
}

}  // namespace lh::net
