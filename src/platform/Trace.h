// The trace: with LOREHAVEN_TRACE=FILE set, one line for each event that a
// watcher (a test, a bot, a demo) may wait for: windows opened and closed,
// records changed, chat lines, die results, messages sent and received. Each
// line is written and flushed at once, so another process can follow the file
// while this one runs. Without the variable every call costs one branch.
#pragma once

namespace lh::platform {

// True when a trace file is open.
bool traceOn();

// Appends one line: the millisecond tick since start, a blank, then the
// formatted text. A line break in the text is written as "\n".
void trace(const char* format, ...) __attribute__((format(printf, 1, 2)));

// Closes the trace file; later calls write nothing. For the exit path and tests.
void closeTrace();

}  // namespace lh::platform
