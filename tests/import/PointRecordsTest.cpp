// The chunked point work against the one-point-after-the-other rules: bounds
// over runs merged in order (NaN and signed zeros included), records, pose and
// colour, bit for bit.
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <random>
#include <vector>

#include "import/ConvertE57ToGspc.h"
#include "import/PointRecords.h"

namespace {

const float kNaN = std::numeric_limits<float>::quiet_NaN();
const float kInf = std::numeric_limits<float>::infinity();

uint32_t Bits(float f)
{
    uint32_t b;
    std::memcpy(&b, &f, 4);
    return b;
}

// The writer's rule, one value after the other, for one axis.
void ReferenceFold(const std::vector<float>& v, float& lo, float& hi)
{
    lo = hi = v[0];
    for (float f : v) {
        if (lo > f)
            lo = f;
        if (f > hi)
            hi = f;
    }
}

}  // namespace

TEST(PointRecords, BoundsOfRunsMergedInOrderEqualTheOneByOneRule)
{
    std::mt19937 rng(7);
    const float specials[] = {kNaN, -0.0f, 0.0f, kInf, -kInf, 1.0f, -1.0f};
    for (int trial = 0; trial < 300; ++trial) {
        // Some trials are mostly special values, some have none, and some
        // have signed zeros as their smallest and largest values.
        const size_t n = 1 + rng() % 200;
        const unsigned specialShare = trial % 3 == 0 ? 0 : (trial % 3 == 1 ? 5 : 80);
        // Signed zeros (and NaN) beside one other value: the zeros are the
        // whole range (x), the minimum (y) or the maximum (z).
        const float zeros[] = {-0.0f, 0.0f, kNaN, 0.0f, -0.0f};
        const float other[] = {0.0f, 3.0f, -3.0f};
        std::vector<float> x(n), y(n), z(n);
        int axisIndex = 0;
        for (auto* axis : {&x, &y, &z}) {
            for (float& f : *axis) {
                if (trial % 4 == 3)
                    f = rng() % 4 == 0 ? other[axisIndex] : zeros[rng() % 5];
                else
                    f = rng() % 100 < specialShare
                            ? specials[rng() % 7]
                            : static_cast<float>(static_cast<int>(rng() % 2001) - 1000) / 8.0f;
            }
            ++axisIndex;
        }
        float bounds[6] = {0, 0, 0, 0, 0, 0};
        bool firstPoint = true;
        for (size_t done = 0; done < n;) {
            const size_t run = std::min(n - done, size_t(1 + rng() % 64));
            gspc::RunBounds r;
            gspc::FoldBounds(x.data() + done, y.data() + done, z.data() + done, run, r);
            gspc::MergeBounds(r, bounds, firstPoint);
            done += run;
        }
        int axis = 0;
        for (auto* values : {&x, &y, &z}) {
            float lo, hi;
            ReferenceFold(*values, lo, hi);
            EXPECT_EQ(Bits(bounds[2 * axis]), Bits(lo)) << "trial " << trial << " axis " << axis;
            EXPECT_EQ(Bits(bounds[2 * axis + 1]), Bits(hi)) << "trial " << trial << " axis " << axis;
            ++axis;
        }
    }
}

TEST(PointRecords, RecordsPoseAndColourMatchThePointRules)
{
    std::mt19937 rng(11);
    const size_t n = 37;
    std::vector<double> x(3 * n), y(3 * n), z(3 * n);
    std::vector<uint16_t> red(3 * n), green(3 * n), blue(3 * n);
    std::vector<int8_t> invalid(3 * n);
    for (size_t i = 0; i < 3 * n; ++i) {
        x[i] = std::ldexp(double(rng()), -20) - 2000.0;
        y[i] = std::ldexp(double(rng()), -27);
        z[i] = -std::ldexp(double(rng()), -30);
        red[i] = static_cast<uint16_t>(rng());
        green[i] = static_cast<uint16_t>(rng() % 300);
        blue[i] = static_cast<uint16_t>(rng() % 256);
        invalid[i] = static_cast<int8_t>(rng() % 4 == 0);
    }
    e57::RigidBodyTransform pose;
    pose.rotation = {0.8, 0.1, -0.5, 0.3};   // not normalised: used as stored
    pose.translation = {1e5, -3.25, 0.1};

    for (size_t stride : {size_t(1), size_t(3)}) {
        SCOPED_TRACE(stride);
        const gspc::Gather g{1, stride, n - 1};
        std::vector<float> px(n), py(n), pz(n);
        std::vector<uint32_t> rgb(n);
        gspc::PosePoints(pose, x.data(), y.data(), z.data(), g, px.data(), py.data(), pz.data());
        gspc::ColourPoints(red.data(), green.data(), blue.data(), invalid.data(), g, rgb.data());
        for (size_t k = 0; k < g.count; ++k) {
            const size_t j = g.first + k * stride;
            double ex, ey, ez;
            ApplyPose(pose, x[j], y[j], z[j], ex, ey, ez);
            ASSERT_EQ(Bits(px[k]), Bits(static_cast<float>(ex))) << k;
            ASSERT_EQ(Bits(py[k]), Bits(static_cast<float>(ey))) << k;
            ASSERT_EQ(Bits(pz[k]), Bits(static_cast<float>(ez))) << k;
            const uint32_t expected = invalid[j] ? 0xC8C8C8u
                                                 : uint32_t(std::min<uint16_t>(red[j], 255)) |
                                                       uint32_t(std::min<uint16_t>(green[j], 255)) << 8 |
                                                       uint32_t(blue[j]) << 16;
            ASSERT_EQ(rgb[k], expected) << k;
        }

        // Every count, so that both the four-at-a-time part and the tail are used.
        for (size_t count = 0; count <= 9; ++count) {
            std::vector<unsigned char> out(15 * count + 1, 0xEE);
            gspc::EncodeRecords(px.data(), py.data(), pz.data(), rgb.data(), count, out.data());
            for (size_t k = 0; k < count; ++k) {
                const unsigned char* r = out.data() + 15 * k;
                for (int axis = 0; axis < 3; ++axis) {
                    const float f = axis == 0 ? px[k] : axis == 1 ? py[k] : pz[k];
                    const uint32_t b = Bits(f);
                    for (int byte = 0; byte < 4; ++byte)
                        ASSERT_EQ(r[4 * axis + byte], static_cast<unsigned char>(b >> (8 * byte)));
                }
                ASSERT_EQ(r[12], rgb[k] & 0xFF);
                ASSERT_EQ(r[13], (rgb[k] >> 8) & 0xFF);
                ASSERT_EQ(r[14], (rgb[k] >> 16) & 0xFF);
            }
        }
    }
}
