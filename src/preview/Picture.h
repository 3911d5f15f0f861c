#pragma once
// An 8-bit RGB picture.
#include <vector>

namespace preview {

struct Picture {
    int width = 0, height = 0;
    std::vector<unsigned char> rgb;   // 3 bytes per pixel, rows top to bottom

    const unsigned char* At(int x, int y) const { return &rgb[(size_t(y) * width + size_t(x)) * 3]; }
};

}  // namespace preview
