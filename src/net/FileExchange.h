// The client's side of the file exchange: the `downloads` queue, run one
// transfer at a time by stepDownloads(), and the Ruleset file list of the
// join, a state machine that the caller steps while it draws the progress
// dialog from view(). Announced paths are checked against the content rule
// before anything is queued, and again before anything is written.
//
// The main loop must wake on the fetch connections too: its fd provider
// calls collectWatchedFds() beside Session::collectWatchedFds().
#pragma once

#include <cstdint>
#include <deque>
#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "net/FileFetch.h"
#include "net/NetMessage.h"
#include "platform/Platform.h"

namespace lh::net {

class Session;

// What the "Retrieving data..." dialog shows.
struct FileListView {
    std::string text = "Initializing...";  // first field: a status or the file name
    std::string fileName;                   // the file under way, empty between files
    std::string sizeText;                   // "%u kb" of the file under way
    uint64_t fetchedBytes = 0;              // of the whole list, the file under way included
    uint64_t totalBytes = 0;                // of the files to fetch, known once the list ended
    bool listEnded = false;
    bool done = false;       // every file handled: the join goes on
    bool cancelled = false;  // the user gave up: the join stops
    bool hostLost = false;   // the connection to the host ended
};

class FileExchange {
public:
    static constexpr const char* kTransferFailedText =
        "Could not complete file transfer of file %s. Check your network configuration.";
    // Called when a fetch has ended, with poll()'s last result (1 or
    // negative), before it is deleted.
    using EndHandler = std::function<void(FileFetch& fetch, int result)>;

    // Files land below `root`. Takes over the session's CNDBR and CNDER
    // handlers; the session must outlive this object.
    FileExchange(Session& session, std::filesystem::path root);
    ~FileExchange();
    FileExchange(const FileExchange&) = delete;
    FileExchange& operator=(const FileExchange&) = delete;

    // Sends CNDBQ; stepFileList() then runs the dialog. While it runs the
    // dialog reads the host connection itself: do not poll() the session
    // meanwhile, or the end of the list would go to the session's handler.
    void requestFileList();
    // One round of the dialog: reads the host's answer and moves the file
    // under way. Between rounds wait on collectWatchedFds() and the
    // session's. False once done, cancelled or the host is lost.
    bool stepFileList();
    const FileListView& view() const { return dialog; }
    // Ends the dialog: the transfer under way stops and its temp file goes,
    // the files queued are dropped. The join should stop (view().cancelled):
    // what is on disk may not be the host's Ruleset.
    void cancel();

    // One step of the queue outside the dialog (each session poll): runs
    // the first fetch and, as each ends, the next.
    void stepDownloads();
    // A fetch of another kind (pictures, portraits); runs after those queued.
    void enqueue(std::unique_ptr<FileFetch> fetch);
    // A fetch of `path` from the host, its end handled by the kind's
    // handler, which finds its node again by `nodePath`. False when the
    // path is no content path or there is no host to fetch from.
    bool fetchFromHost(std::string_view path, FetchKind kind, FileTime time, std::string nodePath);
    // The process's exchange (the last one made that still lives): what
    // the subsystems that fetch pictures use. Null without a session.
    static FileExchange* current();
    // A file that the host announced (CNDBR body): queued for fetching
    // unless the local copy is the same. False if malformed or refused.
    bool announce(const NetMessage& message);
    // What happens when a fetch of `kind` ends. Ruleset files need nothing;
    // the other kinds are set by their subsystems.
    void setEndHandler(FetchKind kind, EndHandler handler);
    // Where the failed-transfer line goes (the chat's "systemfont");
    // standard error until set.
    void setSystemLineSink(std::function<void(const std::string&)> sink) { systemLine = std::move(sink); }

    size_t pendingDownloads() const { return downloads.size(); }
    void collectWatchedFds(std::vector<platform::WatchedFd>& out);

private:
    enum class ListState { Idle, Running, Finished };
    // Polls the first fetch; true when it ended and was removed.
    bool stepFront(bool inDialog);
    void showFront();
    bool hostAddress(std::string& address, uint16_t& port);

    Session& session;
    std::filesystem::path root;
    std::deque<std::unique_ptr<FileFetch>> downloads;
    EndHandler endHandlers[kFetchKindCount];
    std::function<void(const std::string&)> systemLine;
    FileListView dialog;
    uint64_t finishedBytes = 0;  // of the files of the dialog that have ended
    ListState listState = ListState::Idle;
};

}  // namespace lh::net
