// The process's map network; see MapNetwork.h.
#include "table/MapNetwork.h"

namespace lh::table {

namespace {
MapNetwork* current = nullptr;
}

MapNetwork* mapNetwork() { return current; }
void setMapNetwork(MapNetwork* network) { current = network; }

}  // namespace lh::table
