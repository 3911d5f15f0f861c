// The reader's contract with its callers: block sizes, buffers of absent
// fields, float buffers, files the system cannot open, checksum policies.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <chrono>

#include "support/E57TestSupport.h"
#include "e57/E57Exception.h"

using namespace e57test;
using ::testing::HasSubstr;

TEST(ReaderBehaviour, ReadFillsWholeBlocksUntilTheLastAndThenZero)
{
    PW_REQUIRE_SAMPLE("mixed_b.e57");
    e57::Reader r(Sample("mixed_b.e57"), {});
    // Scan 1 (8924 points) in blocks of 1000, 4096 and 8924 and more.
    EXPECT_EQ(ReadScan(r, 1, 1000).blocks,
              (std::vector<unsigned>{1000, 1000, 1000, 1000, 1000, 1000, 1000, 1000, 924}));
    EXPECT_EQ(ReadScan(r, 1, 4096).blocks, (std::vector<unsigned>{4096, 4096, 732}));
    EXPECT_EQ(ReadScan(r, 1, 8924).blocks, std::vector<unsigned>{8924});
    EXPECT_EQ(ReadScan(r, 1, 1).blocks.size(), 8924u);
    // Values do not depend on the block size.
    EXPECT_EQ(ReadScan(r, 1, 1).x, ReadScan(r, 1, 65536).x);
    EXPECT_EQ(ReadScan(r, 1, 7).red, ReadScan(r, 1, 65536).red);
}

TEST(ReaderBehaviour, BuffersOfAbsentOrUnboundFieldsStayUntouched)
{
    PW_REQUIRE_SAMPLE("bunnyFloat.e57");
    e57::Reader r(Sample("bunnyFloat.e57"), {});
    const size_t n = 5000;
    std::vector<float> x(n, -7.f), z(n, -7.f);
    std::vector<uint16_t> red(n, 200);
    std::vector<int8_t> colourInvalid(n, 3);
    std::vector<double> intensity(n, -1.0);
    std::vector<int32_t> row(n, 42);
    e57::Data3DPointsData buf;  // float coordinates; Y deliberately not bound
    buf.cartesianX = x.data();
    buf.cartesianZ = z.data();
    buf.colorRed = red.data();
    buf.isColorInvalid = colourInvalid.data();
    buf.intensity = intensity.data();
    buf.rowIndex = row.data();
    e57::CompressedVectorReader cv = r.SetUpData3DPointsData(0, n, buf);
    ASSERT_EQ(cv.read(), n);
    EXPECT_FLOAT_EQ(x[0], -0.07063f);
    EXPECT_FLOAT_EQ(z[0], 0.001226f);
    EXPECT_EQ(std::count(red.begin(), red.end(), 200), static_cast<long>(n));
    EXPECT_EQ(std::count(colourInvalid.begin(), colourInvalid.end(), 3), static_cast<long>(n));
    EXPECT_EQ(std::count(intensity.begin(), intensity.end(), -1.0), static_cast<long>(n));
    EXPECT_EQ(std::count(row.begin(), row.end(), 42), static_cast<long>(n));
    EXPECT_TRUE(cv.isOpen());
    cv.close();
    EXPECT_FALSE(cv.isOpen());
    EXPECT_THROW(cv.read(), e57::E57Exception);
}

TEST(ReaderBehaviour, PathsTheSystemCannotOpenGiveAClosedReader)
{
    TempDir dir;
    e57::ReaderOptions opt;
    EXPECT_FALSE(e57::Reader(dir.File("missing.e57"), opt).IsOpen());
    EXPECT_FALSE(e57::Reader(dir.Path().string(), opt).IsOpen());
    ASSERT_EQ(::mkfifo(dir.File("fifo.e57").c_str(), 0600), 0);
    auto start = std::chrono::steady_clock::now();
    e57::Reader fifo(dir.File("fifo.e57"), opt);  // must not wait for a writer
    EXPECT_FALSE(fifo.IsOpen());
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(5));
    EXPECT_EQ(fifo.GetData3DCount(), 0);
    e57::Data3D h;
    EXPECT_FALSE(fifo.ReadData3D(0, h));
    if (::geteuid() != 0 && SampleExists("empty.e57")) {
        WriteFile(dir.File("locked.e57"), ReadFile(Sample("empty.e57")));
        ::chmod(dir.File("locked.e57").c_str(), 0);
        EXPECT_FALSE(e57::Reader(dir.File("locked.e57"), opt).IsOpen());
    }
    // Something that opens but is not an E57 file is an error, not "closed".
    WriteFile(dir.File("text.e57"), Bytes(2048, 'x'));
    try {
        e57::Reader r(dir.File("text.e57"), opt);
        FAIL();
    } catch (const e57::E57Exception& e) {
        EXPECT_THAT(e.what(), HasSubstr("not an E57 file: bad signature"));
    }
    WriteFile(dir.File("short.e57"), Bytes(100, 0));
    EXPECT_THROW(e57::Reader(dir.File("short.e57"), opt), e57::E57Exception);
}

