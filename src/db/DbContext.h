// What the record tree needs to know about the running process: where
// changes and deletions go to reach other machines. Whether this is the host
// is the session mode's (db/SessionMode.h).
#pragma once

#include <string>

namespace lh::db {

class DbNode;

// Implemented by the replication layer; the tree calls it and knows nothing
// of messages. Without a sink nothing leaves this process.
class ReplicationSink {
public:
    virtual ~ReplicationSink() = default;
    // A value was published: send the node on (to its holders on the host,
    // to the host on a client).
    virtual void publishNode(DbNode& node) = 0;
    // The topmost node of a deleted subtree; `path` was taken while the node
    // still hung in the tree.
    virtual void nodeDeleted(const std::string& path) = 0;
};

struct DbContext {
    ReplicationSink* sink = nullptr;
};

DbContext& dbContext();

}  // namespace lh::db
