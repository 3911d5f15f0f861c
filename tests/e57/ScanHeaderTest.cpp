// Scan headers from XML alone: defaults for what a file leaves out, limits
// taken from the prototype, field descriptions of every kind.
#include <gtest/gtest.h>

#include "support/E57TestSupport.h"
#include "e57/E57Exception.h"

using namespace e57test;

namespace {

// One scan without records built from the given scan children.
e57::Data3D HeaderOf(const std::string& scanChildren, const std::string& prototype)
{
    const std::string xml =
        "<?xml version=\"1.0\"?><e57Root type=\"Structure\" xmlns=\"http://www.astm.org/COMMIT/E57/2010-e57-v1.0\" "
        "xmlns:nor=\"http://www.libe57.org/E57_EXT_surface_normals.txt\"><data3D type=\"Vector\">"
        "<vectorChild type=\"Structure\">" + scanChildren +
        "<points type=\"CompressedVector\" fileOffset=\"0\" recordCount=\"0\"><prototype type=\"Structure\">" +
        prototype + "</prototype></points></vectorChild></data3D></e57Root>";
    TempDir dir;
    WriteFile(dir.File("h.e57"), BuildE57({}, xml));
    e57::Reader r(dir.File("h.e57"), {});
    e57::Data3D h;
    EXPECT_TRUE(r.ReadData3D(0, h));
    return h;
}

}  // namespace

TEST(ScanHeader, PoseDefaultsPerPart)
{
    e57::Data3D h = HeaderOf("<pose type=\"Structure\"><translation type=\"Structure\"><x type=\"Float\">2.5</x>"
                             "<y type=\"ScaledInteger\" scale=\"0.5\" offset=\"100\">7</y><z type=\"Integer\">-3</z>"
                             "</translation></pose>", "");
    EXPECT_EQ(h.pose.rotation.w, 1.0);
    EXPECT_EQ(h.pose.rotation.x, 0.0);
    EXPECT_EQ(h.pose.translation.x, 2.5);
    EXPECT_EQ(h.pose.translation.y, 103.5);   // raw * scale + offset
    EXPECT_EQ(h.pose.translation.z, -3.0);
    EXPECT_FALSE(h.hasCartesianBounds);

    h = HeaderOf("<pose type=\"Structure\"><rotation type=\"Structure\"><w type=\"Float\"/><z type=\"Float\">1</z>"
                 "</rotation></pose><guid type=\"String\"><![CDATA[a]]]]><![CDATA[>b]]></guid>", "");
    EXPECT_EQ(h.pose.rotation.w, 0.0);  // an empty Float is 0, not the default
    EXPECT_EQ(h.pose.rotation.z, 1.0);
    EXPECT_EQ(h.pose.translation.x, 0.0);
    EXPECT_EQ(h.guid, "a]]>b");  // CDATA split around "]]>"
}

TEST(ScanHeader, LimitsFallBackToThePrototype)
{
    e57::Data3D h = HeaderOf(
        "<colorLimits type=\"Structure\"><colorRedMaximum type=\"Integer\">1000</colorRedMaximum></colorLimits>",
        "<colorRed type=\"Integer\" minimum=\"0\" maximum=\"65535\"/>"
        "<colorGreen type=\"Float\" precision=\"single\" minimum=\"0\" maximum=\"1\"/>"
        "<colorBlue type=\"Float\"/>"
        "<intensity type=\"ScaledInteger\" minimum=\"-666\" maximum=\"666\" scale=\"0.1\"/>"
        "<nor:normalX type=\"Float\" precision=\"single\"/><label type=\"String\"/>"
        "<timeStamp type=\"Integer\"/>");
    EXPECT_EQ(h.colorLimits.colorRedMaximum, 1000.0);   // given
    EXPECT_EQ(h.colorLimits.colorGreenMaximum, 1.0);    // from the Float field's limits
    EXPECT_EQ(h.colorLimits.colorBlueMaximum, 0.0);     // Float without limits: unknown
    EXPECT_DOUBLE_EQ(h.intensityLimits.intensityMinimum, -66.6);
    EXPECT_DOUBLE_EQ(h.intensityLimits.intensityMaximum, 66.6);
    EXPECT_TRUE(h.pointFields.colorRedField && h.pointFields.intensityField && h.pointFields.timeStampField);
    EXPECT_FALSE(h.pointFields.cartesianXField);

    ASSERT_EQ(h.prototype.size(), 7u);
    EXPECT_EQ(h.prototype[0].bitWidth, 16u);
    EXPECT_EQ(h.prototype[1].encoding, e57::FieldEncoding::Float);
    EXPECT_EQ(h.prototype[2].encoding, e57::FieldEncoding::Double);
    EXPECT_EQ(h.prototype[3].bitWidth, 11u);
    EXPECT_EQ(h.prototype[4].name, "nor:normalX");
    EXPECT_EQ(h.prototype[5].encoding, e57::FieldEncoding::String);
    EXPECT_EQ(h.prototype[6].bitWidth, 64u);  // no limits: the whole int64 range
    EXPECT_EQ(h.prototype[6].minimum, INT64_MIN);
}

