// The Gamemaster's running record of the chat: an HTML file in the
// Campaign's folder that every line is appended to as it arrives. The file
// stays open and each line goes to it in one unbuffered write, so that a
// crash loses nothing that was said before it, and a line costs the host one
// system call rather than a path lookup, an open and a close while players
// wait for it.
// The text goes in as it is, markup and all, so the file reads in any
// browser with the chat's own colours.
#pragma once

#include <cstdio>
#include <ctime>
#include <string>

namespace lh::chat {

class ChatLine;

// "<br />\n<b>Chat log started at D.M.YYYY / hh:mm:ss</b><br/>\n<br />\n"
std::string chatLogHeader(const std::tm& localTime);
// One line of the file: its font's colour, label, "(POLL) " for a poll, the
// text, then a die result as " [3d6+2 = 12]", and "<br />\n".
std::string chatLogLine(const ChatLine& line);

class ChatLog {
public:
    ChatLog() = default;
    ~ChatLog() { close(); }
    ChatLog(const ChatLog&) = delete;
    ChatLog& operator=(const ChatLog&) = delete;

    // The file as the Campaign names it (backslashes; empty: no file).
    std::string path;
    bool logging() const { return on; }
    // Switching on writes the header with the local time; off writes
    // nothing. A file that cannot be opened is passed over.
    void setLogging(bool enable);
    void write(const ChatLine& line) const;

private:
    void append(const std::string& text) const;
    void close() const;
    bool on = false;
    // The file open for appending, and the path it was opened for.
    mutable std::FILE* file = nullptr;
    mutable std::string openPath;
};

}  // namespace lh::chat
