// A poll: the attachment of a chat line that asks the table a question, a
// row of boxes under it, one for each character in play, checked on every
// screen once that character's player clicks the poll. The host hands out
// the ids, so that every machine names a poll alike.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <vector>

#include "ui/ChatPort.h"

namespace lh::chat {

class Poll final : public ui::ChatAttachment {
public:
    // With the next id of this process.
    Poll();
    // With the id the host gave; the next ids follow it.
    explicit Poll(uint32_t id);

    // A vote is never taken back; non-zero counts.
    void vote(const std::string& identity, uint32_t value) { votes[identity] = value; }
    bool hasVoted(const std::string& identity) const;

    void draw(render::RenderContext& context, const render::Rect& rectangle, const render::Rect* clip) override;
    void measure(ui::AttachmentSize& sizeOut, render::RenderContext& context, int32_t availableWidth) override;

    uint32_t id = 0;
    std::map<std::string, uint32_t> votes;

    // The id the next poll made here takes.
    static uint32_t& nextId();
    // The characters in play, in the order of the character list: one box
    // each. Empty until the chat fills it.
    static std::function<std::vector<std::string>()>& voters();

private:
    // Boxes per row for the width last measured (at least one).
    int32_t perRow = 1;
};

}  // namespace lh::chat
