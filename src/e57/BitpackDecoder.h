#pragma once
// Decoding of one field's bitpacked byte stream. The stream's bytes arrive
// packet by packet (a value may straddle packets); the decoder converts whole
// values straight into the caller's buffer, reading them where they lie in the
// packet and keeping only what a packet boundary leaves unread.
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "e57/Data3D.h"

namespace e57 {

// Unread bytes one field may hold before it counts as running away from the
// other fields of the same records.
constexpr size_t kMaxFieldLead = 16u << 20;

class FieldDecoder {
public:
    // `out` receives the decoded values; its element type is given by the
    // overload. Throws E57Exception for String fields, which cannot fill a
    // numeric buffer (fields nobody asked for are never decoded).
    FieldDecoder(const FieldDescription& field, size_t streamIndex, float* out);
    FieldDecoder(const FieldDescription& field, size_t streamIndex, double* out);
    FieldDecoder(const FieldDescription& field, size_t streamIndex, int8_t* out);
    FieldDecoder(const FieldDescription& field, size_t streamIndex, uint16_t* out);
    FieldDecoder(const FieldDescription& field, size_t streamIndex, int32_t* out);

    size_t StreamIndex() const { return streamIndex_; }
    const std::string& Name() const { return field_.name; }

    // The stream's next bytes arrive in one of two ways. Append copies them
    // into the decoder's queue. Attach only remembers where they are (the
    // packet in the reader's window) and decodes from there; Detach must be
    // called before that memory changes and copies what is still unread.
    void Append(const uint8_t* data, size_t size);
    void Attach(const uint8_t* data, size_t size);
    void Detach();

    // Bytes received but not yet consumed.
    uint64_t PendingBytes() const { return TotalBits() / 8 - bitPos_ / 8; }

    // How many whole values (at most `want`) the received bytes hold.
    uint64_t Available(uint64_t want) const
    {
        if (field_.bitWidth == 0)
            return want;
        const uint64_t values = (TotalBits() - bitPos_) / field_.bitWidth;
        return values < want ? values : want;
    }
    // Decodes `count` values (count <= Available) into out[outIndex ...].
    void Decode(size_t count, size_t outIndex);
    // Consumes `count` values (count <= Available) but stores only the values
    // first, first + stride, ... of them, into out[outIndex ...]; returns how
    // many it stored. The other values are skipped without being decoded.
    size_t DecodeKept(size_t count, size_t first, size_t stride, size_t outIndex);

    // Converts `count` values, the first at bit `bitPos` of `data` and each
    // next one `strideBits` further, into out[0 .. count).
    using DecodeFn = void (*)(const FieldDescription&, const uint8_t* data, uint64_t bitPos, size_t count,
                              uint64_t strideBits, void* out);

private:
    uint64_t TotalBits() const { return (slice_ ? sliceStart_ + sliceSize_ : end_) * uint64_t(8); }
    void Compact();
    void Reserve(size_t extra);  // room for `extra` more queued bytes (may compact)

    FieldDescription field_;
    size_t streamIndex_;
    void* out_;
    size_t outSize_;            // bytes per output element
    DecodeFn decode_ = nullptr;
    std::vector<uint8_t> buf_;  // queued bytes [0, end_) plus slack for 8-byte loads
    size_t end_ = 0;
    uint64_t bitPos_ = 0;       // next unread bit, counted from buf_[0]
    // Attached bytes: they continue the stream at queue byte sliceStart_. Their
    // first bytes are also copied to the queue, so that a value straddling
    // the two is whole in the queue.
    const uint8_t* slice_ = nullptr;
    size_t sliceSize_ = 0;
    size_t sliceStart_ = 0;
};

// Unpacks `count` values of `bits` bits (1..64) starting at stream bit
// `bitPos` of `data`, least significant bit first. `data` must be readable
// 8 bytes beyond the last byte that holds value bits.
void UnpackBits(const uint8_t* data, uint64_t bitPos, unsigned bits, size_t count, uint64_t* out);

}  // namespace e57
