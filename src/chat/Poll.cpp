// Polls: ids, votes, measuring and drawing the boxes.
#include "chat/Poll.h"

#include <algorithm>

#include "render/Bitmap.h"
#include "render/RenderContext.h"
#include "ui/FrameDef.h"
#include "ui/Lights.h"
#include "ui/RulesetData.h"

namespace lh::chat {

uint32_t& Poll::nextId() {
    static uint32_t next = 0;
    return next;
}

std::function<std::vector<std::string>()>& Poll::voters() {
    static std::function<std::vector<std::string>()> list;
    return list;
}

Poll::Poll() : ui::ChatAttachment(kPoll), id(nextId()++) {}

Poll::Poll(uint32_t given) : ui::ChatAttachment(kPoll), id(given) { nextId() = given + 1; }

bool Poll::hasVoted(const std::string& identity) const {
    auto it = votes.find(identity);
    return it != votes.end() && it->second != 0;
}

namespace {

std::vector<std::string> currentVoters() { return Poll::voters() ? Poll::voters()() : std::vector<std::string>{}; }

}  // namespace

void Poll::measure(ui::AttachmentSize& sizeOut, render::RenderContext&, int32_t availableWidth) {
    const ui::PollBoxSettings& box = ui::ruleset().settings.pollBox;
    const int32_t margin = box.box.margin;
    const render::Bitmap* empty = ui::findIcon(box.emptyIcon);
    const size_t entries = currentVoters().size();
    if (entries == 0 || !empty || empty->GetWidth() == 0) {
        sizeOut = {2 * margin, 2 * margin};
        perRow = 1;
        return;
    }
    const int32_t iconWidth = int32_t(empty->GetWidth()), iconHeight = int32_t(empty->GetHeight());
    perRow = std::max<int32_t>(1, availableWidth / iconWidth);
    const int32_t rows = int32_t((int32_t(entries) + perRow - 1) / perRow);
    const int32_t columns = rows == 1 ? int32_t(entries) : perRow;
    sizeOut.width = 2 * margin + iconWidth * (columns - 1);
    sizeOut.height = 2 * margin + iconHeight * (rows - 1);
}

void Poll::draw(render::RenderContext& context, const render::Rect& rectangle, const render::Rect* clip) {
    rect = clip ? render::intersect(rectangle, *clip) : rectangle;
    if (clip && !clip->contains(rectangle.left, rectangle.top)) return;
    const ui::PollBoxSettings& box = ui::ruleset().settings.pollBox;
    const int32_t margin = box.box.margin;
    render::Bitmap* empty = ui::findIcon(box.emptyIcon);
    render::Bitmap* checked = ui::findIcon(box.checkedIcon);
    const std::vector<std::string> names = currentVoters();
    const int32_t iconWidth = empty ? int32_t(empty->GetWidth()) : 0;
    const int32_t iconHeight = empty ? int32_t(empty->GetHeight()) : 0;
    const int32_t columns = names.empty() ? 1 : std::min<int32_t>(perRow, int32_t(names.size()));
    if (ui::FrameDef* frame = ui::findFrame(box.box.frame)) {
        const render::Rect around{rectangle.left, rectangle.top,
                                  rectangle.left + 2 * margin + iconWidth * (columns - 1), rectangle.bottom};
        frame->Draw(context, around, ui::lights().frame, clip);
    }
    if (!empty) return;
    for (size_t i = 0; i < names.size(); ++i) {
        render::Bitmap* icon = hasVoted(names[i]) && checked ? checked : empty;
        const int32_t column = int32_t(i) % perRow, row = int32_t(i) / perRow;
        const int32_t cx = rectangle.left + margin + column * iconWidth;
        const int32_t cy = rectangle.top + margin + row * iconHeight;
        context.DrawBitmap(*icon, cx - int32_t(icon->GetWidth()) / 2, cy - int32_t(icon->GetHeight()) / 2,
                           ui::lights().icon, clip);
    }
}

}  // namespace lh::chat
