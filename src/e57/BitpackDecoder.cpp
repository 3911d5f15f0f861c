#include "e57/BitpackDecoder.h"

#include <cstring>
#include <limits>
#include <type_traits>

#include "e57/E57Exception.h"

#if defined(__BYTE_ORDER__) && __BYTE_ORDER__ != __ORDER_LITTLE_ENDIAN__
#error "the bitpack decoder assumes a little-endian machine"
#endif

namespace e57 {

namespace {

constexpr size_t kSlack = 16;  // readable bytes past the queued data

template <typename T>
inline T Load(const uint8_t* p)
{
    T v;
    std::memcpy(&v, p, sizeof v);
    return v;
}

// Integer value into the buffer type; integers saturate at the type's limits.
template <typename Dst>
inline Dst FromInt(int64_t v)
{
    if constexpr (std::is_floating_point_v<Dst>) {
        return static_cast<Dst>(v);
    } else {
        if (v < std::numeric_limits<Dst>::min())
            return std::numeric_limits<Dst>::min();
        if (v > std::numeric_limits<Dst>::max())
            return std::numeric_limits<Dst>::max();
        return static_cast<Dst>(v);
    }
}

// Floating value into the buffer type; integers truncate toward zero and
// saturate, NaN gives 0.
template <typename Dst>
inline Dst FromDouble(double v)
{
    if constexpr (std::is_floating_point_v<Dst>) {
        return static_cast<Dst>(v);
    } else {
        if (!(v == v))
            return 0;
        if (v <= static_cast<double>(std::numeric_limits<Dst>::min()))
            return std::numeric_limits<Dst>::min();
        if (v >= static_cast<double>(std::numeric_limits<Dst>::max()))
            return std::numeric_limits<Dst>::max();
        return static_cast<Dst>(v);
    }
}

// Calls conv(raw) for `n` values of `b` bits (1..64) starting at bit `pos`,
// storing the results in out[0..n). Byte-aligned 8/16/32/64-bit values take
// direct loads. Other widths up to 57 bits go in groups of eight values,
// which span exactly b bytes: within a group every value sits at the same
// byte offset and shift, so one unaligned 64-bit load, a shift and a mask
// give each value. Wider values and the tail go one by one.
template <typename Dst, typename Conv>
inline void ForEachRaw(const uint8_t* data, uint64_t pos, unsigned b, size_t n, Dst* out, Conv conv)
{
    if ((pos & 7) == 0) {
        const uint8_t* p = data + (pos >> 3);
        switch (b) {
        case 8:
            for (size_t i = 0; i < n; ++i)
                out[i] = conv(p[i]);
            return;
        case 16:
            for (size_t i = 0; i < n; ++i)
                out[i] = conv(Load<uint16_t>(p + 2 * i));
            return;
        case 32:
            for (size_t i = 0; i < n; ++i)
                out[i] = conv(Load<uint32_t>(p + 4 * i));
            return;
        case 64:
            for (size_t i = 0; i < n; ++i)
                out[i] = conv(Load<uint64_t>(p + 8 * i));
            return;
        default:
            break;
        }
    }
    const uint64_t mask = b >= 64 ? ~uint64_t(0) : (uint64_t(1) << b) - 1;
    size_t i = 0;
    if (b <= 57 && n >= 8) {
        unsigned off[8], shift[8];
        for (unsigned j = 0; j < 8; ++j) {
            const unsigned bit = static_cast<unsigned>(pos & 7) + j * b;
            off[j] = bit >> 3;
            shift[j] = bit & 7;
        }
        const uint8_t* group = data + (pos >> 3);
        for (; i + 8 <= n; i += 8, group += b) {
            for (unsigned j = 0; j < 8; ++j)
                out[i + j] = conv((Load<uint64_t>(group + off[j]) >> shift[j]) & mask);
        }
        pos += uint64_t(i) * b;
    }
    for (; i < n; ++i, pos += b) {
        const uint8_t* p = data + (pos >> 3);
        const unsigned sh = static_cast<unsigned>(pos & 7);
        uint64_t w = Load<uint64_t>(p) >> sh;
        if (sh + b > 64)
            w |= uint64_t(p[8]) << (64 - sh);
        out[i] = conv(w & mask);
    }
}

// Integer field into the buffer type; `Saturate` is false when the field's
// limits fit the type, which lets the plain loops vectorise.
template <typename Dst, bool Saturate>
void DecodeInteger(FieldDecoder& d, size_t n, size_t outIndex)
{
    Dst* out = static_cast<Dst*>(d.Out()) + outIndex;
    const FieldDescription& f = d.Field();
    const uint64_t minimum = static_cast<uint64_t>(f.minimum);
    if (f.bitWidth == 0) {
        const Dst v = FromInt<Dst>(f.minimum);
        for (size_t i = 0; i < n; ++i)
            out[i] = v;
        return;
    }
    if constexpr (Saturate) {
        ForEachRaw(d.Data(), d.BitPos(), f.bitWidth, n, out,
                   [minimum](uint64_t raw) { return FromInt<Dst>(static_cast<int64_t>(minimum + raw)); });
    } else {
        ForEachRaw(d.Data(), d.BitPos(), f.bitWidth, n, out,
                   [minimum](uint64_t raw) { return static_cast<Dst>(static_cast<int64_t>(minimum + raw)); });
    }
    d.Consume(uint64_t(n) * f.bitWidth);
}

template <typename Dst>
void DecodeScaled(FieldDecoder& d, size_t n, size_t outIndex)
{
    Dst* out = static_cast<Dst*>(d.Out()) + outIndex;
    const FieldDescription& f = d.Field();
    const uint64_t minimum = static_cast<uint64_t>(f.minimum);
    const double scale = f.scale;
    const double offset = f.offset;
    auto conv = [=](uint64_t raw) {
        return FromDouble<Dst>(static_cast<double>(static_cast<int64_t>(minimum + raw)) * scale + offset);
    };
    if (f.bitWidth == 0) {
        const Dst v = conv(0);
        for (size_t i = 0; i < n; ++i)
            out[i] = v;
        return;
    }
    ForEachRaw(d.Data(), d.BitPos(), f.bitWidth, n, out, conv);
    d.Consume(uint64_t(n) * f.bitWidth);
}

template <typename Dst>
void DecodeFloat(FieldDecoder& d, size_t n, size_t outIndex)
{
    Dst* out = static_cast<Dst*>(d.Out()) + outIndex;
    const uint8_t* p = d.Data() + (d.BitPos() >> 3);
    if constexpr (std::is_same_v<Dst, float>) {
        std::memcpy(out, p, n * sizeof(float));
    } else {
        for (size_t i = 0; i < n; ++i)
            out[i] = FromDouble<Dst>(Load<float>(p + 4 * i));
    }
    d.Consume(uint64_t(n) * 32);
}

template <typename Dst>
void DecodeDouble(FieldDecoder& d, size_t n, size_t outIndex)
{
    Dst* out = static_cast<Dst*>(d.Out()) + outIndex;
    const uint8_t* p = d.Data() + (d.BitPos() >> 3);
    if constexpr (std::is_same_v<Dst, double>) {
        std::memcpy(out, p, n * sizeof(double));
    } else {
        for (size_t i = 0; i < n; ++i)
            out[i] = FromDouble<Dst>(Load<double>(p + 8 * i));
    }
    d.Consume(uint64_t(n) * 64);
}

template <typename Dst>
FieldDecoder::DecodeFn PickDecoder(const FieldDescription& f)
{
    switch (f.encoding) {
    case FieldEncoding::Integer:
        if constexpr (!std::is_floating_point_v<Dst>) {
            if (f.minimum < std::numeric_limits<Dst>::min() || f.maximum > std::numeric_limits<Dst>::max())
                return &DecodeInteger<Dst, true>;
        }
        return &DecodeInteger<Dst, false>;
    case FieldEncoding::ScaledInteger:
        return &DecodeScaled<Dst>;
    case FieldEncoding::Float:
        return &DecodeFloat<Dst>;
    case FieldEncoding::Double:
        return &DecodeDouble<Dst>;
    case FieldEncoding::String:
        break;
    }
    throw E57Exception("field '" + f.name + "' holds strings and cannot fill a numeric buffer");
}

}  // namespace

FieldDecoder::FieldDecoder(const FieldDescription& field, size_t streamIndex, float* out)
    : field_(field), streamIndex_(streamIndex), out_(out), decode_(PickDecoder<float>(field))
{
}
FieldDecoder::FieldDecoder(const FieldDescription& field, size_t streamIndex, double* out)
    : field_(field), streamIndex_(streamIndex), out_(out), decode_(PickDecoder<double>(field))
{
}
FieldDecoder::FieldDecoder(const FieldDescription& field, size_t streamIndex, int8_t* out)
    : field_(field), streamIndex_(streamIndex), out_(out), decode_(PickDecoder<int8_t>(field))
{
}
FieldDecoder::FieldDecoder(const FieldDescription& field, size_t streamIndex, uint16_t* out)
    : field_(field), streamIndex_(streamIndex), out_(out), decode_(PickDecoder<uint16_t>(field))
{
}
FieldDecoder::FieldDecoder(const FieldDescription& field, size_t streamIndex, int32_t* out)
    : field_(field), streamIndex_(streamIndex), out_(out), decode_(PickDecoder<int32_t>(field))
{
}

void FieldDecoder::Compact()
{
    const size_t drop = static_cast<size_t>(bitPos_ / 8);
    if (drop == 0)
        return;
    std::memmove(buf_.data(), buf_.data() + drop, end_ - drop);
    end_ -= drop;
    bitPos_ -= uint64_t(drop) * 8;
}

void FieldDecoder::Append(const uint8_t* data, size_t size)
{
    if (size == 0)
        return;
    // Move the unread tail to the front once at least half of the queue is
    // consumed, so that a field running ahead is not moved again and again.
    if (bitPos_ / 8 >= PendingBytes())
        Compact();
    if (buf_.size() < end_ + size + kSlack) {
        Compact();
        if (buf_.size() < end_ + size + kSlack)
            buf_.resize(std::max(end_ + size + kSlack, buf_.size() * 2));
    }
    std::memcpy(buf_.data() + end_, data, size);
    end_ += size;
}

uint64_t FieldDecoder::Available(uint64_t want)
{
    const unsigned b = field_.bitWidth;
    if (b == 0)
        return want;
    const uint64_t values = (uint64_t(end_) * 8 - bitPos_) / b;
    return std::min(values, want);
}

void UnpackBits(const uint8_t* data, uint64_t bitPos, unsigned bits, size_t count, uint64_t* out)
{
    ForEachRaw(data, bitPos, bits, count, out, [](uint64_t raw) { return raw; });
}

}  // namespace e57
