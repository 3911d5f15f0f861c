#include "e57/ScanHeader.h"

#include <cstring>
#include <limits>

#include "e57/E57Exception.h"
#include "e57/Prototype.h"
#include "e57/XmlSection.h"

namespace e57 {

namespace {

std::string Where(int64_t index)
{
    return "scan " + std::to_string(index);
}

// Value of an optional numeric child; `fallback` when absent.
double ChildNumber(pugi::xml_node parent, const char* name, double fallback, const std::string& where)
{
    pugi::xml_node c = parent.child(name);
    return c ? NumberValue(c, where + " " + parent.name() + "/" + name) : fallback;
}

void SetFieldFlag(PointStandardizedFieldsAvailable& f, const std::string& name)
{
    struct Entry {
        const char* name;
        bool PointStandardizedFieldsAvailable::*flag;
    };
    static const Entry kEntries[] = {
        {"cartesianX", &PointStandardizedFieldsAvailable::cartesianXField},
        {"cartesianY", &PointStandardizedFieldsAvailable::cartesianYField},
        {"cartesianZ", &PointStandardizedFieldsAvailable::cartesianZField},
        {"cartesianInvalidState", &PointStandardizedFieldsAvailable::cartesianInvalidStateField},
        {"sphericalRange", &PointStandardizedFieldsAvailable::sphericalRangeField},
        {"sphericalAzimuth", &PointStandardizedFieldsAvailable::sphericalAzimuthField},
        {"sphericalElevation", &PointStandardizedFieldsAvailable::sphericalElevationField},
        {"sphericalInvalidState", &PointStandardizedFieldsAvailable::sphericalInvalidStateField},
        {"colorRed", &PointStandardizedFieldsAvailable::colorRedField},
        {"colorGreen", &PointStandardizedFieldsAvailable::colorGreenField},
        {"colorBlue", &PointStandardizedFieldsAvailable::colorBlueField},
        {"isColorInvalid", &PointStandardizedFieldsAvailable::isColorInvalidField},
        {"intensity", &PointStandardizedFieldsAvailable::intensityField},
        {"isIntensityInvalid", &PointStandardizedFieldsAvailable::isIntensityInvalidField},
        {"rowIndex", &PointStandardizedFieldsAvailable::rowIndexField},
        {"columnIndex", &PointStandardizedFieldsAvailable::columnIndexField},
        {"returnIndex", &PointStandardizedFieldsAvailable::returnIndexField},
        {"returnCount", &PointStandardizedFieldsAvailable::returnCountField},
        {"timeStamp", &PointStandardizedFieldsAvailable::timeStampField},
        {"isTimeStampInvalid", &PointStandardizedFieldsAvailable::isTimeStampInvalidField},
    };
    for (const Entry& e : kEntries)
        if (name == e.name)
            f.*e.flag = true;
}

// Range a prototype field can hold, used when the scan gives no limits.
// A Float field without limits gives 0..0 (unknown range).
void FieldRange(pugi::xml_node prototype, const char* name, double& lo, double& hi, const std::string& where)
{
    lo = hi = 0.0;
    pugi::xml_node f = prototype.child(name);
    if (!f)
        return;
    const std::string what = where + " prototype field '" + name + "'";
    const char* type = f.attribute("type").as_string();
    if (std::strcmp(type, "Integer") == 0 || std::strcmp(type, "ScaledInteger") == 0) {
        double mn = static_cast<double>(
            ParseInt64(f.attribute("minimum").value(), std::numeric_limits<int64_t>::min(), what + " minimum"));
        double mx = static_cast<double>(
            ParseInt64(f.attribute("maximum").value(), std::numeric_limits<int64_t>::max(), what + " maximum"));
        if (type[0] == 'S') {
            double scale = ParseDouble(f.attribute("scale").value(), 1.0, what + " scale");
            double offset = ParseDouble(f.attribute("offset").value(), 0.0, what + " offset");
            mn = mn * scale + offset;
            mx = mx * scale + offset;
            if (mx < mn)
                std::swap(mn, mx);
        }
        lo = mn;
        hi = mx;
    } else if (std::strcmp(type, "Float") == 0) {
        if (f.attribute("minimum") && f.attribute("maximum")) {
            lo = ParseDouble(f.attribute("minimum").value(), 0.0, what + " minimum");
            hi = ParseDouble(f.attribute("maximum").value(), 0.0, what + " maximum");
            // Writers that know no range write out the type's extremes
            // (about 3.4e38 single, 1.8e308 double), sometimes rounded: a span
            // that wide is no sensor's, so the range is unknown.
            if (!(hi - lo < 1e38))
                lo = hi = 0.0;
        }
    }
}

// Limits element value, falling back to the prototype field's range when the
// element is missing or its maximum is 0.
void Limits(pugi::xml_node limits, const char* minName, const char* maxName, pugi::xml_node prototype,
            const char* field, double& lo, double& hi, const std::string& where)
{
    lo = ChildNumber(limits, minName, 0.0, where);
    hi = ChildNumber(limits, maxName, 0.0, where);
    if (!limits || hi == 0.0)
        FieldRange(prototype, field, lo, hi, where);
}

}  // namespace

void ReadScanHeader(pugi::xml_node scan, int64_t index, Data3D& out)
{
    const std::string where = Where(index);
    out = Data3D();
    out.guid = StringValue(scan.child("guid"));
    out.name = StringValue(scan.child("name"));
    out.description = StringValue(scan.child("description"));

    if (pugi::xml_node pose = scan.child("pose")) {
        if (pugi::xml_node r = pose.child("rotation")) {
            out.pose.rotation.w = ChildNumber(r, "w", 1.0, where);
            out.pose.rotation.x = ChildNumber(r, "x", 0.0, where);
            out.pose.rotation.y = ChildNumber(r, "y", 0.0, where);
            out.pose.rotation.z = ChildNumber(r, "z", 0.0, where);
        }
        if (pugi::xml_node t = pose.child("translation")) {
            out.pose.translation.x = ChildNumber(t, "x", 0.0, where);
            out.pose.translation.y = ChildNumber(t, "y", 0.0, where);
            out.pose.translation.z = ChildNumber(t, "z", 0.0, where);
        }
    }

    if (pugi::xml_node b = scan.child("cartesianBounds")) {
        out.hasCartesianBounds = true;
        out.cartesianBounds.xMinimum = ChildNumber(b, "xMinimum", 0.0, where);
        out.cartesianBounds.xMaximum = ChildNumber(b, "xMaximum", 0.0, where);
        out.cartesianBounds.yMinimum = ChildNumber(b, "yMinimum", 0.0, where);
        out.cartesianBounds.yMaximum = ChildNumber(b, "yMaximum", 0.0, where);
        out.cartesianBounds.zMinimum = ChildNumber(b, "zMinimum", 0.0, where);
        out.cartesianBounds.zMaximum = ChildNumber(b, "zMaximum", 0.0, where);
    }

    ScanPoints points = ReadScanPoints(scan, index);
    out.pointCount = static_cast<int64_t>(points.recordCount);
    out.prototype = std::move(points.fields);
    for (const FieldDescription& f : out.prototype)
        SetFieldFlag(out.pointFields, f.name);

    pugi::xml_node prototype = scan.child("points").child("prototype");
    pugi::xml_node cl = scan.child("colorLimits");
    Limits(cl, "colorRedMinimum", "colorRedMaximum", prototype, "colorRed", out.colorLimits.colorRedMinimum,
           out.colorLimits.colorRedMaximum, where);
    Limits(cl, "colorGreenMinimum", "colorGreenMaximum", prototype, "colorGreen",
           out.colorLimits.colorGreenMinimum, out.colorLimits.colorGreenMaximum, where);
    Limits(cl, "colorBlueMinimum", "colorBlueMaximum", prototype, "colorBlue", out.colorLimits.colorBlueMinimum,
           out.colorLimits.colorBlueMaximum, where);
    Limits(scan.child("intensityLimits"), "intensityMinimum", "intensityMaximum", prototype, "intensity",
           out.intensityLimits.intensityMinimum, out.intensityLimits.intensityMaximum, where);
}

ScanPoints ReadScanPoints(pugi::xml_node scan, int64_t index)
{
    const std::string where = Where(index);
    ScanPoints p;
    pugi::xml_node points = scan.child("points");
    if (!points)
        return p;  // a scan without points holds no records
    if (std::strcmp(points.attribute("type").as_string(), "CompressedVector") != 0)
        throw E57Exception(where + ": points is not a CompressedVector");
    p.recordCount = ParseUInt64(points.attribute("recordCount").value(), 0, where + " points recordCount");
    if (p.recordCount > static_cast<uint64_t>(std::numeric_limits<int64_t>::max()))
        throw E57Exception(where + ": points recordCount " + std::to_string(p.recordCount) + " is too large");
    p.fileOffset = ParseUInt64(points.attribute("fileOffset").value(), 0, where + " points fileOffset");
    p.fields = ReadPrototype(points.child("prototype"), where);
    return p;
}

}  // namespace e57
