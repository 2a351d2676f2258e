// Finds font files installed on the system, through fontconfig.
#pragma once

#include <string>

namespace lh::platform {

// The file of the best match for a fontconfig pattern such as
// "DejaVu Sans:bold"; empty when fontconfig finds nothing at all.
std::string findFontFile(const std::string& pattern);

// The file fontconfig picks for a family in a weight and slant. With
// `exactFamily` a substitute of another family counts as no match (""), so
// that the caller can fall back on a family of its own choice.
std::string findFontFile(const std::string& family, bool bold, bool italic, bool exactFamily);

}  // namespace lh::platform
