#pragma once
// Writing a picture as an 8-bit RGB PNG file (libpng).
#include <string>

#include "preview/Picture.h"

namespace preview {

// Returns an error text, empty on success.
std::string WritePng(const std::string& path, const Picture& picture);

}  // namespace preview
