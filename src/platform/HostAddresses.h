// The addresses by which other machines can reach this one.
#pragma once

#include <string>
#include <vector>

namespace lh::platform {

// IPv4 addresses of the interfaces that are up, in dotted form: loopback
// first, then the others, so that the last one, which a single field shows,
// is one that other machines can reach whenever there is such a one.
std::vector<std::string> hostAddresses();

}  // namespace lh::platform
