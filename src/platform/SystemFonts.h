// Finds font files installed on the system, through fontconfig.
#pragma once

#include <string>

namespace lh::platform {

// The file of the best match for a fontconfig pattern such as
// "DejaVu Sans:bold"; empty when fontconfig finds nothing at all.
std::string findFontFile(const std::string& pattern);

}  // namespace lh::platform
