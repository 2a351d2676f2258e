// The file service and the Ruleset file list; see FileServer.h.
#include "net/FileServer.h"

#include <string>

#include "db/Campaign.h"
#include "net/ContentPaths.h"
#include "net/FileStamp.h"
#include "net/MessageCatalogue.h"
#include "net/MessageReader.h"
#include "net/Session.h"

namespace lh::net {

FileResponder::~FileResponder() {
    if (file) std::fclose(file);
}

size_t FileResponder::read(uint8_t* buffer, size_t maximum) { return file ? std::fread(buffer, 1, maximum, file) : 0; }

FileServer::FileServer(std::filesystem::path r) : root(std::move(r)) {}

std::unique_ptr<HttpResponder> FileServer::serve(HttpServerRequest& request, uint16_t) {
    request.addReplyHeader(kServerHeader);
    std::string target = request.target();
    // The target is "/" and the program path; the leading slash is the
    // only one allowed, so "//etc/passwd" stays absolute and is refused.
    std::string path = target.empty() || target[0] != '/' ? std::string() : target.substr(1);
    for (char& c : path) {
        if (c == '/') c = '\\';
    }
    std::filesystem::path file = resolveContentFile(root, path);
    std::FILE* stream = file.empty() ? nullptr : std::fopen(file.c_str(), "rb");
    FileStamp stamp;
    if (!stream || !readFileStamp(file, stamp) || stamp.size > UINT32_MAX) {
        if (stream) std::fclose(stream);
        request.setStatus(kNotFound);
        return nullptr;
    }
    request.setStatus("HTTP/1.1 200 OK");
    request.addReplyHeader("Content-Type:image/x-any");
    request.addReplyHeader("Content-Length: " + std::to_string(stamp.size));
    return std::make_unique<FileResponder>(stream);
}

void sendFileList(Session& session, SessionPeer& peer, const std::filesystem::path& root,
                  const BundledFileCheck& isBundled) {
    for (const std::string& path : db::campaign().rulesetFiles) {
        // Every copy of the program has what the archive holds.
        if (isBundled && isBundled(path)) continue;
        std::filesystem::path file = resolveContentFile(root, path);
        FileStamp stamp;
        if (file.empty() || !readFileStamp(file, stamp) || stamp.size > UINT32_MAX) continue;
        NetMessage m(tags::CNDBR);
        MessageWriter(m).u32(uint32_t(stamp.size)).u32(stamp.writeTime.low).u32(stamp.writeTime.high).text(path);
        session.sendTo(m, peer);
    }
    session.sendTo(NetMessage(tags::CNDER), peer);
}

void installFileService(Session& session, const std::filesystem::path& root, BundledFileCheck isBundled) {
    session.setHttpServer(std::make_unique<FileServer>(root));
    session.setHandler(tags::CNDBQ, [&session, root, isBundled](SessionPeer* from, const NetMessage&) {
        if (from) sendFileList(session, *from, root, isBundled);
        return HandlerResult::Handled;
    });
}

}  // namespace lh::net
