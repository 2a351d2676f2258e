// The bodies of the login and Identity messages: pure codecs, bytes in and
// structs out, so that hostile bodies can be thrown at them alone.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "net/NetMessage.h"

namespace lh::net {

constexpr uint8_t kVersionMajor = 1;
constexpr uint8_t kVersionMinor = 3;

// Longest texts accepted in these bodies; the fields they go into are
// smaller still and cut on storing.
constexpr size_t kLoginTextMax = 260;

struct ConnectRequest {  // CONNQ: 20 reserved bytes, user name, password
    std::string userName;
    std::string password;
};
NetMessage encodeConnectRequest(const ConnectRequest& request);
std::optional<ConnectRequest> decodeConnectRequest(const NetMessage& message, std::string& error);

enum ConnectStatus : uint8_t { kAccepted = 0, kNameInUse = 1, kWrongPassword = 2 };

struct ConnectAnswer {  // CONNR: major, minor, status; the three texts only with status 0
    uint8_t major = kVersionMajor;
    uint8_t minor = kVersionMinor;
    uint8_t status = kAccepted;
    std::string campaign, setting, ruleset;
};
NetMessage encodeConnectAnswer(const ConnectAnswer& answer);
std::optional<ConnectAnswer> decodeConnectAnswer(const NetMessage& message, std::string& error);

struct LoginNotice {  // LGINR: Identity, user name, local flag
    std::string identity;
    std::string userName;
    uint8_t isLocal = 0;
};
NetMessage encodeLoginNotice(const LoginNotice& notice);
std::optional<LoginNotice> decodeLoginNotice(const NetMessage& message, std::string& error);

struct IdentityRequest {  // IDENQ: character name, local flag
    std::string name;
    uint8_t isLocal = 0;
};
NetMessage encodeIdentityRequest(const IdentityRequest& request);
std::optional<IdentityRequest> decodeIdentityRequest(const NetMessage& message, std::string& error);

// Bodies of one text: LGOTR (the Identity that left) and IDLSR (a character).
NetMessage encodeTextMessage(MessageTag tag, const std::string& text);
std::optional<std::string> decodeTextMessage(const NetMessage& message, std::string& error);

// IDENR: one byte, 0 accepted, 1 the name is in use.
NetMessage encodeIdentityAnswer(uint8_t inUse);
std::optional<uint8_t> decodeIdentityAnswer(const NetMessage& message, std::string& error);

}  // namespace lh::net
