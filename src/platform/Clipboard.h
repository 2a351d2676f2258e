// The clipboard of the main window. It holds Windows-1252 text here and
// UTF-8 on the platform's side; without a video device (tests, headless
// runs) a process-local clipboard stands in.
#pragma once

#include <string>

namespace lh::platform {

void setClipboardText(const std::string& text);
std::string clipboardText();

}  // namespace lh::platform
