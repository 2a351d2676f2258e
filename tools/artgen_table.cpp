// Table pieces: token figures, portraits with their mask, and maps.
#include "artgen_parts.h"

namespace art {

Named tablePictures() { return {}; }

}  // namespace art
