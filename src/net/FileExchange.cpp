// The client's downloads and the file list dialog; see FileExchange.h.
#include "net/FileExchange.h"

#include <cstdio>

#include "net/ContentPaths.h"
#include "net/FileStamp.h"
#include "net/MessageCatalogue.h"
#include "net/MessageReader.h"
#include "net/Session.h"
#include "platform/Socket.h"

namespace lh::net {
namespace {
// Paths in the list are at most this long, as the program keeps them.
constexpr size_t kMaxPathLength = 260;

std::string failedLine(const std::string& path) {
    std::string_view text = FileExchange::kTransferFailedText;
    size_t at = text.find("%s");
    std::string line(text.substr(0, at));
    line.append(path).append(text.substr(at + 2));
    return line;
}
FileExchange* latest = nullptr;
}  // namespace

FileExchange* FileExchange::current() { return latest; }

FileExchange::FileExchange(Session& s, std::filesystem::path r)
    : session(s), root(std::move(r)), systemLine([](const std::string& line) {
          std::fprintf(stderr, "%s\n", line.c_str());
      }) {
    session.setHandler(tags::CNDBR, [this](SessionPeer*, const NetMessage& m) {
        return announce(m) ? HandlerResult::Handled : HandlerResult::Rejected;
    });
    session.setHandler(tags::CNDER, [](SessionPeer*, const NetMessage&) { return HandlerResult::Handled; });
    latest = this;
}

FileExchange::~FileExchange() {
    if (latest == this) latest = nullptr;
    auto ignore = [](SessionPeer*, const NetMessage&) { return HandlerResult::Handled; };
    session.setHandler(tags::CNDBR, ignore);
    session.setHandler(tags::CNDER, ignore);
}

void FileExchange::setEndHandler(FetchKind kind, EndHandler handler) {
    int index = int(kind);
    if (index >= 0 && index < kFetchKindCount) endHandlers[index] = std::move(handler);
}

bool FileExchange::hostAddress(std::string& address, uint16_t& port) {
    SessionPeer* host = session.hostPeer();
    if (!host || !host->connection) return false;
    address = platform::formatIpv4(host->connection->peerAddress());
    port = host->connection->port();
    return true;
}

bool FileExchange::announce(const NetMessage& message) {
    MessageReader reader(message);
    uint32_t size = reader.u32();
    FileTime time;
    time.low = reader.u32();
    time.high = reader.u32();
    std::string path = reader.text(kMaxPathLength);
    if (!reader.ok()) {
        session.reportMalformed(nullptr, message, reader.error());
        return false;
    }
    if (!isContentPath(path)) {
        session.reportMalformed(nullptr, message, "the path lies outside the content folders");
        return false;
    }
    FileStamp local;
    if (readFileStamp(diskPathBelow(root, path), local) && local.size <= UINT32_MAX &&
        sameFile(uint32_t(local.size), local.writeTime, size, time)) {
        return true;
    }
    std::string address;
    uint16_t port = 0;
    if (!hostAddress(address, port)) return true;  // the host is gone; nothing to fetch from
    if (listState == ListState::Running) dialog.totalBytes += size;
    enqueue(std::make_unique<FileFetch>(address, port, path, FetchKind::Ruleset, time, root));
    return true;
}

bool FileExchange::fetchFromHost(std::string_view path, FetchKind kind, FileTime time, std::string nodePath) {
    std::string address;
    uint16_t port = 0;
    if (!isContentPath(path) || !hostAddress(address, port)) return false;
    auto fetch = std::make_unique<FileFetch>(address, port, path, kind, time, root);
    fetch->nodePath = std::move(nodePath);
    enqueue(std::move(fetch));
    return true;
}

void FileExchange::enqueue(std::unique_ptr<FileFetch> fetch) {
    downloads.push_back(std::move(fetch));
    // Outside the dialog a lone fetch starts connecting at once, so the
    // main loop has a socket to wake on.
    if (downloads.size() == 1 && listState != ListState::Running) downloads.front()->poll();
}

void FileExchange::showFront() {
    const FileFetch& f = *downloads.front();
    dialog.fileName = f.localPath();
    dialog.text = f.localPath();
    char size[32];
    std::snprintf(size, sizeof size, "%u kb", unsigned(f.received() / 1024));
    dialog.sizeText = size;
    dialog.fetchedBytes = finishedBytes + f.received();
}

bool FileExchange::stepFront(bool inDialog) {
    FileFetch& fetch = *downloads.front();
    int result = fetch.poll();
    if (inDialog) showFront();
    if (result == 0) return false;
    if (inDialog) {
        // A file that failed during the join gets no line; the join goes on
        // without it.
        finishedBytes += fetch.received();
    } else if (result < 0) {
        systemLine(failedLine(fetch.localPath()));
    }
    if (const EndHandler& end = endHandlers[int(fetch.kind())]) end(fetch, result);
    downloads.pop_front();
    return true;
}

void FileExchange::stepDownloads() {
    if (listState == ListState::Running) return;  // the dialog drives the queue
    while (!downloads.empty() && stepFront(false)) {
    }
}

void FileExchange::requestFileList() {
    dialog = FileListView();
    finishedBytes = 0;
    listState = ListState::Running;
    session.sendToHost(NetMessage(tags::CNDBQ));
}

bool FileExchange::stepFileList() {
    if (listState != ListState::Running) return false;
    SessionPeer* host = session.hostPeer();
    Connection* link = host ? host->connection.get() : nullptr;
    if (link) link->pump();
    if (!link || link->state() == ConnectionState::Failed || link->state() == ConnectionState::Closed) {
        downloads.clear();
        dialog.hostLost = true;
        listState = ListState::Finished;
        return false;
    }
    // Only the list counts here; whatever else the host sends meanwhile is
    // thrown away, as the join has not reached the point where it applies.
    NetMessage message;
    while (session.readMessage(*link, message)) {
        if (message.tag == tags::CNDBR) {
            announce(message);
        } else if (message.tag == tags::CNDER) {
            dialog.listEnded = true;
        }
    }
    while (dialog.listEnded && !downloads.empty() && stepFront(true)) {
    }
    if (!downloads.empty()) return true;
    dialog.fileName.clear();
    dialog.sizeText.clear();
    dialog.fetchedBytes = finishedBytes;
    dialog.text = "Retrieving list of files...";
    if (!dialog.listEnded) return true;
    dialog.text = "Done.";
    dialog.done = true;
    listState = ListState::Finished;
    return false;
}

void FileExchange::cancel() {
    if (listState != ListState::Running) return;
    for (auto& fetch : downloads) fetch->cancel();
    downloads.clear();
    dialog.cancelled = true;
    listState = ListState::Finished;
}

void FileExchange::collectWatchedFds(std::vector<platform::WatchedFd>& out) {
    if (!downloads.empty()) downloads.front()->watch(out);
}

}  // namespace lh::net
