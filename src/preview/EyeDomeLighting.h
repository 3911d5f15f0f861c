#pragma once
// Eye-dome lighting: each drawn pixel is darkened by how far its neighbours
// stand out towards the viewer, so that edges, steps and the shape of
// surfaces read without any colour or normals.
#include "preview/PanelRaster.h"

namespace preview {

// `metresPerPixel` turns depth steps into pixels. Steps of up to two pixels,
// or up to `pointSize` pixels (squares of that size on a sloping surface
// meet with such steps), are surface, not edges, and leave a pixel alone;
// `strength` 0 leaves the picture as it is.
void ApplyEyeDomeLighting(PanelRaster& raster, double metresPerPixel, int pointSize = 1, double strength = 1.0);

}  // namespace preview
