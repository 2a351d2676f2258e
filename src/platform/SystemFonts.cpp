// Finds font files through fontconfig.
#include "platform/SystemFonts.h"

#include <fontconfig/fontconfig.h>

namespace lh::platform {

std::string findFontFile(const std::string& pattern) {
    FcInit();
    FcPattern* pat = FcNameParse(reinterpret_cast<const FcChar8*>(pattern.c_str()));
    if (!pat) return {};
    FcConfigSubstitute(nullptr, pat, FcMatchPattern);
    FcDefaultSubstitute(pat);
    FcResult result;
    FcPattern* match = FcFontMatch(nullptr, pat, &result);
    std::string path;
    FcChar8* file = nullptr;
    if (match && FcPatternGetString(match, FC_FILE, 0, &file) == FcResultMatch) path = reinterpret_cast<char*>(file);
    if (match) FcPatternDestroy(match);
    FcPatternDestroy(pat);
    return path;
}

}  // namespace lh::platform
