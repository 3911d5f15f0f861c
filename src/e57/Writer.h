#pragma once
// E57 writer for tests, the synthetic sample scan and benchmarks.
//
// Usage:
//   e57::Writer w("out.e57");
//   e57::ScanHeader h;
//   h.guid = "{scan-0}";
//   h.prototype = e57::CartesianFields(e57::FieldEncoding::Double);
//   e57::AddColorFields(h, 255);                       // colorRed/Green/Blue 0..255 + colorLimits
//   w.BeginScan(h);
//   w.WriteColumns(n, {{x}, {y}, {z}, {nullptr, red}, ...});   // as often as needed
//   w.EndScan();
//   ...more scans...
//   w.Close();
//
// Points are streamed: packets go to the file as they fill, so memory does not
// grow with the number of points. One scan is open at a time; each scan gets its
// own binary section. Close() writes the XML and patches the file header. A
// Writer destroyed without Close() leaves an incomplete file behind.
// Every error throws e57::E57Exception; after an exception from WriteColumns
// or WritePoints the open scan's streams may be incomplete, so the file should
// be discarded.
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "e57/Data3D.h"
#include "e57/Data3DPointsData.h"

namespace e57 {

// One prototype leaf. `encoding` is Integer, ScaledInteger, Float (single
// precision) or Double; String is not supported by the writer.
struct WriterField {
    std::string name;  // e.g. "cartesianX", "intensity", "nor:normalX" (declare the prefix in WriterOptions)
    FieldEncoding encoding = FieldEncoding::Integer;
    int64_t minimum = 0;  // Integer / ScaledInteger: raw limits; they set the bit width
    int64_t maximum = 0;
    double scale = 1.0;   // ScaledInteger: value = raw * scale + offset
    double offset = 0.0;
    bool hasFloatLimits = false;  // Float / Double: write minimum/maximum attributes
    double floatMinimum = 0.0;
    double floatMaximum = 0.0;

    static WriterField Integer(std::string name, int64_t minimum, int64_t maximum);
    static WriterField ScaledInteger(std::string name, int64_t minimum, int64_t maximum, double scale,
                                     double offset = 0.0);
    static WriterField Float(std::string name);
    static WriterField Double(std::string name);
    // Float or Double with minimum/maximum attributes.
    static WriterField FloatWithLimits(std::string name, FieldEncoding encoding, double minimum, double maximum);

    // Bits per value in the stream (0..64).
    unsigned BitWidth() const;
};

// cartesianX/Y/Z as Float, Double, or (with `scale`, raw limits ±rawLimit)
// ScaledInteger.
std::vector<WriterField> CartesianFields(FieldEncoding encoding, double scale = 0.001,
                                         int64_t rawLimit = 1000000000);
// sphericalRange/Azimuth/Elevation as Float or Double.
std::vector<WriterField> SphericalFields(FieldEncoding encoding);
// colorRed/Green/Blue as Integer 0..maximum (255 or 65535).
std::vector<WriterField> ColorFields(int64_t maximum);

struct ScanHeader;
// Appends colorRed/Green/Blue as Integer 0..maximum (and isColorInvalid 0..1
// when asked) to the header's prototype and sets its colorLimits to 0..maximum.
void AddColorFields(ScanHeader& header, int64_t maximum, bool withInvalidFlag = false);

struct ScanHeader {
    std::string guid;         // written even when empty
    std::string name;         // omitted when empty
    std::string description;  // omitted when empty
    bool hasPose = false;
    RigidBodyTransform pose;
    std::vector<WriterField> prototype;  // stream order
    bool hasColorLimits = false;
    ColorLimits colorLimits;  // written as Integer when all values are integral, else Float
    bool hasIntensityLimits = false;
    IntensityLimits intensityLimits;
    // Writes cartesianBounds computed from the cartesianX/Y/Z values written
    // (after quantisation), when the prototype has all three.
    bool writeCartesianBounds = true;
};

// The values of one prototype field for one WriteColumns call: exactly one of
// the pointers is set. `integers` is the value of an Integer field or the raw
// value of a ScaledInteger field; `doubles` is the value of a Float/Double field,
// or of a ScaledInteger field (quantised as floor((v - offset) / scale + 0.5)),
// or of an Integer field (rounded). Out-of-limit values throw.
struct FieldValues {
    const double* doubles = nullptr;
    const int64_t* integers = nullptr;
};

struct WriterOptions {
    std::string guid = "{6E3F2A1C-58B4-4D0E-9C7A-1B2D3E4F5061}";
    // Largest packet in bytes (multiple of 4, 64..65536). Smaller values make
    // tests cross packet boundaries with few records.
    unsigned maxPacketBytes = 65536;
    // Appends one index packet after each section's last data packet.
    bool writeIndexPacket = false;
    // Puts an empty packet (type 2) after every data packet but the last.
    bool writeEmptyPackets = false;
    // Lets the first prototype field's stream lag behind the others: full
    // packets carry only half of its pending bytes, so packets do not hold the
    // same records for every field (readers must cope with that).
    bool unevenStreams = false;
    // Extension namespaces declared on the root: {prefix, uri}.
    std::vector<std::pair<std::string, std::string>> namespaces;
};

class Writer {
public:
    explicit Writer(const std::string& filePath, const WriterOptions& options = WriterOptions());
    ~Writer();
    Writer(const Writer&) = delete;
    Writer& operator=(const Writer&) = delete;

    void BeginScan(const ScanHeader& header);
    // Appends `count` records; `columns` holds one entry per prototype field, in
    // prototype order.
    void WriteColumns(size_t count, const std::vector<FieldValues>& columns);
    // Appends `count` records from standard-field buffers; every prototype field
    // must have its buffer set.
    void WritePoints(size_t count, const Data3DPointsData_t<double>& buffers);
    void EndScan();
    // Writes the XML section and the header; the file is complete afterwards.
    void Close();

    // Records written to the open scan so far.
    uint64_t ScanRecordCount() const;

    struct Impl;

private:
    std::unique_ptr<Impl> impl_;
};

}  // namespace e57
