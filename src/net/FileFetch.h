// One file fetched from the host: a FILEX request on a connection of its
// own to the session port, the body written to a temp file beside the
// target and renamed over it once every announced byte is in (or kept in
// memory). A fetch that fails or is cancelled leaves nothing behind, and a
// finished file bears the host's last-write time.
#pragma once

#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "net/FileStamp.h"
#include "net/HttpRequest.h"
#include "platform/Platform.h"

namespace lh::net {

// What happens to a fetched file once it is in; FileExchange keeps a
// handler for each.
enum class FetchKind : int {
    Image = 0,         // an image value's picture, to a file
    Ruleset = 1,       // a file of the file list; nothing further
    Portrait = 2,      // a portrait, to a file
    TokenBitmap = 3,   // a token's picture, to memory
    DrawingLayer = 4,  // an image's drawing layer, to memory
    Mask = 5,          // an image's mask, to memory
};
constexpr int kFetchKindCount = 6;
bool fetchesToMemory(FetchKind kind);

class FileFetch {
public:
    // The method text that makes the request's first line a FILEX envelope.
    static const std::string kMethod;
    // Largest body kept in memory; a longer one fails the fetch.
    static constexpr uint32_t kMaxMemoryBody = 256u << 20;

    // `path` as announced; drive and leading separators are dropped. Files
    // land below `root`. Nothing connects or touches the disk before the
    // first poll().
    FileFetch(std::string hostAddress, uint16_t port, std::string_view path, FetchKind kind, FileTime writeTime,
              std::filesystem::path root);
    ~FileFetch();
    FileFetch(const FileFetch&) = delete;
    FileFetch& operator=(const FileFetch&) = delete;

    // 0 under way, 1 finished, negative failed. Moves what the socket has.
    int poll();
    // Ends the transfer now: the connection closes, the temp file goes.
    void cancel();

    const std::string& localPath() const { return local; }
    FetchKind kind() const { return fetchKind; }
    uint32_t received() const { return receivedBytes; }
    // The announced length, 0 before the reply's header.
    uint32_t expected() const { return length; }
    const std::vector<uint8_t>& buffer() const { return memory; }
    const std::string& errorText() const { return error; }
    // The node that a picture belongs to, looked up again at the end.
    std::string nodePath;

    // Non-const: the request hands out its connection only that way.
    void watch(std::vector<platform::WatchedFd>& out);

private:
    int fail(const std::string& why);
    int finish();
    bool beginBody();
    bool takeBody();
    void dropTemp();

    HttpRequest request;
    std::string address;
    uint16_t port;
    std::string local;
    FetchKind fetchKind;
    FileTime writeTime;
    std::filesystem::path root;
    std::filesystem::path target;
    std::filesystem::path temp;
    std::FILE* file = nullptr;
    std::vector<uint8_t> memory;
    std::vector<uint8_t> chunk;
    uint32_t receivedBytes = 0;
    uint32_t length = 0;
    bool started = false;
    bool haveHeader = false;
    int result = 0;
    std::string error;
};

}  // namespace lh::net
