#include "db/NameCheck.h"

namespace lh::db {

bool isUsableName(std::string_view name) {
    if (name.empty() || name.size() > kMaxNameLength) return false;
    for (char c : name) {
        auto b = static_cast<unsigned char>(c);
        if (b < 32 || b == 127 || c == '.' || c == '/' || c == '\\' || c == ':') return false;
    }
    return true;
}

}  // namespace lh::db
