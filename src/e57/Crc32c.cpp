#include "e57/Crc32c.h"

#include <array>
#include <cstring>

#if defined(__x86_64__)
#include <cpuid.h>
#include <nmmintrin.h>
#include <wmmintrin.h>
#define PW_CRC32C_X86 1
#elif defined(__aarch64__)
#include <arm_acle.h>
#include <arm_neon.h>
#define PW_CRC32C_ARM 1
#if defined(__linux__)
#include <sys/auxv.h>
#ifndef HWCAP_PMULL
#define HWCAP_PMULL (1 << 4)
#endif
#ifndef HWCAP_CRC32
#define HWCAP_CRC32 (1 << 7)
#endif
#endif
#endif

// CRC-32C in its reflected form: the register holds the remainder with bit 0
// as the highest power, and every byte goes in low bit first. Everything here
// works on the raw register; only Crc32c/Crc32cPortable apply the initial and
// final inversion.
namespace e57 {
namespace {

constexpr uint32_t kPolyReflected = 0x82F63B78u;

// Slicing-by-8 tables: kTables[k][b] is the register after feeding byte b
// followed by k zero bytes into a zero register.
struct SliceTables {
    uint32_t t[8][256];
};

constexpr SliceTables MakeSliceTables()
{
    SliceTables s{};
    for (uint32_t b = 0; b < 256; ++b) {
        uint32_t c = b;
        for (int bit = 0; bit < 8; ++bit)
            c = (c & 1) ? (c >> 1) ^ kPolyReflected : c >> 1;
        s.t[0][b] = c;
    }
    for (int k = 1; k < 8; ++k)
        for (uint32_t b = 0; b < 256; ++b)
            s.t[k][b] = (s.t[k - 1][b] >> 8) ^ s.t[0][s.t[k - 1][b] & 0xFF];
    return s;
}

constexpr SliceTables kSlice = MakeSliceTables();

uint32_t Load32(const uint8_t* p)
{
    return uint32_t(p[0]) | uint32_t(p[1]) << 8 | uint32_t(p[2]) << 16 | uint32_t(p[3]) << 24;
}

uint32_t UpdatePortable(uint32_t crc, const uint8_t* p, size_t n)
{
    const auto& t = kSlice.t;
    for (; n >= 8; n -= 8, p += 8) {
        const uint32_t lo = Load32(p) ^ crc;
        const uint32_t hi = Load32(p + 4);
        crc = t[7][lo & 0xFF] ^ t[6][(lo >> 8) & 0xFF] ^ t[5][(lo >> 16) & 0xFF] ^ t[4][lo >> 24] ^
              t[3][hi & 0xFF] ^ t[2][(hi >> 8) & 0xFF] ^ t[1][(hi >> 16) & 0xFF] ^ t[0][hi >> 24];
    }
    for (; n > 0; --n, ++p)
        crc = (crc >> 8) ^ t[0][(crc ^ *p) & 0xFF];
    return crc;
}

#if defined(PW_CRC32C_X86) || defined(PW_CRC32C_ARM)

// The instructions take 8 bytes per step but each step waits for the last,
// so three independent streams of kStream bytes run side by side and are
// joined afterwards. A 1020-byte E57 page is a 12-byte head followed by
// three streams of 336 bytes.
constexpr size_t kStream = 336;
constexpr size_t kRound = 3 * kStream;

// Joining moves a stream's register past the zero bytes standing for the
// streams after it: multiplying by x^(8n) modulo the polynomial. A carry-less
// multiply by the constant x^(8n-33) mod P, then one CRC step over the 64-bit
// product, does exactly that (the step multiplies by x^32, and the
// bit-reflected product carries one factor x).
constexpr uint32_t XPowModP(size_t n)
{
    uint32_t r = 0x80000000u;  // x^0 in the reflected register
    for (size_t i = 0; i < n; ++i)
        r = (r & 1) ? (r >> 1) ^ kPolyReflected : r >> 1;
    return r;
}

constexpr uint32_t kShiftOne = XPowModP(8 * kStream - 33);
constexpr uint32_t kShiftTwo = XPowModP(8 * 2 * kStream - 33);

inline uint64_t Load64(const uint8_t* p)
{
    uint64_t v;
    std::memcpy(&v, p, 8);  // little-endian on both targets
    return v;
}

#endif

#if defined(PW_CRC32C_X86)
#define PW_CRC32C_TARGET __attribute__((target("sse4.2,pclmul")))
// The register is kept 64 bits wide between steps, as the instruction
// returns it: truncating to 32 bits would put an extra move in every step's
// dependency chain.
using CrcReg = uint64_t;
#define PW_CRC32C_8(crc, p) _mm_crc32_u64((crc), Load64(p))
#define PW_CRC32C_4(crc, w) _mm_crc32_u32((crc), (w))
#define PW_CRC32C_2(crc, h) _mm_crc32_u16((crc), (h))
#define PW_CRC32C_1(crc, b) _mm_crc32_u8((crc), (b))

PW_CRC32C_TARGET inline uint32_t Shift(uint32_t crc, uint32_t k)
{
    const __m128i product = _mm_clmulepi64_si128(_mm_cvtsi32_si128(int(crc)), _mm_cvtsi32_si128(int(k)), 0);
    return uint32_t(_mm_crc32_u64(0, uint64_t(_mm_cvtsi128_si64(product))));
}

bool CpuHasCrc32c()
{
    unsigned eax = 0, ebx = 0, ecx = 0, edx = 0;
    return __get_cpuid(1, &eax, &ebx, &ecx, &edx) && (ecx & bit_SSE4_2) != 0 && (ecx & bit_PCLMUL) != 0;
}

#elif defined(PW_CRC32C_ARM)
#if defined(__clang__)
#define PW_CRC32C_TARGET __attribute__((target("crc,aes")))
#else
#define PW_CRC32C_TARGET __attribute__((target("+crc+crypto")))
#endif
using CrcReg = uint32_t;
#if defined(__clang__)
// clang's <arm_acle.h> declares the __crc32c* intrinsics only when the whole
// file is built for the CRC extension; its builtins follow the function's target.
#define PW_CRC32C_8_VALUE(crc, v) __builtin_arm_crc32cd((crc), (v))
#define PW_CRC32C_8(crc, p) __builtin_arm_crc32cd((crc), Load64(p))
#define PW_CRC32C_4(crc, w) __builtin_arm_crc32cw((crc), (w))
#define PW_CRC32C_2(crc, h) __builtin_arm_crc32ch((crc), (h))
#define PW_CRC32C_1(crc, b) __builtin_arm_crc32cb((crc), (b))
#else
#define PW_CRC32C_8_VALUE(crc, v) __crc32cd((crc), (v))
#define PW_CRC32C_8(crc, p) __crc32cd((crc), Load64(p))
#define PW_CRC32C_4(crc, w) __crc32cw((crc), (w))
#define PW_CRC32C_2(crc, h) __crc32ch((crc), (h))
#define PW_CRC32C_1(crc, b) __crc32cb((crc), (b))
#endif

PW_CRC32C_TARGET inline uint32_t Shift(uint32_t crc, uint32_t k)
{
    const poly128_t product = vmull_p64(poly64_t(crc), poly64_t(k));
    return PW_CRC32C_8_VALUE(0, vgetq_lane_u64(vreinterpretq_u64_p128(product), 0));
}

// The CRC instructions and the 64-bit carry-less multiply (PMULL).
bool CpuHasCrc32c()
{
#if defined(__linux__)
    const unsigned long caps = getauxval(AT_HWCAP);
    return (caps & HWCAP_CRC32) != 0 && (caps & HWCAP_PMULL) != 0;
#elif defined(__APPLE__)
    return true;  // every Apple-silicon Mac has both
#else
    return false;
#endif
}
#endif

#if defined(PW_CRC32C_TARGET)

// Up to 7 bytes: a 4-, a 2- and a 1-byte step as needed.
#define PW_CRC32C_SHORT(r, p, n)                                   \
    do {                                                           \
        if ((n) & 4) {                                             \
            uint32_t w;                                            \
            std::memcpy(&w, (p), 4);                               \
            (r) = PW_CRC32C_4(uint32_t(r), w);                     \
            (p) += 4;                                              \
        }                                                          \
        if ((n) & 2) {                                             \
            uint16_t h;                                            \
            std::memcpy(&h, (p), 2);                               \
            (r) = PW_CRC32C_2(uint32_t(r), h);                     \
            (p) += 2;                                              \
        }                                                          \
        if ((n) & 1)                                               \
            (r) = PW_CRC32C_1(uint32_t(r), *(p)++);                \
    } while (0)

PW_CRC32C_TARGET uint32_t UpdateCpu(uint32_t crc, const uint8_t* p, size_t n)
{
    CrcReg r = crc;
    if (n >= kRound) {
        // The bytes that do not fill a whole round go first, so that the last
        // round ends with the buffer; the streams do not wait for them.
        size_t head = n % kRound;
        n -= head;
        for (; head >= 8; head -= 8, p += 8)
            r = PW_CRC32C_8(r, p);
        PW_CRC32C_SHORT(r, p, head);
        for (; n > 0; n -= kRound, p += kRound) {
            CrcReg a = r, b = 0, c = 0;
            for (size_t i = 0; i < kStream; i += 8) {
                a = PW_CRC32C_8(a, p + i);
                b = PW_CRC32C_8(b, p + kStream + i);
                c = PW_CRC32C_8(c, p + 2 * kStream + i);
            }
            r = Shift(uint32_t(a), kShiftTwo) ^ Shift(uint32_t(b), kShiftOne) ^ uint32_t(c);
        }
        return uint32_t(r);
    }
    for (; n >= 8; n -= 8, p += 8)
        r = PW_CRC32C_8(r, p);
    PW_CRC32C_SHORT(r, p, n);
    return uint32_t(r);
}

using UpdateFn = uint32_t (*)(uint32_t, const uint8_t*, size_t);

UpdateFn ChooseUpdate()
{
    return CpuHasCrc32c() ? UpdateCpu : UpdatePortable;
}

#else

using UpdateFn = uint32_t (*)(uint32_t, const uint8_t*, size_t);

UpdateFn ChooseUpdate()
{
    return UpdatePortable;
}

#endif

UpdateFn Update()
{
    static const UpdateFn chosen = ChooseUpdate();
    return chosen;
}

}  // namespace

uint32_t Crc32c(const void* data, size_t size)
{
    return ~Update()(0xFFFFFFFFu, static_cast<const uint8_t*>(data), size);
}

uint32_t Crc32cPortable(const void* data, size_t size)
{
    return ~UpdatePortable(0xFFFFFFFFu, static_cast<const uint8_t*>(data), size);
}

bool Crc32cUsesCpuInstructions()
{
    return Update() != UpdatePortable;
}

}  // namespace e57
