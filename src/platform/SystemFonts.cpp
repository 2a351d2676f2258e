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

std::string findFontFile(const std::string& family, bool bold, bool italic, bool exactFamily) {
    if (!FcInit()) return {};
    FcPattern* pattern = FcPatternCreate();
    FcPatternAddString(pattern, FC_FAMILY, reinterpret_cast<const FcChar8*>(family.c_str()));
    FcPatternAddInteger(pattern, FC_WEIGHT, bold ? FC_WEIGHT_BOLD : FC_WEIGHT_REGULAR);
    FcPatternAddInteger(pattern, FC_SLANT, italic ? FC_SLANT_ITALIC : FC_SLANT_ROMAN);
    FcPatternAddBool(pattern, FC_SCALABLE, FcTrue);
    FcConfigSubstitute(nullptr, pattern, FcMatchPattern);
    FcDefaultSubstitute(pattern);
    FcResult result = FcResultNoMatch;
    FcPattern* match = FcFontMatch(nullptr, pattern, &result);
    std::string path;
    if (match) {
        FcChar8* file = nullptr;
        FcChar8* got = nullptr;
        bool familyOk = !exactFamily;
        if (exactFamily && FcPatternGetString(match, FC_FAMILY, 0, &got) == FcResultMatch) {
            familyOk = FcStrCmpIgnoreCase(got, reinterpret_cast<const FcChar8*>(family.c_str())) == 0;
        }
        if (familyOk && FcPatternGetString(match, FC_FILE, 0, &file) == FcResultMatch) {
            path = reinterpret_cast<const char*>(file);
        }
        FcPatternDestroy(match);
    }
    FcPatternDestroy(pattern);
    return path;
}

}  // namespace lh::platform
