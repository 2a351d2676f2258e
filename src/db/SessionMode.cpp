// The way in of this process.
#include "db/SessionMode.h"

namespace lh::db {

namespace {
SessionMode current = SessionMode::Join;
}

SessionMode sessionMode() { return current; }
void setSessionMode(SessionMode mode) { current = mode; }

}  // namespace lh::db
