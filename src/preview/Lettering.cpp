#include "preview/Lettering.h"

#include <gd.h>
#include <gdfonts.h>

#include <algorithm>
#include <cmath>
#include <cstdio>

namespace preview {

int TextWidth(const std::string& text)
{
    return int(text.size()) * gdFontGetSmall()->w;
}

int TextHeight()
{
    return gdFontGetSmall()->h;
}

void FillRect(Picture& p, int x, int y, int w, int h, unsigned char grey)
{
    for (int yy = std::max(0, y); yy < std::min(p.height, y + h); ++yy)
        for (int xx = std::max(0, x); xx < std::min(p.width, x + w); ++xx)
            for (int c = 0; c < 3; ++c)
                p.rgb[(size_t(yy) * p.width + size_t(xx)) * 3 + size_t(c)] = grey;
}

void DrawText(Picture& p, int x, int y, const std::string& text)
{
    const gdFontPtr font = gdFontGetSmall();
    for (size_t i = 0; i < text.size(); ++i) {
        int ch = static_cast<unsigned char>(text[i]);
        if (ch < 32 || ch > 126)
            ch = '?';
        if (ch < font->offset || ch >= font->offset + font->nchars)
            continue;
        const char* glyph = font->data + size_t(ch - font->offset) * font->w * font->h;
        const int gx = x + int(i) * font->w;
        for (int row = 0; row < font->h; ++row)
            for (int col = 0; col < font->w; ++col)
                if (glyph[row * font->w + col])
                    FillRect(p, gx + col, y + row, 1, 1, 0);
    }
}

double ScaleBarMetres(double pixelsPerMetre, double maxPixels)
{
    if (!(pixelsPerMetre > 0) || !(maxPixels > 0))
        return 0;
    const double most = maxPixels / pixelsPerMetre;
    double power = std::pow(10.0, std::floor(std::log10(most)));
    for (const double step : {5.0, 2.0, 1.0})
        if (step * power <= most)
            return step * power;
    return power;
}

void DrawScaleBar(Picture& p, int x, int y, double metres, double pixelsPerMetre)
{
    const int length = int(std::lround(metres * pixelsPerMetre));
    if (length < 2)
        return;
    const int h = 6;
    FillRect(p, x, y - h, length, h, 0);
    FillRect(p, x + length / 2, y - h + 1, length - length / 2 - 1, h - 2, 255);
    char label[32];
    std::snprintf(label, sizeof label, "%g m", metres);
    DrawText(p, x + length + 4, y - (h + TextHeight()) / 2 - 1, label);
}

}  // namespace preview
