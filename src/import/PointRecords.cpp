#include "import/PointRecords.h"

#include <cstring>
#include <limits>

#if defined(__SSE2__)
#include <xmmintrin.h>
#include <emmintrin.h>
#elif defined(__ARM_NEON)
#include <arm_neon.h>
#endif

// Wider vector units where the loader can pick a version at run time (ifunc):
// the AVX2 clone does the very same IEEE double operations four at a time,
// so its results are those of the baseline version bit for bit.
// Not under the sanitizers, whose run-time is not ready when the loader picks.
#if defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(memory_sanitizer) || __has_feature(thread_sanitizer)
#define PW_NO_CLONES 1
#endif
#endif
#if defined(__x86_64__) && defined(__linux__) && defined(__GNUC__) && !defined(__SANITIZE_ADDRESS__) && \
    !defined(PW_NO_CLONES)
#define PW_WIDE_VECTORS __attribute__((target_clones("avx2", "default")))
#else
#define PW_WIDE_VECTORS
#endif

namespace gspc {

namespace {

struct PoseTerms {
    double w, a, b, c, tx, ty, tz;
};

inline void PoseOne(const PoseTerms& p, double x, double y, double z, float& xo, float& yo, float& zo)
{
    double xd, yd, zd;
    PoseFormula(p.w, p.a, p.b, p.c, p.tx, p.ty, p.tz, x, y, z, xd, yd, zd);
    xo = static_cast<float>(xd);
    yo = static_cast<float>(yd);
    zo = static_cast<float>(zd);
}

PW_WIDE_VECTORS
void PoseContiguous(const PoseTerms p, const double* __restrict x, const double* __restrict y,
                    const double* __restrict z, size_t n, float* __restrict outX, float* __restrict outY,
                    float* __restrict outZ)
{
    for (size_t k = 0; k < n; ++k)
        PoseOne(p, x[k], y[k], z[k], outX[k], outY[k], outZ[k]);
}

void PoseStrided(const PoseTerms p, const double* __restrict x, const double* __restrict y,
                 const double* __restrict z, size_t stride, size_t n, float* __restrict outX,
                 float* __restrict outY, float* __restrict outZ)
{
    for (size_t k = 0, j = 0; k < n; ++k, j += stride)
        PoseOne(p, x[j], y[j], z[j], outX[k], outY[k], outZ[k]);
}

inline uint32_t Saturate8(uint16_t v)
{
    return v > 255 ? 255u : v;
}

constexpr uint32_t kGrey = 200u | 200u << 8 | 200u << 16;

// Strict one-after-the-other fold of one axis, NaN values skipped.
void FoldAxisScalar(const float* v, size_t n, bool& has, float& lo, float& hi)
{
    for (size_t i = 0; i < n; ++i) {
        const float f = v[i];
        if (!(f == f))
            continue;
        if (!has) {
            lo = hi = f;
            has = true;
            continue;
        }
        lo = lo > f ? f : lo;
        hi = f > hi ? f : hi;
    }
}

// Eight independent lanes, then the lanes merged. A NaN never enters a lane
// (every comparison with it is false), just as it never enters the scalar
// fold; the one case where the order matters is a zero result, where -0 and
// +0 tie and the earlier one must stay: such runs are folded again one by one.
void FoldAxis(const float* v, size_t n, bool& has, float& lo, float& hi)
{
    constexpr size_t kLanes = 8;
    if (n < 2 * kLanes) {
        FoldAxisScalar(v, n, has, lo, hi);
        return;
    }
    float l[kLanes], h[kLanes];
    size_t i = 0;
#if defined(__SSE2__)
    // minps(f, l) is "f < l ? f : l", maxps(f, h) is "f > h ? f : h".
    __m128 l0 = _mm_set1_ps(std::numeric_limits<float>::infinity()), l1 = l0;
    __m128 h0 = _mm_set1_ps(-std::numeric_limits<float>::infinity()), h1 = h0;
    for (; i + kLanes <= n; i += kLanes) {
        const __m128 f0 = _mm_loadu_ps(v + i), f1 = _mm_loadu_ps(v + i + 4);
        l0 = _mm_min_ps(f0, l0);
        l1 = _mm_min_ps(f1, l1);
        h0 = _mm_max_ps(f0, h0);
        h1 = _mm_max_ps(f1, h1);
    }
    _mm_storeu_ps(l, l0);
    _mm_storeu_ps(l + 4, l1);
    _mm_storeu_ps(h, h0);
    _mm_storeu_ps(h + 4, h1);
#elif defined(__ARM_NEON)
    float32x4_t l0 = vdupq_n_f32(std::numeric_limits<float>::infinity()), l1 = l0;
    float32x4_t h0 = vdupq_n_f32(-std::numeric_limits<float>::infinity()), h1 = h0;
    for (; i + kLanes <= n; i += kLanes) {
        const float32x4_t f0 = vld1q_f32(v + i), f1 = vld1q_f32(v + i + 4);
        l0 = vbslq_f32(vcgtq_f32(l0, f0), f0, l0);
        l1 = vbslq_f32(vcgtq_f32(l1, f1), f1, l1);
        h0 = vbslq_f32(vcgtq_f32(f0, h0), f0, h0);
        h1 = vbslq_f32(vcgtq_f32(f1, h1), f1, h1);
    }
    vst1q_f32(l, l0);
    vst1q_f32(l + 4, l1);
    vst1q_f32(h, h0);
    vst1q_f32(h + 4, h1);
#else
    for (size_t k = 0; k < kLanes; ++k) {
        l[k] = std::numeric_limits<float>::infinity();
        h[k] = -std::numeric_limits<float>::infinity();
    }
    for (; i + kLanes <= n; i += kLanes) {
        for (size_t k = 0; k < kLanes; ++k) {
            const float f = v[i + k];
            l[k] = l[k] > f ? f : l[k];
            h[k] = f > h[k] ? f : h[k];
        }
    }
#endif
    float runLo = std::numeric_limits<float>::infinity();
    float runHi = -std::numeric_limits<float>::infinity();
    for (size_t k = 0; k < kLanes; ++k) {
        runLo = runLo > l[k] ? l[k] : runLo;
        runHi = h[k] > runHi ? h[k] : runHi;
    }
    for (; i < n; ++i) {
        const float f = v[i];
        runLo = runLo > f ? f : runLo;
        runHi = f > runHi ? f : runHi;
    }
    if (runLo == 0.0f || runHi == 0.0f) {
        FoldAxisScalar(v, n, has, lo, hi);
        return;
    }
    if (!(runLo <= runHi))
        return;   // only NaN values
    if (!has) {
        lo = runLo;
        hi = runHi;
        has = true;
        return;
    }
    lo = lo > runLo ? runLo : lo;
    hi = runHi > hi ? runHi : hi;
}

#if !defined(__BYTE_ORDER__) || __BYTE_ORDER__ != __ORDER_LITTLE_ENDIAN__
inline void PutU32(unsigned char* p, uint32_t v)
{
    p[0] = static_cast<unsigned char>(v);
    p[1] = static_cast<unsigned char>(v >> 8);
    p[2] = static_cast<unsigned char>(v >> 16);
    p[3] = static_cast<unsigned char>(v >> 24);
}
#endif

}  // namespace

void PosePoints(const e57::RigidBodyTransform& pose, const double* x, const double* y, const double* z,
                const Gather& g, float* outX, float* outY, float* outZ)
{
    const PoseTerms p{pose.rotation.w,    pose.rotation.x,    pose.rotation.y,   pose.rotation.z,
                      pose.translation.x, pose.translation.y, pose.translation.z};
    if (g.stride == 1)
        PoseContiguous(p, x + g.first, y + g.first, z + g.first, g.count, outX, outY, outZ);
    else
        PoseStrided(p, x + g.first, y + g.first, z + g.first, g.stride, g.count, outX, outY, outZ);
}

void ColourPoints(const uint16_t* red, const uint16_t* green, const uint16_t* blue, const int8_t* invalid,
                  const Gather& g, uint32_t* outRgb)
{
    const uint16_t* r = red + g.first;
    const uint16_t* gr = green + g.first;
    const uint16_t* b = blue + g.first;
    const int8_t* inv = invalid + g.first;
    if (g.stride == 1) {
        for (size_t k = 0; k < g.count; ++k) {
            const uint32_t c = Saturate8(r[k]) | Saturate8(gr[k]) << 8 | Saturate8(b[k]) << 16;
            outRgb[k] = inv[k] == 0 ? c : kGrey;
        }
        return;
    }
    for (size_t k = 0, j = 0; k < g.count; ++k, j += g.stride) {
        const uint32_t c = Saturate8(r[j]) | Saturate8(gr[j]) << 8 | Saturate8(b[j]) << 16;
        outRgb[k] = inv[j] == 0 ? c : kGrey;
    }
}

void GreyPoints(size_t count, uint32_t* outRgb)
{
    for (size_t k = 0; k < count; ++k)
        outRgb[k] = kGrey;
}

void FoldBounds(const float* x, const float* y, const float* z, size_t count, RunBounds& bounds)
{
    if (count == 0)
        return;
    if (bounds.empty) {
        bounds.first[0] = x[0];
        bounds.first[1] = y[0];
        bounds.first[2] = z[0];
        bounds.empty = false;
    }
    FoldAxis(x, count, bounds.has[0], bounds.lo[0], bounds.hi[0]);
    FoldAxis(y, count, bounds.has[1], bounds.lo[1], bounds.hi[1]);
    FoldAxis(z, count, bounds.has[2], bounds.lo[2], bounds.hi[2]);
}

void MergeBounds(const RunBounds& run, float fileBounds[6], bool& firstPoint)
{
    if (run.empty)
        return;
    if (firstPoint) {
        // The very first point sets both bounds of each axis, NaN included.
        for (int a = 0; a < 3; ++a)
            fileBounds[2 * a] = fileBounds[2 * a + 1] = run.first[a];
        firstPoint = false;
    }
    for (int a = 0; a < 3; ++a) {
        if (!run.has[a])
            continue;
        float& lo = fileBounds[2 * a];
        float& hi = fileBounds[2 * a + 1];
        lo = lo > run.lo[a] ? run.lo[a] : lo;
        hi = run.hi[a] > hi ? run.hi[a] : hi;
    }
}

void EncodeRecords(const float* x, const float* y, const float* z, const uint32_t* rgb, size_t count,
                   unsigned char* out)
{
#if defined(__BYTE_ORDER__) && __BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__
    // 16 bytes per point, the next record overwriting the 16th.
    size_t i = 0;
#if defined(__SSE2__)
    // Four points at a time: x, y, z and colour of four points transposed
    // into four 16-byte rows.
    for (; i + 4 <= count; i += 4, out += 4 * kRecordSize) {
        __m128 a = _mm_loadu_ps(x + i), b = _mm_loadu_ps(y + i), c = _mm_loadu_ps(z + i);
        __m128 d = _mm_castsi128_ps(_mm_loadu_si128(reinterpret_cast<const __m128i*>(rgb + i)));
        _MM_TRANSPOSE4_PS(a, b, c, d);
        _mm_storeu_ps(reinterpret_cast<float*>(out), a);
        _mm_storeu_ps(reinterpret_cast<float*>(out + kRecordSize), b);
        _mm_storeu_ps(reinterpret_cast<float*>(out + 2 * kRecordSize), c);
        _mm_storeu_ps(reinterpret_cast<float*>(out + 3 * kRecordSize), d);
    }
#endif
    for (; i < count; ++i, out += kRecordSize) {
        uint32_t word[4];
        std::memcpy(&word[0], &x[i], 4);
        std::memcpy(&word[1], &y[i], 4);
        std::memcpy(&word[2], &z[i], 4);
        word[3] = rgb[i];
        std::memcpy(out, word, sizeof word);
    }
#else
    for (size_t i = 0; i < count; ++i, out += kRecordSize) {
        uint32_t bits;
        std::memcpy(&bits, &x[i], 4);
        PutU32(out, bits);
        std::memcpy(&bits, &y[i], 4);
        PutU32(out + 4, bits);
        std::memcpy(&bits, &z[i], 4);
        PutU32(out + 8, bits);
        out[12] = static_cast<unsigned char>(rgb[i]);
        out[13] = static_cast<unsigned char>(rgb[i] >> 8);
        out[14] = static_cast<unsigned char>(rgb[i] >> 16);
    }
#endif
}

}  // namespace gspc
