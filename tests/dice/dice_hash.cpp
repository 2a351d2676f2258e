// Prints the fingerprint of the fixed throws, for comparing builds made with
// other compilers and optimisation levels in separate processes.
#include <cinttypes>
#include <cstdio>

#include "HashScenario.h"

int main() {
    lh::dice::test::ScenarioResult r = lh::dice::test::runHashScenario();
    std::printf("hash %016" PRIx64 "\nsteps %d\nfaces %s\n", r.hash, r.steps, r.faces.c_str());
    return 0;
}
