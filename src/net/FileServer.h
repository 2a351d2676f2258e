// The host's side of the file exchange: the file service behind the FILEX
// hand-over, and the list of Ruleset files that a joining client asks for
// with CNDBQ. Files are served from below a root folder (the working
// directory in the program, a scratch folder in tests) under the content
// rule of ContentPaths.h; whatever else is asked for gets the not-found
// answer and no bytes.
#pragma once

#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <functional>
#include <memory>
#include <string>

#include "net/HttpServer.h"

namespace lh::net {

class Session;
struct SessionPeer;

// The body of one reply: an open file, read in order.
class FileResponder : public HttpResponder {
public:
    explicit FileResponder(std::FILE* file) : file(file) {}
    ~FileResponder() override;
    FileResponder(const FileResponder&) = delete;
    FileResponder& operator=(const FileResponder&) = delete;
    size_t read(uint8_t* buffer, size_t maximum) override;

private:
    std::FILE* file;
};

class FileServer : public HttpServer {
public:
    static constexpr const char* kServerHeader = "Server:Zenthar image server/0.0";
    static constexpr const char* kNotFound = "HTTP/1.1 404 NOT FOUND";

    explicit FileServer(std::filesystem::path root);
    std::unique_ptr<HttpResponder> serve(HttpServerRequest& request, uint16_t port) override;

private:
    std::filesystem::path root;
};

// Whether every copy of the program has a file already (an entry of its
// resource archive): such files are left out of the list. The archive is the
// Ruleset layer's to read; the host's start-up hands its lookup in here.
using BundledFileCheck = std::function<bool(const std::string& path)>;

// CNDBR for each Ruleset file of the Campaign that can be read, may be
// served and is not bundled (in list order), then CNDER.
void sendFileList(Session& session, SessionPeer& peer, const std::filesystem::path& root,
                  const BundledFileCheck& isBundled = {});

// Host: the file service on the session port and the answer to CNDBQ.
void installFileService(Session& session, const std::filesystem::path& root, BundledFileCheck isBundled = {});

}  // namespace lh::net
