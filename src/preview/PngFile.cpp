#include "preview/PngFile.h"

#include <png.h>

#include <cerrno>
#include <csetjmp>
#include <cstdio>
#include <cstring>
#include <vector>

namespace preview {

std::string WritePng(const std::string& path, const Picture& img)
{
    std::FILE* f = std::fopen(path.c_str(), "wb");
    if (f == nullptr)
        return path + ": " + std::strerror(errno);
    png_structp png = png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
    png_infop info = png != nullptr ? png_create_info_struct(png) : nullptr;
    if (png == nullptr || info == nullptr) {
        png_destroy_write_struct(&png, info != nullptr ? &info : nullptr);
        std::fclose(f);
        return "libpng could not be set up";
    }
    std::vector<png_bytep> rows(img.height);
    for (int y = 0; y < img.height; ++y)
        rows[y] = const_cast<png_bytep>(&img.rgb[size_t(y) * img.width * 3]);
    if (setjmp(png_jmpbuf(png))) {
        png_destroy_write_struct(&png, &info);
        std::fclose(f);
        return path + ": libpng failed while writing";
    }
    png_init_io(png, f);
    png_set_IHDR(png, info, img.width, img.height, 8, PNG_COLOR_TYPE_RGB, PNG_INTERLACE_NONE,
                 PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
    png_write_info(png, info);
    png_write_image(png, rows.data());
    png_write_end(png, nullptr);
    png_destroy_write_struct(&png, &info);
    if (std::fclose(f) != 0)
        return path + ": " + std::strerror(errno);
    return std::string();
}

}  // namespace preview
