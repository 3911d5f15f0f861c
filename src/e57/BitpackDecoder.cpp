#include "e57/BitpackDecoder.h"

#include <algorithm>
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
// The `b` bits (1..64) starting at bit `pos`, in the low bits of the result
// (higher bits unmasked): one unaligned 64-bit load, plus the ninth byte when
// the value reaches past it.
inline uint64_t BitsAt(const uint8_t* data, uint64_t pos, unsigned b)
{
    const uint8_t* p = data + (pos >> 3);
    const unsigned sh = static_cast<unsigned>(pos & 7);
    uint64_t w = Load<uint64_t>(p) >> sh;
    if (sh + b > 64)
        w |= uint64_t(p[8]) << (64 - sh);
    return w;
}

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
    for (; i < n; ++i, pos += b)
        out[i] = conv(BitsAt(data, pos, b) & mask);
}

// Calls conv(raw) for `n` values of `b` bits (1..64), the first at bit `pos`
// and each next one `strideBits` (>= b) further; the values between are not
// read. Contiguous values (strideBits == b) take ForEachRaw's fast paths.
template <typename Dst, typename Conv>
inline void ForEachRawStrided(const uint8_t* data, uint64_t pos, unsigned b, size_t n, uint64_t strideBits, Dst* out,
                              Conv conv)
{
    const uint64_t mask = b >= 64 ? ~uint64_t(0) : (uint64_t(1) << b) - 1;
    if (strideBits != b) {
        if (((pos | strideBits) & 7) == 0 && (b == 8 || b == 16 || b == 32 || b == 64)) {
            const uint8_t* p = data + (pos >> 3);
            const size_t step = static_cast<size_t>(strideBits >> 3);
            auto each = [&](auto load) {
                for (size_t i = 0; i < n; ++i, p += step)
                    out[i] = conv(load(p));
            };
            switch (b) {
            case 8: each([](const uint8_t* q) { return uint64_t(*q); }); break;
            case 16: each([](const uint8_t* q) { return uint64_t(Load<uint16_t>(q)); }); break;
            case 32: each([](const uint8_t* q) { return uint64_t(Load<uint32_t>(q)); }); break;
            default: each([](const uint8_t* q) { return Load<uint64_t>(q); }); break;
            }
            return;
        }
        for (size_t i = 0; i < n; ++i, pos += strideBits)
            out[i] = conv(BitsAt(data, pos, b) & mask);
        return;
    }
    ForEachRaw(data, pos, b, n, out, conv);
}

// Integer field into the buffer type; `Saturate` is false when the field's
// limits fit the type, which lets the plain loops vectorise.
template <typename Dst, bool Saturate>
void DecodeInteger(const FieldDescription& f, const uint8_t* data, uint64_t pos, size_t n, uint64_t strideBits,
                   void* outPtr)
{
    Dst* out = static_cast<Dst*>(outPtr);
    const uint64_t minimum = static_cast<uint64_t>(f.minimum);
    if (f.bitWidth == 0) {
        const Dst v = FromInt<Dst>(f.minimum);
        for (size_t i = 0; i < n; ++i)
            out[i] = v;
        return;
    }
    if constexpr (Saturate) {
        ForEachRawStrided(data, pos, f.bitWidth, n, strideBits, out,
                          [minimum](uint64_t raw) { return FromInt<Dst>(static_cast<int64_t>(minimum + raw)); });
    } else {
        ForEachRawStrided(data, pos, f.bitWidth, n, strideBits, out,
                          [minimum](uint64_t raw) { return static_cast<Dst>(static_cast<int64_t>(minimum + raw)); });
    }
}

template <typename Dst>
void DecodeScaled(const FieldDescription& f, const uint8_t* data, uint64_t pos, size_t n, uint64_t strideBits,
                  void* outPtr)
{
    Dst* out = static_cast<Dst*>(outPtr);
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
    ForEachRawStrided(data, pos, f.bitWidth, n, strideBits, out, conv);
}

