// The dice must take the same path on every machine: a fixed set of throws
// is fingerprinted here and by the same code built with other optimisation
// levels and compilers, each run as its own process. The expected value is
// stored, so any change that alters a path fails loudly; a deliberate change
// of the simulation updates it.
#include <gtest/gtest.h>

#include <chrono>
#include <sstream>

#include "HashScenario.h"
#include "support/TestSupport.h"

namespace lh::dice {
namespace {

constexpr uint64_t kExpectedHash = 0x0a974cb3d2b51c2dull;
constexpr const char* kExpectedFaces =
    "5,3,3,7,5,1,12,1,1,16,20,12,2,8,5,1,3,2,2,4,80,1,3,6,3,2,5,2,2,5,60,8,8,2,1,6,8,1,70,4,1,4,4,2,5,0";

std::string hexHash(uint64_t h) {
    char text[17];
    std::snprintf(text, sizeof text, "%016llx", static_cast<unsigned long long>(h));
    return text;
}

std::vector<std::string> hashPrograms() {
    std::vector<std::string> programs;
    std::stringstream list(DICE_HASH_PROGRAMS);
    for (std::string path; std::getline(list, path, ',');)
        if (!path.empty()) programs.push_back(path);
    return programs;
}

TEST(DiceDeterminism, FixedThrowsGiveTheStoredFingerprintInEveryBuild) {
    test::ScenarioResult here = test::runHashScenario();
    EXPECT_EQ(hexHash(here.hash), hexHash(kExpectedHash)) << "faces " << here.faces;
    EXPECT_EQ(here.faces, kExpectedFaces);

    std::vector<std::string> programs = hashPrograms();
    ASSERT_GE(programs.size(), 2u);
    std::string expected = "hash " + hexHash(kExpectedHash) + "\nsteps " + std::to_string(here.steps) +
                           "\nfaces " + kExpectedFaces + "\n";
    for (const std::string& program : programs) {
        lh::test::ChildProcess child(program, {});
        ASSERT_EQ(child.wait(std::chrono::seconds(120)), 0) << program << ": " << child.errors();
        EXPECT_EQ(child.output(), expected) << program;
    }
}

}  // namespace
}  // namespace lh::dice
