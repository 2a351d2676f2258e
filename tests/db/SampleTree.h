// A record tree with every node kind, odd bytes in names and texts, holders,
// owners and categories: shared by the storage tests and the save-loop
// helper that the crash test kills.
#pragma once

#include <string>

namespace lh::db {
class DbNode;
}

namespace lh::test {

// Builds `records` records under a few groups of `root`.
void buildSampleTree(lh::db::DbNode& root, int records);
// Changes the tree as the saving process does between saves: the state
// number, and a text whose length follows it.
void applyGeneration(lh::db::DbNode& root, int generation);

}  // namespace lh::test