// Exporters differ in how they write numbers: space or line breaks around the
// text, a leading plus sign, text of spaces only.
TEST(ScanHeader, NumberTextsMayCarrySpacesAndAPlusSign)
{
    e57::Data3D h = HeaderOf("<pose type=\"Structure\"><translation type=\"Structure\">"
                             "<x type=\"Float\">\n  2.5\n</x><y type=\"Float\"> +1e2\t</y>"
                             "<z type=\"Integer\">\r\n+3 </z></translation><rotation type=\"Structure\">"
                             "<w type=\"Float\">   </w></rotation></pose>",
                             "<colorRed type=\"Integer\" minimum=\" 0\" maximum=\"+255 \"/>");
    EXPECT_EQ(h.pose.translation.x, 2.5);
    EXPECT_EQ(h.pose.translation.y, 100.0);
    EXPECT_EQ(h.pose.translation.z, 3.0);
    EXPECT_EQ(h.pose.rotation.w, 0.0);
    EXPECT_EQ(h.colorLimits.colorRedMaximum, 255.0);
    ASSERT_EQ(h.prototype.size(), 1u);
    EXPECT_EQ(h.prototype[0].bitWidth, 8u);

    // A sign alone or a second sign is still no number.
    EXPECT_THROW(HeaderOf("<pose type=\"Structure\"><translation type=\"Structure\"><x type=\"Float\">+</x>"
                          "</translation></pose>", ""),
                 e57::E57Exception);
    EXPECT_THROW(HeaderOf("", "<colorRed type=\"Integer\" minimum=\"+-1\" maximum=\"255\"/>"),
                 e57::E57Exception);
}

// Writers that know no range for a Float field write out the type's extremes;
// those mean "unknown", for single as for double precision, not a sensor range.
TEST(ScanHeader, WrittenOutFloatExtremesAreAnUnknownRange)
{
    e57::Data3D h = HeaderOf(
        "", "<intensity type=\"Float\" precision=\"single\" minimum=\"-3.40282346638528859e+38\" "
            "maximum=\"3.40282346638528859e+38\"/>"
            "<colorRed type=\"Float\" minimum=\"-1.79769313486231571e+308\" maximum=\"1.79769313486231571e+308\"/>"
            "<colorGreen type=\"Float\" precision=\"single\" minimum=\"0\" maximum=\"3.40282e+38\"/>"
            "<colorBlue type=\"Float\" minimum=\"-1\" maximum=\"1e6\"/>");
    EXPECT_EQ(h.intensityLimits.intensityMinimum, 0.0);
    EXPECT_EQ(h.intensityLimits.intensityMaximum, 0.0);
    EXPECT_EQ(h.colorLimits.colorRedMaximum, 0.0);
    EXPECT_EQ(h.colorLimits.colorGreenMaximum, 0.0);
    EXPECT_EQ(h.colorLimits.colorBlueMinimum, -1.0);   // a real range stays
    EXPECT_EQ(h.colorLimits.colorBlueMaximum, 1e6);
}
