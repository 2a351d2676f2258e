// The test driver's script: a plain text file of timed input events that a
// bot, a demo or a test plays into the program through the same handlers as
// real input. One step a line; blank lines and lines from '#' are skipped.
//
//   move X Y                   the mouse to client position X, Y
//   down BUTTON [X Y]          press left, right or middle (where the mouse is,
//   up BUTTON [X Y]            or at X, Y); release it
//   click BUTTON X Y           move, press and release
//   wheel STEPS                the wheel, positive away from the user
//   keydown KEY [MOD...]       a key by name (A..Z, 0..9, F1..F12, Return,
//   keyup KEY [MOD...]         Escape, Tab, Space, Backspace, Delete, Insert,
//   key KEY [MOD...]           Home, End, PageUp, PageDown, Left, Right, Up,
//                              Down, PrintScreen, Shift, Ctrl, Alt); MOD is
//                              shift, ctrl or alt; "key" is down then up;
//                              Num0..Num9 are the numeric pad, Menu the menu
//                              key; a keydown of a key already down is the
//                              keyboard's repeat of a held key
//   text TEXT                  typed text: the rest of the line, UTF-8
//   wait MS                    let MS milliseconds pass before the next step
//   await TEXT                 go on once this program has written a trace
//                              line holding TEXT (at once if it already has);
//                              each await of a text takes a line of its own,
//                              so two awaits of one text wait for two lines
//   deadline SECONDS           how long each later await waits for its line
//                              before the program ends with exit code 3
//                              (60 until a script says otherwise)
//   menu X Y LABEL[/LABEL...]  open the menu of what is at X, Y and choose
//                              the entry by its labels, through sub-menus
//   screenshot NAME            write NAME.png of the client area
//   resize W H                 make the main window's client area W by H, as
//                              a user dragging its border would (the least
//                              size still holds); the size event follows
//   quit CODE                  end the program with this exit code
//   VERB ARGUMENTS             a step that a subsystem added (ScriptVerbs.h),
//                              e.g. "throw RECORDS" of the dice
//
// Pure parsing: bytes in, steps out, errors with their line.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "platform/Events.h"

namespace lh::platform {

struct ScriptStep {
    enum class Kind { Input, Wait, Await, Deadline, Screenshot, Resize, Quit, Menu, Added };
    Kind kind = Kind::Input;
    int line = 0;         // 1-based, for traces and errors
    std::string source;   // the line as written, trimmed
    // Input: the events of this step, in order (a click is three).
    std::vector<Event> events;
    uint32_t waitMs = 0;  // Wait; Deadline: how long an await may take
    std::string name;     // Screenshot: the file name, ".png" added if missing; Await: the text;
                          // Menu: the labels, '/' between a sub-menu and its entry;
                          // Added: the verb
    std::string arguments;  // Added: the rest of the line
    int32_t x = 0, y = 0;  // Menu: where the menu opens
    int exitCode = 0;     // Quit
    int width = 0, height = 0;  // Resize
};

struct ParsedScript {
    std::vector<ScriptStep> steps;
    std::string error;  // "line N: ..." for the first bad line; empty when fine
};

ParsedScript parseInputScript(std::string_view text);

// The virtual-key number of a key name (case-blind), or 0.
int virtualKeyFromName(std::string_view name);

}  // namespace lh::platform
