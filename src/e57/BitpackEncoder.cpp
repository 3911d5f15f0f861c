#include "e57/BitpackEncoder.h"

#include <cstring>

#include "e57/E57Exception.h"

namespace e57 {

BitpackEncoder::BitpackEncoder(unsigned bitWidth)
    : bitWidth_(bitWidth), mask_(bitWidth >= 64 ? ~uint64_t(0) : (uint64_t(1) << bitWidth) - 1)
{
    if (bitWidth > 64)
        throw E57Exception("bit width " + std::to_string(bitWidth) + " is larger than 64");
}

void BitpackEncoder::PutBytes(const void* data, size_t size)
{
    FlushCompleteBytes();
    if (accBits_ != 0)
        throw E57Exception("bitpack stream is not byte aligned");
    const auto* p = static_cast<const uint8_t*>(data);
    buffer_.insert(buffer_.end(), p, p + size);
}

void BitpackEncoder::FlushCompleteBytes()
{
    while (accBits_ >= 8) {
        buffer_.push_back(uint8_t(acc_));
        acc_ >>= 8;
        accBits_ -= 8;
    }
}

void BitpackEncoder::Finish()
{
    FlushCompleteBytes();
    if (accBits_ > 0) {
        buffer_.push_back(uint8_t(acc_));
        acc_ = 0;
        accBits_ = 0;
    }
}

void BitpackEncoder::Consume(size_t count)
{
    if (count >= buffer_.size())
        buffer_.clear();
    else
        buffer_.erase(buffer_.begin(), buffer_.begin() + std::ptrdiff_t(count));
}

unsigned BitWidthForRange(int64_t minimum, int64_t maximum)
{
    if (maximum < minimum)
        throw E57Exception("maximum " + std::to_string(maximum) + " is below minimum " +
                           std::to_string(minimum));
    uint64_t range = uint64_t(maximum) - uint64_t(minimum);
    unsigned bits = 0;
    while (range != 0) {
        ++bits;
        range >>= 1;
    }
    return bits;
}

}  // namespace e57
