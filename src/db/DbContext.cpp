// The process-wide context of the record tree.
#include "db/DbContext.h"

namespace lh::db {

DbContext& dbContext() {
    static DbContext context;
    return context;
}

}  // namespace lh::db
