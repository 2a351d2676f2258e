// Helper of the crash test: builds the sample tree and saves it as the host
// does, over and over, each time in a new state, until it is killed.
//   db_save_loop <working dir> <first generation> <records>
#include <cstdio>
#include <cstdlib>

#include "SampleTree.h"
#include "db/Campaign.h"
#include "db/SessionMode.h"
#include "db/DbNode.h"
#include "platform/Paths.h"

int main(int argc, char** argv) {
    if (argc != 4) {
        std::fprintf(stderr, "usage: db_save_loop <working dir> <first generation> <records>\n");
        return 2;
    }
    lh::platform::setWorkingDirectory(argv[1]);
    lh::db::setSessionMode(lh::db::SessionMode::Host);
    lh::db::campaign().name.set("Crash");
    lh::test::buildSampleTree(lh::db::rootNode(), std::atoi(argv[3]));
    int first = std::atoi(argv[2]);
    // Bounded, in case nobody kills it.
    for (int generation = first; generation < first + 100000; ++generation) {
        lh::test::applyGeneration(lh::db::rootNode(), generation);
        if (lh::db::saveCampaignDatabase() != 0) return 1;
        if (generation == first) {
            // Tells the test that saves are under way, so that its kill
            // lands among them however slow the machine is.
            std::printf("saving\n");
            std::fflush(stdout);
        }
    }
    return 0;
}
