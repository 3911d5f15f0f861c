#pragma once
// Errors of the E57 reader and writer. The message says what is wrong and
// where (page number, section offset, field name).
#include <stdexcept>
#include <string>

namespace e57 {

class E57Exception : public std::runtime_error {
public:
    explicit E57Exception(const std::string& what) : std::runtime_error(what) {}
};

}  // namespace e57
