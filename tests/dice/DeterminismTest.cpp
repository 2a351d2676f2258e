// The dice must take the same path on every machine: a fixed set of throws
// is fingerprinted here and by the same code built with other optimisation
// levels and compilers, each run as its own process. The expected value is
// stored, so any change that alters a path fails loudly; a deliberate change
// of the simulation updates it.
#include <gtest/gtest.h>

#include <cfenv>
#include <chrono>
#include <set>
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
    EXPECT_TRUE(DICE_HASH_OTHER_COMPILER) << "no second C++ compiler was found: the fingerprint is checked "
                                             "with one compiler only (install clang)";
    std::string expected = "hash " + hexHash(kExpectedHash) + "\nsteps " + std::to_string(here.steps) +
                           "\nfaces " + kExpectedFaces + "\n";
    for (const std::string& program : programs) {
        lh::test::ChildProcess child(program, {});
        ASSERT_EQ(child.wait(std::chrono::seconds(120)), 0) << program << ": " << child.errors();
        EXPECT_EQ(child.output(), expected) << program;
    }
}

// The names in the symbol list that `nm` prints for `args`: the last word of
// each line, without a symbol version.
std::set<std::string> symbolNames(const std::vector<std::string>& args) {
    lh::test::ChildProcess nm(NM_PROGRAM, args);
    EXPECT_EQ(nm.wait(std::chrono::seconds(60)), 0) << nm.errors();
    std::set<std::string> names;
    std::stringstream lines(nm.output());
    for (std::string line; std::getline(lines, line);) {
        size_t start = line.find_last_of(' ');
        std::string name = line.substr(start == std::string::npos ? 0 : start + 1);
        name = name.substr(0, name.find('@'));
        if (!name.empty() && name.back() != ':') names.insert(name);
    }
    return names;
}

// Paths must not depend on the C library's version or on the processor's
// settings: the simulation calls no function of the math library (its own
// sine and cosine, and square roots as the bare instruction), and runs with
// round-to-nearest and with tiny numbers kept, not flushed to zero (which
// linking anything with fast-math would switch on for the whole program).
TEST(DiceDeterminism, TheSimulationCallsNoMathLibraryAndRunsWithIeeeArithmetic) {
    std::string mathLibrary = MATH_LIBRARY;
    ASSERT_FALSE(mathLibrary.empty() || mathLibrary.ends_with("NOTFOUND")) << "no math library to compare with";
    std::set<std::string> mathFunctions = symbolNames({"-D", "--defined-only", mathLibrary});
    ASSERT_TRUE(mathFunctions.contains("sqrtf"));
    std::set<std::string> called = symbolNames({"-u", DICE_SIM_LIBRARY});
    ASSERT_FALSE(called.empty());
    for (const std::string& name : called) EXPECT_FALSE(mathFunctions.contains(name)) << name;

    EXPECT_EQ(std::fegetround(), FE_TONEAREST);
    volatile float tiny = 1e-38f;
    EXPECT_NE(tiny * 0.001f, 0.0f) << "tiny numbers are flushed to zero";
}

}  // namespace
}  // namespace lh::dice
