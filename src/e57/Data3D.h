#pragma once
// Header of one scan (one child of data3D), as the reader reports it.
#include <cstdint>
#include <string>
#include <vector>

namespace e57 {

struct Quaternion {
    double w = 1.0, x = 0.0, y = 0.0, z = 0.0;
};

struct Translation {
    double x = 0.0, y = 0.0, z = 0.0;
};

// Maps scan-local coordinates to file coordinates. Identity when the file has no pose.
struct RigidBodyTransform {
    Quaternion rotation;
    Translation translation;
};

// Which standard point fields the scan's prototype holds.
struct PointStandardizedFieldsAvailable {
    bool cartesianXField = false;
    bool cartesianYField = false;
    bool cartesianZField = false;
    bool cartesianInvalidStateField = false;
    bool sphericalRangeField = false;
    bool sphericalAzimuthField = false;
    bool sphericalElevationField = false;
    bool sphericalInvalidStateField = false;
    bool colorRedField = false;
    bool colorGreenField = false;
    bool colorBlueField = false;
    bool isColorInvalidField = false;
    bool intensityField = false;
    bool isIntensityInvalidField = false;
    bool rowIndexField = false;
    bool columnIndexField = false;
    bool returnIndexField = false;
    bool returnCountField = false;
    bool timeStampField = false;
    bool isTimeStampInvalidField = false;
};

struct ColorLimits {
    double colorRedMinimum = 0.0, colorRedMaximum = 0.0;
    double colorGreenMinimum = 0.0, colorGreenMaximum = 0.0;
    double colorBlueMinimum = 0.0, colorBlueMaximum = 0.0;
};

struct IntensityLimits {
    double intensityMinimum = 0.0, intensityMaximum = 0.0;
};

struct CartesianBounds {
    double xMinimum = 0.0, xMaximum = 0.0;
    double yMinimum = 0.0, yMaximum = 0.0;
    double zMinimum = 0.0, zMaximum = 0.0;
};

// How one prototype leaf is stored in the binary section.
enum class FieldEncoding { Integer, ScaledInteger, Float, Double, String };

struct FieldDescription {
    std::string name;          // element name as written, e.g. "cartesianX" or "nor:normalX"
    FieldEncoding encoding = FieldEncoding::Integer;
    unsigned bitWidth = 0;     // bits per value in the stream (0..64; 32/64 for Float/Double; 0 for String)
    int64_t minimum = 0;       // Integer / ScaledInteger: raw limits
    int64_t maximum = 0;
    double scale = 1.0;        // ScaledInteger only
    double offset = 0.0;       // ScaledInteger only
};

struct Data3D {
    std::string guid;
    std::string name;
    std::string description;
    int64_t pointCount = 0;
    RigidBodyTransform pose;
    PointStandardizedFieldsAvailable pointFields;
    ColorLimits colorLimits;
    IntensityLimits intensityLimits;
    bool hasCartesianBounds = false;
    CartesianBounds cartesianBounds;
    // Every prototype leaf in stream order, standard or not.
    std::vector<FieldDescription> prototype;
};

}  // namespace e57
