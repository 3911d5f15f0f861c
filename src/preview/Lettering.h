#pragma once
// Text and the scale bar on a picture. The letters are the fixed 6 x 13 pixel
// font built into libgd (ISO 8859-2); bytes outside printable ASCII are drawn as '?'.
#include <string>

#include "preview/Picture.h"

namespace preview {

int TextWidth(const std::string& text);
int TextHeight();

// Draws `text` in black with its top left corner at (x, y), clipped to the picture.
void DrawText(Picture& picture, int x, int y, const std::string& text);

void FillRect(Picture& picture, int x, int y, int w, int h, unsigned char grey);

// The longest of 1, 2 and 5 times a power of ten metres that is at most
// `maxPixels` long at `pixelsPerMetre`.
double ScaleBarMetres(double pixelsPerMetre, double maxPixels);

// A bar of `metres` in two halves, black and white in a black frame, with
// its length written beside it, its lower left corner at (x, y).
void DrawScaleBar(Picture& picture, int x, int y, double metres, double pixelsPerMetre);

}  // namespace preview
