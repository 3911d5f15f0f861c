#pragma once
// Block reader over the records of one compressed vector (the points of one scan).
#include <cstddef>
#include <memory>

namespace e57 {

class CompressedVectorReader {
public:
    struct Impl;
    explicit CompressedVectorReader(std::unique_ptr<Impl> impl);
    CompressedVectorReader(CompressedVectorReader&&) noexcept;
    CompressedVectorReader& operator=(CompressedVectorReader&&) noexcept;
    ~CompressedVectorReader();

    // Fills the bound buffers with the next records; returns how many were
    // filled, 0 at the end of the scan.
    unsigned read();
    // The same records consumed, but only records first, first + stride, ...
    // of them decoded, into the buffers' first elements one after the other;
    // the others are skipped undecoded. Returns the records consumed.
    unsigned read(size_t first, size_t stride);
    void close();
    bool isOpen() const;

private:
    std::unique_ptr<Impl> impl_;
};

}  // namespace e57