namespace {

// bunnyFloat with the stored checksum of `page` damaged (data intact).
std::string BunnyWithBadCrc(const TempDir& dir, std::initializer_list<size_t> pages)
{
    Bytes b = ReadFile(Sample("bunnyFloat.e57"));
    for (size_t page : pages)
        b[page * 1024 + 1023] ^= 0x5A;
    std::string path = dir.File("badcrc.e57");
    WriteFile(path, b);
    return path;
}

}  // namespace

TEST(ReaderBehaviour, ChecksumPolicyDecidesWhichPagesAreVerified)
{
    PW_REQUIRE_SAMPLE("bunnyFloat.e57");
    TempDir dir;
    // Points occupy pages 0..~364, read in large batches starting at page 0.
    const std::string odd = BunnyWithBadCrc(dir, {101});
    EXPECT_THROW(ReadEverything(odd, 100), e57::E57Exception);
    EXPECT_THROW(ReadEverything(odd, 67), e57::E57Exception);  // rounds to every page
    EXPECT_EQ(ReadEverything(odd, 50), 30571);
    EXPECT_EQ(ReadEverything(odd, 0), 30571);
    try {
        ReadEverything(odd, 100);
    } catch (const e57::E57Exception& e) {
        EXPECT_THAT(e.what(), HasSubstr("checksum mismatch in page 101 (stored 0x"));
        EXPECT_THAT(e.what(), HasSubstr(") at offset 103424, file length 374784"));
    }

    const std::string two = BunnyWithBadCrc(dir, {102});
    EXPECT_THROW(ReadEverything(two, 50), e57::E57Exception);
    EXPECT_EQ(ReadEverything(two, 25), 30571);
    const std::string four = BunnyWithBadCrc(dir, {104});
    EXPECT_THROW(ReadEverything(four, 25), e57::E57Exception);
    EXPECT_EQ(ReadEverything(four, 10), 30571);
    EXPECT_THROW(ReadEverything(BunnyWithBadCrc(dir, {100}), 10), e57::E57Exception);

    // The last page of a batch is checked at every policy but 0: page 363 ends
    // the points' one batch of pages 0..363 (the XML read at opening ends in page 365).
    EXPECT_THROW(ReadEverything(BunnyWithBadCrc(dir, {363}), 10), e57::E57Exception);
    EXPECT_THROW(ReadEverything(BunnyWithBadCrc(dir, {363}), 1), e57::E57Exception);
    EXPECT_EQ(ReadEverything(BunnyWithBadCrc(dir, {363}), 0), 30571);

    // The page holding the file header is checked whenever checking is on.
    EXPECT_THROW(ReadEverything(BunnyWithBadCrc(dir, {0}), 1), e57::E57Exception);
    EXPECT_EQ(ReadEverything(BunnyWithBadCrc(dir, {0}), 0), 30571);
}

TEST(ReaderBehaviour, VerifyAllPagesCountsBadPagesWhateverThePolicy)
{
    PW_REQUIRE_SAMPLE("bunnyFloat.e57");
    TempDir dir;
    const std::string path = BunnyWithBadCrc(dir, {3, 200, 364});
    e57::Reader r(path, e57::ReaderOptions{0});
    ASSERT_TRUE(r.IsOpen());
    EXPECT_EQ(r.VerifyAllPages(), 3u);
    EXPECT_EQ(ReadScan(r, 0).x.size(), 30571u);
}
