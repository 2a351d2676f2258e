// The trace: with LOREHAVEN_TRACE=FILE set, one line for each event that a
// watcher (a test, a bot, a demo) may wait for: windows opened and closed,
// records changed, chat lines, die results, messages sent and received. Each
// line is written and flushed at once, so another process can follow the file
// while this one runs. Without the variable every call costs one branch.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "platform/Signal.h"

namespace lh::platform {

// True when a trace file is open.
bool traceOn();

// Appends one line: the program's clock in milliseconds (Clock.h; a manual
// clock makes the stamps repeatable), a blank, then the formatted text. A
// line break in the text is written as "\n".
//
// Lines that the program writes (after the stamp):
//   started                        the window system is up: SIGTERM now quits
//   frame                          the first frame is on the screen
//   script LINE TEXT               a step of the --script file starts
//   screenshot FILE                a picture was written (Print Screen or script)
//   sent TAG BYTES PEER            a message went to a peer ("-": the host, or a
//                                  peer not yet logged in); BYTES is the body
//   received TAG BYTES PEER        a message arrived and is being dispatched
//   record PATH                    a value under this record changed
//   window opened CLASS RECORD     (also closed, shared, minimized, restored)
//   menu opened X Y                a radial menu opened with its anchor there
//   menu chosen ID                 its choice (0: none)
//   cursor ID                      the mouse cursor shown changed
//   drag started X Y               a press there became a drag
//   bookmark stored N CLASS RECORD a pad key stored the top window (recalled)
//   menu LABEL ID                  a script's menu step chose this entry
//   map PATH EVENT                 a map's picture or layers changed here
//   quit CODE                      the loop ends with this exit code
void trace(const char* format, ...) __attribute__((format(printf, 1, 2)));

// Every line as it is written (after the stamp), for watchers inside the
// program (the script's "await"); lines are made for them even without a file.
Signal<void(std::string_view line)>& traceLines();

// The newest few thousand lines written so far (without their stamps), the
// script's own lines left out: what a script that starts late has missed.
std::vector<std::string> recentTraceLines();

// Closes the trace file; later calls write nothing. For the exit path and tests.
void closeTrace();

}  // namespace lh::platform
