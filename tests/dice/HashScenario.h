// A fixed set of throws whose every step is hashed: the fingerprint of the
// dice simulation's arithmetic. The same number must come out of every
// compiler, optimisation level and process.
#pragma once

#include <cstdint>
#include <string>

namespace lh::dice::test {

struct ScenarioResult {
    uint64_t hash = 0;
    std::string faces;  // readings in the order the dice stopped, comma-separated
    int steps = 0;
};

ScenarioResult runHashScenario();

}  // namespace lh::dice::test
