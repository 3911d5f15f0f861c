#pragma once
// Packs unsigned values of a fixed bit width into a byte string, least
// significant bit first, as one bitpack stream of a compressed vector. Complete
// bytes collect in an internal buffer that the packet writer drains; a partial
// last byte stays in the accumulator until more values arrive or Finish() pads it.
#include <cstddef>
#include <cstdint>
#include <vector>

namespace e57 {

class BitpackEncoder {
public:
    // `bitWidth` 0..64; a 0-bit stream never holds any byte.
    explicit BitpackEncoder(unsigned bitWidth = 0);

    unsigned BitWidth() const { return bitWidth_; }

    // Appends one value; only its low BitWidth() bits are used.
    void Put(uint64_t value)
    {
        if (bitWidth_ <= 32) {
            Put32(value & mask_, bitWidth_);
        } else {
            Put32(value & 0xFFFFFFFFu, 32);
            Put32((value >> 32) & (mask_ >> 32), bitWidth_ - 32);
        }
    }

    // Appends raw bytes; only allowed while the stream is byte aligned (always
    // true for 32- and 64-bit streams, which is what Float and Double use).
    void PutBytes(const void* data, size_t size);

    // Moves the complete bytes of the accumulator into the buffer.
    void FlushCompleteBytes();
    // Pads a partial last byte with zero bits and moves it into the buffer.
    void Finish();

    // Bits not yet taken out: buffered bytes plus accumulator.
    uint64_t PendingBits() const { return uint64_t(buffer_.size()) * 8u + accBits_; }

    const uint8_t* Data() const { return buffer_.data(); }
    size_t Size() const { return buffer_.size(); }
    // Drops the first `count` buffered bytes (they went into a packet).
    void Consume(size_t count);

private:
    void Put32(uint64_t value, unsigned bits)
    {
        acc_ |= value << accBits_;
        accBits_ += bits;
        if (accBits_ >= 32) {
            const uint8_t bytes[4] = {uint8_t(acc_), uint8_t(acc_ >> 8), uint8_t(acc_ >> 16),
                                      uint8_t(acc_ >> 24)};
            buffer_.insert(buffer_.end(), bytes, bytes + 4);
            acc_ >>= 32;
            accBits_ -= 32;
        }
    }

    unsigned bitWidth_;
    uint64_t mask_;
    uint64_t acc_ = 0;       // holds accBits_ < 32 bits between calls
    unsigned accBits_ = 0;
    std::vector<uint8_t> buffer_;
};

// Bits per value of an Integer or ScaledInteger field with these raw limits.
unsigned BitWidthForRange(int64_t minimum, int64_t maximum);

}  // namespace e57
