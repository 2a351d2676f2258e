// Opens a page in the user's web browser, without waiting for it.
#pragma once

#include <string>

namespace lh::platform {

// `target` is a URL or a file path. Headless, it only names the page on
// standard error. False if no browser could be started.
bool openInBrowser(const std::string& target);

}  // namespace lh::platform
