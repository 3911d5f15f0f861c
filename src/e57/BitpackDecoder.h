#pragma once
// Decoding of one field's bitpacked byte stream. The stream's bytes arrive
// packet by packet (a value may straddle packets); the decoder queues them and
// converts whole values straight into the caller's buffer.
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "e57/Data3D.h"

namespace e57 {

// Unread bytes one field may hold before it counts as running away from the
// other fields of the same records.
constexpr size_t kMaxFieldLead = 64u << 20;

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

    // Queues the next bytes of this field's stream.
    void Append(const uint8_t* data, size_t size);
    // Bytes queued but not yet consumed.
    size_t PendingBytes() const { return end_ - bitPos_ / 8; }

    // How many whole values (at most `want`) the queued bytes hold.
    uint64_t Available(uint64_t want);
    // Decodes `count` values (count <= Available) into out[outIndex ...].
    void Decode(size_t count, size_t outIndex) { decode_(*this, count, outIndex); }

    // Implementation details used by the decoding templates.
    using DecodeFn = void (*)(FieldDecoder&, size_t, size_t);
    const FieldDescription& Field() const { return field_; }
    const uint8_t* Data() const { return buf_.data(); }
    uint64_t BitPos() const { return bitPos_; }
    void Consume(uint64_t bits) { bitPos_ += bits; }
    void* Out() const { return out_; }

private:
    void Compact();

    FieldDescription field_;
    size_t streamIndex_;
    void* out_;
    DecodeFn decode_ = nullptr;
    std::vector<uint8_t> buf_;  // queued bytes [0, end_) plus zeroed slack for 8-byte loads
    size_t end_ = 0;
    uint64_t bitPos_ = 0;       // next unread bit, counted from buf_[0]
};

// Unpacks `count` values of `bits` bits (1..64) starting at stream bit
// `bitPos` of `data`, least significant bit first. `data` must be readable
// 8 bytes beyond the last byte that holds value bits.
void UnpackBits(const uint8_t* data, uint64_t bitPos, unsigned bits, size_t count, uint64_t* out);

}  // namespace e57
