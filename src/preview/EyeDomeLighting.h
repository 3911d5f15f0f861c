#pragma once
// Eye-dome lighting: each drawn pixel is darkened by how far its neighbours
// stand out towards the viewer, so that edges, steps and the shape of
// surfaces read without any colour or normals.
#include "preview/PanelRaster.h"

namespace preview {

// `metresPerPixel` turns depth steps into the slope units the shading uses;
// `strength` 0 leaves the picture as it is.
void ApplyEyeDomeLighting(PanelRaster& raster, double metresPerPixel, double strength = 1.0);

}  // namespace preview
