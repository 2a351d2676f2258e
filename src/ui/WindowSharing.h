// What a machine does with the window messages it receives. The session
// glue decodes the bodies and calls these; they act on the Desktop and its
// record tree only. On the host each request is checked against what the
// sending user may do, and a refused or unknown one changes nothing.
#pragma once

#include <string>

#include "ui/WindowMessages.h"

namespace lh::ui {

class Desktop;

// WINCR on a client: open or refresh the shared window.
void onWindowShared(Desktop& desktop, const WindowMessage& message);
// WINBQ on the host: `user` shares a window. False when refused.
bool onShareRequest(Desktop& desktop, const std::string& user, const WindowMessage& message);
// WINCQ on the host: make a record of the class for `user`. False when refused.
bool onCreateRequest(Desktop& desktop, const std::string& user, const WindowMessage& message);
// WINDQ on a client.
void onWindowClosed(Desktop& desktop, const WindowMessage& message);
// WINSQ on a client.
void onWindowSized(Desktop& desktop, const WindowMessage& message);

}  // namespace lh::ui
