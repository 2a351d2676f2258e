// The slash commands as the running program carries them out: lines go to
// the chat through its port, whispers travel as MESGQ, the light fades on
// the Desktop, windows open on it. Also the receiving end of whispers.
#pragma once

#include <memory>

#include "dice/SlashCommands.h"

namespace lh::net {
class Session;
}
namespace lh::ui {
class Desktop;
struct ChatLineDraft;
}  // namespace lh::ui

namespace lh::dice {

// `session` is null without one; the Desktop outlives the actions.
std::unique_ptr<CommandActions> makeChatCommandActions(net::Session* session, ui::Desktop& desktop);

// The chat's form of a command's line: a line "from the Identity" takes its
// name (with the mood) and its font, or the user's name in "oocfont" when
// there is none.
ui::ChatLineDraft draftOf(CommandChatLine line, bool onHost);

// Whispers that reach this machine: shown here, passed on to nobody.
// Malformed ones are dropped with a line.
void receiveWhispers(net::Session& session);

}  // namespace lh::dice