// Float and Double values are whole bytes: the stride is too.
template <typename Dst>
void DecodeFloat(const FieldDescription&, const uint8_t* data, uint64_t pos, size_t n, uint64_t strideBits,
                 void* outPtr)
{
    Dst* out = static_cast<Dst*>(outPtr);
    const uint8_t* p = data + (pos >> 3);
    if (strideBits != 32) {
        for (size_t i = 0; i < n; ++i)
            out[i] = FromDouble<Dst>(Load<float>(p + (strideBits >> 3) * i));
        return;
    }
    if constexpr (std::is_same_v<Dst, float>) {
        std::memcpy(out, p, n * sizeof(float));
    } else {
        for (size_t i = 0; i < n; ++i)
            out[i] = FromDouble<Dst>(Load<float>(p + 4 * i));
    }
}

template <typename Dst>
void DecodeDouble(const FieldDescription&, const uint8_t* data, uint64_t pos, size_t n, uint64_t strideBits,
                  void* outPtr)
{
    Dst* out = static_cast<Dst*>(outPtr);
    const uint8_t* p = data + (pos >> 3);
    if (strideBits != 64) {
        for (size_t i = 0; i < n; ++i)
            out[i] = FromDouble<Dst>(Load<double>(p + (strideBits >> 3) * i));
        return;
    }
    if constexpr (std::is_same_v<Dst, double>) {
        std::memcpy(out, p, n * sizeof(double));
    } else {
        for (size_t i = 0; i < n; ++i)
            out[i] = FromDouble<Dst>(Load<double>(p + 8 * i));
    }
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

#define PW_FIELD_DECODER_CTOR(T)                                                                          \
    FieldDecoder::FieldDecoder(const FieldDescription& field, size_t streamIndex, T* out)                  \
        : field_(field), streamIndex_(streamIndex), out_(out), outSize_(sizeof(T)),                        \
          decode_(PickDecoder<T>(field))                                                                   \
    {                                                                                                       \
    }
PW_FIELD_DECODER_CTOR(float)
PW_FIELD_DECODER_CTOR(double)
PW_FIELD_DECODER_CTOR(int8_t)
PW_FIELD_DECODER_CTOR(uint16_t)
PW_FIELD_DECODER_CTOR(int32_t)
#undef PW_FIELD_DECODER_CTOR

void FieldDecoder::Compact()
{
    const size_t drop = static_cast<size_t>(bitPos_ / 8);
    if (drop == 0)
        return;
    std::memmove(buf_.data(), buf_.data() + drop, end_ - drop);
    end_ -= drop;
    bitPos_ -= uint64_t(drop) * 8;
}

void FieldDecoder::Reserve(size_t extra)
{
    // Move the unread tail to the front once at least half of the queue is
    // consumed, so that a field running ahead is not moved again and again.
    if (bitPos_ / 8 >= end_ - bitPos_ / 8)
        Compact();
    if (buf_.size() < end_ + extra + kSlack) {
        Compact();
        if (buf_.size() < end_ + extra + kSlack)
            buf_.resize(std::max(end_ + extra + kSlack, buf_.size() * 2));
    }
}

void FieldDecoder::Append(const uint8_t* data, size_t size)
{
    Detach();
    if (size == 0)
        return;
    Reserve(size);
    std::memcpy(buf_.data() + end_, data, size);
    end_ += size;
}

void FieldDecoder::Attach(const uint8_t* data, size_t size)
{
    Detach();
    // Short pieces are simply copied; longer ones stay where they are, with
    // their first bytes copied so that no value straddles queue and slice.
    if (size <= kSlack) {
        Append(data, size);
        return;
    }
    if (bitPos_ / 8 >= end_)
        Compact();
    Reserve(kSlack);
    sliceStart_ = end_;
    std::memcpy(buf_.data() + end_, data, kSlack);
    end_ += kSlack;
    slice_ = data;
    sliceSize_ = size;
}

void FieldDecoder::Detach()
{
    if (!slice_)
        return;
    const uint8_t* slice = slice_;
    const size_t sliceSize = sliceSize_;
    const size_t firstUnread = static_cast<size_t>(bitPos_ / 8);
    size_t from = end_ - sliceStart_;  // slice bytes already in the queue
    slice_ = nullptr;
    sliceSize_ = 0;
    if (firstUnread >= end_) {
        // The queue is used up: keep only the unread part of the slice.
        from = firstUnread - sliceStart_;
        bitPos_ -= uint64_t(firstUnread) * 8;
        end_ = 0;
    }
    const size_t rest = sliceSize - from;
    if (rest == 0)
        return;
    Reserve(rest);
    std::memcpy(buf_.data() + end_, slice + from, rest);
    end_ += rest;
}

void FieldDecoder::Decode(size_t count, size_t outIndex)
{
    const unsigned b = field_.bitWidth;
    uint8_t* out = static_cast<uint8_t*>(out_) + outIndex * outSize_;
    if (b == 0) {
        decode_(field_, buf_.data(), 0, count, 0, out);
        return;
    }
    // Values that lie wholly in the queue come from there, the rest from the
    // attached slice.
    size_t inQueue = count;
    if (slice_) {
        const uint64_t queueBits = uint64_t(end_) * 8;
        inQueue = bitPos_ >= queueBits ? 0 : static_cast<size_t>(std::min<uint64_t>(count, (queueBits - bitPos_) / b));
    }
    if (inQueue > 0) {
        decode_(field_, buf_.data(), bitPos_, inQueue, b, out);
        bitPos_ += uint64_t(inQueue) * b;
    }
    if (inQueue < count) {
        decode_(field_, slice_, bitPos_ - uint64_t(sliceStart_) * 8, count - inQueue, b, out + inQueue * outSize_);
        bitPos_ += uint64_t(count - inQueue) * b;
    }
}

size_t FieldDecoder::DecodeKept(size_t count, size_t first, size_t stride, size_t outIndex)
{
    if (stride == 1 && first == 0) {
        Decode(count, outIndex);
        return count;
    }
    const unsigned b = field_.bitWidth;
    const size_t kept = first < count ? (count - 1 - first) / stride + 1 : 0;
    uint8_t* out = static_cast<uint8_t*>(out_) + outIndex * outSize_;
    if (b == 0) {
        decode_(field_, buf_.data(), 0, kept, 0, out);
        return kept;
    }
    const uint64_t end = bitPos_ + uint64_t(count) * b;   // every value is consumed
    uint64_t pos = bitPos_ + uint64_t(first) * b;
    const uint64_t strideBits = uint64_t(stride) * b;
    // Kept values that lie wholly in the queue come from there, the rest from
    // the attached slice, as in Decode.
    size_t inQueue = kept;
    if (slice_) {
        const uint64_t queueBits = uint64_t(end_) * 8;
        inQueue = pos + b > queueBits ? 0 : static_cast<size_t>(std::min<uint64_t>(kept, (queueBits - pos - b) / strideBits + 1));
    }
    if (inQueue > 0) {
        decode_(field_, buf_.data(), pos, inQueue, strideBits, out);
        pos += uint64_t(inQueue) * strideBits;
    }
    if (inQueue < kept)
        decode_(field_, slice_, pos - uint64_t(sliceStart_) * 8, kept - inQueue, strideBits, out + inQueue * outSize_);
    bitPos_ = end;
    return kept;
}

void UnpackBits(const uint8_t* data, uint64_t bitPos, unsigned bits, size_t count, uint64_t* out)
{
    ForEachRaw(data, bitPos, bits, count, out, [](uint64_t raw) { return raw; });
}

}  // namespace e57
