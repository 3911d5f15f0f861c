// Text and identifiers at the host boundary: the catalogue's narrowing read
// back through an 8-bit default character set, the report text's percent
// signs, and GUIDs between text, portable bytes and the host's record fields.
#include <gtest/gtest.h>

#include <array>
#include <string>

#include "host/Conversions.h"
#include "host/DefaultCharset.h"
#include "palette/CollectOurLibParts.h"

namespace {

// ISO 8859-1: bytes 0x80..0xFF are U+0080..U+00FF.
std::array<char32_t, 128> Latin1()
{
    std::array<char32_t, 128> page{};
    for (size_t i = 0; i < page.size(); ++i) {
        page[i] = static_cast<char32_t>(0x80 + i);
    }
    return page;
}

// A page that places other characters on the same bytes, as the Mac's
// Roman set does (0xE4 is U+2030, 0x8A is U+00E4).
std::array<char32_t, 128> MacLike()
{
    std::array<char32_t, 128> page = Latin1();
    page[0xE4 - 0x80] = 0x2030;
    page[0x8A - 0x80] = 0x00E4;
    return page;
}

std::string Narrowed(const std::u16string& text)
{
    return NarrowHostText(text.c_str(), text.size() + 1);
}

TEST(HostTextTest, NarrowedNamesReadBackThroughTheDefaultCharacterSet)
{
    const host::CodePageCharset latin1(Latin1());
    const host::CodePageCharset macLike(MacLike());

    // ä (U+00E4) keeps its low byte 0xE4: Latin-1 gives ä back, another
    // page gives its own character for that byte.
    EXPECT_EQ(latin1.ToUtf8(Narrowed(u"Halle_\u00e4")), "Halle_\u00e4");
    EXPECT_EQ(macLike.ToUtf8(Narrowed(u"Halle_\u00e4")), "Halle_\u2030");
    // Outside 8 bits the unit is cut: U+4E2D becomes 0x2D '-', U+0100 (low
    // byte 0) ends the text.
    EXPECT_EQ(latin1.ToUtf8(Narrowed(u"A\u4e2dB")), "A-B");
    EXPECT_EQ(latin1.ToUtf8(Narrowed(u"AB\u0100CD")), "AB");
    // ASCII is the same in every set, also as UTF-8.
    EXPECT_EQ(host::Utf8DefaultCharset().ToUtf8(Narrowed(u"scan_01")), "scan_01");
}

TEST(HostTextTest, RoundTripThroughTheDefaultSetKeepsOnlyWhatTheSetHas)
{
    const host::CodePageCharset latin1(Latin1());
    const std::string report = "\"Halle\" neu importiert mit 25% der Punkte \u2192 gr\u00f6\u00dfer";
    EXPECT_EQ(latin1.FromUtf8(report), "\"Halle\" neu importiert mit 25% der Punkte ? gr\xF6\xDF" "er");
    EXPECT_EQ(latin1.ToUtf8(latin1.FromUtf8(report)), "\"Halle\" neu importiert mit 25% der Punkte ? gr\u00f6\u00dfer");
    // A narrow path keeps its bytes in the set; a malformed sequence is one '?' per byte.
    EXPECT_EQ(latin1.FromUtf8("/scans/M\u00fchle/M\u00fchle.gsm"), "/scans/M\xFChle/M\xFChle.gsm");
    EXPECT_EQ(latin1.FromUtf8("a\xC3" "b\xE2\x86"), "a?b??");

    // UTF-8 as the default set changes nothing, not even malformed bytes.
    const host::Utf8DefaultCharset utf8;
    EXPECT_EQ(utf8.ToUtf8(utf8.FromUtf8(report + "\xE4")), report + "\xE4");
}

TEST(HostTextTest, BoundCharsetIsUsedUntilUnbound)
{
    const host::CodePageCharset latin1(Latin1());
    EXPECT_EQ(host::CurrentDefaultCharset().ToUtf8("\xE4"), "\xE4");
    host::SetDefaultCharset(&latin1);
    EXPECT_EQ(host::CurrentDefaultCharset().ToUtf8("\xE4"), "\u00e4");
    host::SetDefaultCharset(nullptr);
    EXPECT_EQ(host::CurrentDefaultCharset().ToUtf8("\xE4"), "\xE4");
}

TEST(HostTextTest, PercentSignsOfReportTextsAreDoubled)
{
    EXPECT_EQ(host::DoublePercent("\"Halle\" neu importiert mit 10% der Punkte."),
              "\"Halle\" neu importiert mit 10%% der Punkte.");
    EXPECT_EQ(host::DoublePercent("%%d %s"), "%%%%d %%s");
    EXPECT_EQ(host::DoublePercent("ohne"), "ohne");
    EXPECT_EQ(host::DoublePercent(""), "");
}

TEST(HostTextTest, GuidTextBytesAndHostFieldsAgree)
{
    host::Guid guid;
    ASSERT_TRUE(host::ParseGuid("C7D4E5F6-1A2B-3C4D-8E9F-0A1B2C3D4E5F", guid));
    const host::Guid expected{{0xF6, 0xE5, 0xD4, 0xC7, 0x2B, 0x1A, 0x4D, 0x3C, 0x8E, 0x9F, 0x0A, 0x1B, 0x2C, 0x3D,
                               0x4E, 0x5F}};
    EXPECT_EQ(guid, expected);

    const host::GuidFields fields = host::ToGuidFields(guid);
    EXPECT_EQ(fields.data1, 0xC7D4E5F6u);
    EXPECT_EQ(fields.data2, 0x1A2Bu);
    EXPECT_EQ(fields.data3, 0x3C4Du);
    EXPECT_EQ(fields.data4[0], 0x8E);
    EXPECT_EQ(fields.data4[7], 0x5F);
    EXPECT_EQ(host::FromGuidFields(fields), guid);

    host::Guid lower;
    ASSERT_TRUE(host::ParseGuid("c7d4e5f6-1a2b-3c4d-8e9f-0a1b2c3d4e5f", lower));
    EXPECT_EQ(lower, guid);
    host::Guid untouched;
    EXPECT_FALSE(host::ParseGuid("C7D4E5F6-1A2B-3C4D-8E9F-0A1B2C3D4E5", untouched));
    EXPECT_FALSE(host::ParseGuid("C7D4E5F6+1A2B-3C4D-8E9F-0A1B2C3D4E5F", untouched));
    EXPECT_FALSE(host::ParseGuid("G7D4E5F6-1A2B-3C4D-8E9F-0A1B2C3D4E5F", untouched));
    EXPECT_EQ(untouched, host::Guid{});
}

}  // namespace
