// The Gamemaster's running record of the chat: an HTML file in the
// Campaign's folder that every line is appended to as it arrives, opened and
// closed for each, so that a crash loses nothing that was said before it.
// The text goes in as it is, markup and all, so the file reads in any
// browser with the chat's own colours.
#pragma once

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
    // The file as the Campaign names it (backslashes; empty: no file).
    std::string path;
    bool logging() const { return on; }
    // Switching on writes the header with the local time; off writes
    // nothing. A file that cannot be opened is passed over.
    void setLogging(bool enable);
    void write(const ChatLine& line) const;

private:
    void append(const std::string& text) const;
    bool on = false;
};

}  // namespace lh::chat
