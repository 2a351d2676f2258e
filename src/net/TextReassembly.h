// Putting a formatted text back together from the pieces it travels in.
// Pieces of one text arrive in order on one connection, so there is one
// text in progress per sender; the total is capped, so that a peer cannot
// make this process buffer without end.
#pragma once

#include <cstddef>
#include <map>
#include <string>
#include <string_view>

namespace lh::db {

class TextReassembly {
public:
    static constexpr size_t kDefaultCap = 4u << 20;

    enum class Step {
        More,       // kept; more pieces are to come
        Complete,   // `whole` holds the text
        TooLarge,   // the text grew past the cap and was thrown away
    };

    explicit TextReassembly(size_t capBytes = kDefaultCap) : cap(capBytes) {}

    // Adds the next piece from `sender` for `path`. A piece for another path
    // while a text is in progress means the earlier one will never end: it is
    // thrown away, and `abandoned` says so.
    Step add(const std::string& sender, std::string_view path, std::string_view piece, bool isLast,
             std::string& whole, bool& abandoned);
    // Forgets what `sender` had in progress.
    void drop(const std::string& sender) { pending.erase(sender); }
    size_t inProgress() const { return pending.size(); }

private:
    struct Pending {
        std::string path;
        std::string text;
    };
    size_t cap;
    std::map<std::string, Pending> pending;
};

}  // namespace lh::db
