// The painters of the default Ruleset's pictures, one file per family:
// materials and frames, icons, table pieces. Each returns finished canvases;
// lh_artgen's main decides the file names.
#pragma once

#include <string>
#include <utility>
#include <vector>

#include "artgen_paint.h"

namespace art {

// Surfaces that tile with the period `period` in both directions; (x, y) are
// taken modulo the period.
Color parchment(float x, float y, int period, uint32_t seed);
Color leather(float x, float y, int period, uint32_t seed, Color dark, Color light);
Color brass(float x, float y, int period, uint32_t seed);
Color iron(float x, float y, int period, uint32_t seed);
Color slate(float x, float y, int period, uint32_t seed);

using Named = std::vector<std::pair<std::string, Canvas>>;

Canvas desktopTile();
// Nine-part frame pictures by file stem; each is 2 * corner + middle square,
// with the corner and middle sizes that the Ruleset's FRAMEDEFs name.
Named framePictures();
// Icons by name: menu medallions, window marks, openers, tabs, sheet art.
Named iconPictures();
// Pictures that the program finds in its data folder, by path stem there:
// tokens/..., portraits/..., maps/...
Named tablePictures();
// The Ruleset's frame and mask that shape every portrait.
Named portraitShapes();

}  // namespace art
