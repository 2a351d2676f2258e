// The bounded reassembly of formatted texts that arrive in pieces.
#include "net/TextReassembly.h"

namespace lh::db {

TextReassembly::Step TextReassembly::add(const std::string& sender, std::string_view path, std::string_view piece,
                                         bool isLast, std::string& whole, bool& abandoned) {
    abandoned = false;
    auto it = pending.find(sender);
    if (it != pending.end() && it->second.path != path) {
        abandoned = true;
        pending.erase(it);
        it = pending.end();
    }
    if (it == pending.end()) {
        if (isLast) {
            // The common case: a short text in one piece needs no buffer.
            if (piece.size() > cap) return Step::TooLarge;
            whole.assign(piece);
            return Step::Complete;
        }
        it = pending.emplace(sender, Pending{std::string(path), {}}).first;
    }
    Pending& p = it->second;
    if (p.text.size() + piece.size() > cap) {
        pending.erase(it);
        return Step::TooLarge;
    }
    p.text.append(piece);
    if (!isLast) return Step::More;
    whole = std::move(p.text);
    pending.erase(it);
    return Step::Complete;
}

}  // namespace lh::db
