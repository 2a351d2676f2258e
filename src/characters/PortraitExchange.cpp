#include "characters/PortraitExchange.h"

#include <cstdio>
#include <filesystem>
#include <system_error>

#include "characters/CharacterFiles.h"
#include "characters/PortraitMessages.h"
#include "db/Campaign.h"
#include "db/NameCheck.h"
#include "db/Users.h"
#include "net/FileFetch.h"
#include "net/FileStamp.h"
#include "net/MessageCatalogue.h"
#include "net/MessageReader.h"
#include "net/Session.h"
#include "platform/Paths.h"
#include "platform/Socket.h"
#include "platform/Spine.h"
#include "platform/Trace.h"

namespace lh::characters {

namespace fs = std::filesystem;
using net::HandlerResult;

namespace {

std::string campaignName() { return std::string(db::campaign().name.view()); }

// The character a portrait path of this Campaign names
// ("campaigns\<campaign>\portraits\<name>"); empty for any other path, so
// that a host cannot make a client fetch anything else.
std::string characterOfPortraitPath(const std::string& path) {
    std::vector<std::string> pieces = platform::splitProgramPath(path);
    if (pieces.size() != 4 || !platform::sameNameNoCase(pieces[0], "campaigns") || pieces[1] != campaignName() ||
        !platform::sameNameNoCase(pieces[2], "portraits") || !db::isUsableName(pieces[3])) {
        return {};
    }
    return pieces[3];
}

bool appendTo(const fs::path& file, const std::vector<uint8_t>& bytes, bool first) {
    std::FILE* f = std::fopen(file.c_str(), first ? "wb" : "ab");
    if (!f) return false;
    bool ok = bytes.empty() || std::fwrite(bytes.data(), 1, bytes.size(), f) == bytes.size();
    return std::fclose(f) == 0 && ok;
}

// The whole file when it holds at most `limit` bytes.
bool readSmallFile(const fs::path& file, uint64_t limit, std::vector<uint8_t>& out) {
    std::error_code ec;
    uint64_t size = fs::file_size(file, ec);
    if (ec || size > limit) return false;
    std::FILE* f = std::fopen(file.c_str(), "rb");
    if (!f) return false;
    out.resize(size_t(size));
    bool ok = size == 0 || std::fread(out.data(), 1, out.size(), f) == out.size();
    std::fclose(f);
    return ok;
}

bool sameBytes(const fs::path& a, const fs::path& b) {
    std::vector<uint8_t> left, right;
    return readSmallFile(a, kMaxPortraitBytes, left) && readSmallFile(b, kMaxPortraitBytes, right) && left == right;
}

}  // namespace

PortraitExchange::PortraitExchange(net::Session& s, std::function<void(const std::string&, const std::string&)> shower)
    : session(s), show(std::move(shower)) {
    if (session.isHost()) {
        registerHost();
    } else {
        registerClient();
    }
}

PortraitExchange::~PortraitExchange() = default;

bool PortraitExchange::sendFile(const std::string& programPath) {
    const fs::path disk = platform::diskPath(programPath);
    std::error_code ec;
    uint64_t size = fs::file_size(disk, ec);
    if (ec || size == 0) return false;
    // The count of chunks is one byte: a larger file cannot be told.
    if (portraitChunkCount(size) > kMaxPortraitChunks) {
        if (line)
            line("The portrait " + programPath + " is too large to send: " + std::to_string(size) +
                 " bytes, at most " + std::to_string(kMaxPortraitBytes) + ".");
        return false;
    }
    std::vector<uint8_t> bytes;
    if (!readSmallFile(disk, kMaxPortraitBytes, bytes)) return false;
    for (const net::NetMessage& chunk : encodePortraitChunks(bytes)) session.sendToHost(chunk);
    return true;
}

void PortraitExchange::request(const std::string& name) {
    if (db::isUsableName(name)) session.sendToHost(encodePortraitRequest(name));
}

void PortraitExchange::registerHost() {
    // An upload cut short by a departure is no portrait: its rest goes.
    departed = session.departed().subscribe([this](net::SessionPeer& peer) {
        nextChunk.erase(peer.name);
        db::SessionUser* user = db::findKnownUser(peer.name);
        if (!user || !db::isUsableName(user->identity.view())) return;
        fs::path target = platform::diskPath(campaignPortraitPath(campaignName(), user->identity.view()));
        std::error_code ec;
        fs::remove(target.parent_path() / ("." + std::string(user->identity.view()) + ".upload"), ec);
    });
    session.setHandler(net::tags::CHPDQ, [this](net::SessionPeer* from, const net::NetMessage& m) {
        std::string error;
        std::optional<PortraitChunk> chunk = decodePortraitChunk(m, error);
        db::SessionUser* user = from ? db::findKnownUser(from->name) : nullptr;
        std::string identity = user ? std::string(user->identity.view()) : std::string();
        if (!chunk || !db::isUsableName(identity)) {
            session.reportMalformed(from, m, chunk ? "a portrait from a user with no character" : error);
            return HandlerResult::Rejected;
        }
        // Chunks come in order on one connection; one out of order, or one
        // behind a refused one, belongs to no file that is being written.
        int& expected = nextChunk[from->name];
        if (chunk->number == 1) expected = 1;
        if (chunk->number != expected) {
            session.reportMalformed(from, m, "portrait chunk out of order");
            expected = 0;
            return HandlerResult::Rejected;
        }
        const std::string target = campaignPortraitPath(campaignName(), identity);
        fs::path disk = platform::diskPath(target);
        std::error_code ec;
        fs::create_directories(disk.parent_path(), ec);
        // The file grows under a hidden name, which the file service never
        // hands out, and takes its own name whole.
        fs::path partial = disk.parent_path() / ("." + identity + ".upload");
        if (!appendTo(partial, chunk->bytes, chunk->number == 1)) {
            expected = 0;
            return HandlerResult::Rejected;
        }
        ++expected;
        if (chunk->number < chunk->count) return HandlerResult::Handled;
        expected = 0;
        // The same picture again keeps the file and its time, so that the
        // players' copies stay current and nothing travels.
        if (sameBytes(partial, disk)) {
            fs::remove(partial, ec);
        } else {
            fs::rename(partial, disk, ec);
        }
        net::FileStamp stamp;
        if (ec || !net::readFileStamp(disk, stamp)) return HandlerResult::Rejected;
        session.sendToAll(encodePortraitNotice({uint32_t(stamp.size), stamp.writeTime.value(), target}));
        if (show) show(identity, target);
        return HandlerResult::Handled;
    });
    session.setHandler(net::tags::CHPRQ, [this](net::SessionPeer* from, const net::NetMessage& m) {
        net::MessageReader r(m);
        std::string name = r.text(kPortraitTextMax);
        if (!r.ok() || !from) {
            session.reportMalformed(from, m, r.error());
            return HandlerResult::Rejected;
        }
        if (!db::isUsableName(name)) return HandlerResult::Rejected;
        const std::string path = campaignPortraitPath(campaignName(), name);
        net::FileStamp stamp;
        if (net::readFileStamp(platform::diskPath(path), stamp) && stamp.size <= kMaxPortraitBytes)
            session.sendTo(encodePortraitNotice({uint32_t(stamp.size), stamp.writeTime.value(), path}), *from);
        return HandlerResult::Handled;
    });
}

void PortraitExchange::registerClient() {
    session.setHandler(net::tags::CHPRR, [this](net::SessionPeer*, const net::NetMessage& m) {
        std::string error;
        std::optional<PortraitNotice> notice = decodePortraitNotice(m, error);
        std::string name = notice ? characterOfPortraitPath(notice->path) : std::string();
        if (name.empty()) {
            session.reportMalformed(nullptr, m, notice ? "not a portrait of this Campaign" : error);
            return HandlerResult::Rejected;
        }
        net::FileStamp local;
        if (net::readFileStamp(platform::diskPath(notice->path), local) &&
            net::sameFile(uint32_t(local.size), local.writeTime, notice->size, net::FileTime::of(notice->writeTime))) {
            if (show) show(name, notice->path);
        } else {
            startFetch(notice->path, notice->writeTime);
        }
        return HandlerResult::Handled;
    });
    poll = platform::spine().pollSession.subscribe([this] { stepFetches(); });
    watch = platform::spine().watchFds.subscribe([this](std::vector<platform::WatchedFd>& fds) {
        for (auto& f : fetches) f->watch(fds);
    });
}

void PortraitExchange::startFetch(const std::string& path, uint64_t writeTime) {
    net::SessionPeer* host = session.hostPeer();
    if (!host || !host->connection) return;
    for (const auto& f : fetches)
        if (f->localPath() == path) return;  // under way already
    auto fetch = std::make_unique<net::FileFetch>(platform::formatIpv4(host->connection->peerAddress()),
                                                  host->connection->port(), path, net::FetchKind::Portrait,
                                                  net::FileTime::of(writeTime), platform::workingDirectory());
    fetch->nodePath = path;
    platform::trace("fetch portrait %s", path.c_str());
    fetch->poll();
    fetches.push_back(std::move(fetch));
}

void PortraitExchange::stepFetches() {
    for (size_t i = 0; i < fetches.size();) {
        int result = fetches[i]->poll();
        if (result == 0) {
            ++i;
            continue;
        }
        std::unique_ptr<net::FileFetch> done = std::move(fetches[i]);
        fetches.erase(fetches.begin() + long(i));
        if (result == 1) {
            if (show) show(characterOfPortraitPath(done->nodePath), done->nodePath);
        } else if (line) {
            char text[512];
            std::snprintf(text, sizeof text, "Could not complete file transfer of file %s. Check your network configuration.",
                          done->nodePath.c_str());
            line(text);
        }
    }
}

}  // namespace lh::characters
