#include "e57/Writer.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <limits>

#include "e57/BitpackEncoder.h"
#include "e57/Crc32c.h"
#include "e57/E57Exception.h"

namespace e57 {
namespace {

constexpr uint64_t kPageSize = 1024;
constexpr uint64_t kPagePayload = 1020;
constexpr size_t kBufferedPages = 256;  // 256 KiB written per system call

uint64_t PhysicalOffset(uint64_t logical)
{
    return logical / kPagePayload * kPageSize + logical % kPagePayload;
}

void StoreLe(uint8_t* p, uint64_t v, int bytes)
{
    for (int i = 0; i < bytes; ++i)
        p[i] = uint8_t(v >> (8 * i));
}

std::string SystemError(const std::string& what, const std::string& path)
{
    return what + " " + path + ": " + std::strerror(errno);
}

// The logical byte stream of an E57 file cut into checksummed pages while it
// is written. Complete pages are kept in a buffer and written in batches;
// Patch() rewrites bytes already written (header, section headers).
class PageWriter {
public:
    explicit PageWriter(const std::string& path) : path_(path), buffer_(kBufferedPages * kPageSize, 0)
    {
        fd_ = ::open(path.c_str(), O_RDWR | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
        if (fd_ < 0)
            throw E57Exception(SystemError("cannot create", path));
    }
    ~PageWriter()
    {
        if (fd_ >= 0)
            ::close(fd_);
    }

    uint64_t LogicalSize() const { return logical_; }

    void Append(const void* data, size_t size)
    {
        const auto* src = static_cast<const uint8_t*>(data);
        while (size > 0) {
            const uint64_t page = logical_ / kPagePayload;
            const uint64_t inPage = logical_ % kPagePayload;
            const size_t take = size_t(std::min<uint64_t>(size, kPagePayload - inPage));
            uint8_t* dst = &buffer_[size_t(page - firstPage_) * kPageSize + inPage];
            if (src)
                std::memcpy(dst, src, take);
            else
                std::memset(dst, 0, take);
            logical_ += take;
            size -= take;
            if (src)
                src += take;
            if (logical_ % kPagePayload == 0) {
                SealPage(&buffer_[size_t(page - firstPage_) * kPageSize]);
                if (page + 1 - firstPage_ == kBufferedPages)
                    FlushBuffer(kBufferedPages);
            }
        }
    }

    void AppendZeros(size_t size) { Append(nullptr, size); }

    void Patch(uint64_t logical, const void* data, size_t size)
    {
        const auto* src = static_cast<const uint8_t*>(data);
        while (size > 0) {
            const uint64_t page = logical / kPagePayload;
            const uint64_t inPage = logical % kPagePayload;
            const size_t take = size_t(std::min<uint64_t>(size, kPagePayload - inPage));
            const bool complete = page < logical_ / kPagePayload;
            if (page >= firstPage_) {
                uint8_t* p = &buffer_[size_t(page - firstPage_) * kPageSize];
                std::memcpy(p + inPage, src, take);
                if (complete)
                    SealPage(p);
            } else {
                uint8_t p[kPageSize];
                if (::pread(fd_, p, kPageSize, off_t(page * kPageSize)) != ssize_t(kPageSize))
                    throw E57Exception(SystemError("cannot read back", path_));
                std::memcpy(p + inPage, src, take);
                SealPage(p);
                if (::pwrite(fd_, p, kPageSize, off_t(page * kPageSize)) != ssize_t(kPageSize))
                    throw E57Exception(SystemError("cannot write", path_));
            }
            logical += take;
            size -= take;
            src += take;
        }
    }

    // Zero-fills the last page, writes everything and closes; returns the file size.
    uint64_t Finish()
    {
        if (logical_ % kPagePayload != 0)
            AppendZeros(size_t(kPagePayload - logical_ % kPagePayload));
        FlushBuffer(size_t(logical_ / kPagePayload - firstPage_));
        const int fd = fd_;
        fd_ = -1;
        if (::close(fd) != 0)
            throw E57Exception(SystemError("cannot write", path_));
        return logical_ / kPagePayload * kPageSize;
    }

private:
    static void SealPage(uint8_t* page)
    {
        const uint32_t crc = Crc32c(page, kPagePayload);
        page[1020] = uint8_t(crc >> 24);
        page[1021] = uint8_t(crc >> 16);
        page[1022] = uint8_t(crc >> 8);
        page[1023] = uint8_t(crc);
    }

    void FlushBuffer(size_t pages)
    {
        const uint8_t* p = buffer_.data();
        size_t left = pages * kPageSize;
        while (left > 0) {
            const ssize_t n = ::write(fd_, p, left);
            if (n < 0 && errno == EINTR)
                continue;
            if (n <= 0)
                throw E57Exception(SystemError("cannot write", path_));
            p += n;
            left -= size_t(n);
        }
        firstPage_ += pages;
        // The page being filled (if any) moves to the front of the buffer.
        if (pages < kBufferedPages && logical_ % kPagePayload != 0)
            std::memmove(buffer_.data(), buffer_.data() + pages * kPageSize, kPageSize);
    }

    std::string path_;
    int fd_ = -1;
    std::vector<uint8_t> buffer_;
    uint64_t firstPage_ = 0;  // page number of buffer_[0]
    uint64_t logical_ = 0;
};

std::string FormatDouble(double v)
{
    char buf[64];
    std::snprintf(buf, sizeof buf, "%.15g", v);
    if (std::strtod(buf, nullptr) != v)
        std::snprintf(buf, sizeof buf, "%.17g", v);
    return buf;
}

std::string Cdata(const std::string& s)
{
    std::string out = "<![CDATA[";
    size_t start = 0;
    for (size_t pos; (pos = s.find("]]>", start)) != std::string::npos; start = pos + 2)
        out += s.substr(start, pos + 2 - start) + "]]><![CDATA[";
    out += s.substr(start);
    out += "]]>";
    return out;
}

void AppendNumber(std::string& xml, const std::string& indent, const char* name, double v)
{
    const bool integral = std::floor(v) == v && std::fabs(v) < 9.0e15;
    xml += indent + "<" + name + (integral ? " type=\"Integer\">" : " type=\"Float\">");
    if (integral)
        xml += std::to_string(int64_t(v));
    else
        xml += FormatDouble(v);
    xml += std::string("</") + name + ">\n";
}

void AppendFloat(std::string& xml, const std::string& indent, const char* name, double v)
{
    xml += indent + "<" + name + " type=\"Float\">" + FormatDouble(v) + "</" + name + ">\n";
}

enum class Standard { None, X, Y, Z };

}  // namespace

// ---------------------------------------------------------------------------
// Field helpers

WriterField WriterField::Integer(std::string name, int64_t minimum, int64_t maximum)
{
    WriterField f;
    f.name = std::move(name);
    f.encoding = FieldEncoding::Integer;
    f.minimum = minimum;
    f.maximum = maximum;
    return f;
}

WriterField WriterField::ScaledInteger(std::string name, int64_t minimum, int64_t maximum, double scale,
                                       double offset)
{
    WriterField f = Integer(std::move(name), minimum, maximum);
    f.encoding = FieldEncoding::ScaledInteger;
    f.scale = scale;
    f.offset = offset;
    return f;
}

WriterField WriterField::Float(std::string name)
{
    WriterField f;
    f.name = std::move(name);
    f.encoding = FieldEncoding::Float;
    return f;
}

WriterField WriterField::Double(std::string name)
{
    WriterField f;
    f.name = std::move(name);
    f.encoding = FieldEncoding::Double;
    return f;
}

WriterField WriterField::FloatWithLimits(std::string name, FieldEncoding encoding, double minimum, double maximum)
{
    WriterField f;
    f.name = std::move(name);
    f.encoding = encoding;
    f.hasFloatLimits = true;
    f.floatMinimum = minimum;
    f.floatMaximum = maximum;
    return f;
}

unsigned WriterField::BitWidth() const
{
    switch (encoding) {
    case FieldEncoding::Float:
        return 32;
    case FieldEncoding::Double:
        return 64;
    case FieldEncoding::Integer:
    case FieldEncoding::ScaledInteger:
        return BitWidthForRange(minimum, maximum);
    case FieldEncoding::String:
        break;
    }
    throw E57Exception("field " + name + ": String fields cannot be written");
}

std::vector<WriterField> CartesianFields(FieldEncoding encoding, double scale, int64_t rawLimit)
{
    std::vector<WriterField> fields;
    for (const char* n : {"cartesianX", "cartesianY", "cartesianZ"}) {
        if (encoding == FieldEncoding::ScaledInteger)
            fields.push_back(WriterField::ScaledInteger(n, -rawLimit, rawLimit, scale));
        else if (encoding == FieldEncoding::Float)
            fields.push_back(WriterField::Float(n));
        else
            fields.push_back(WriterField::Double(n));
    }
    return fields;
}

std::vector<WriterField> SphericalFields(FieldEncoding encoding)
{
    std::vector<WriterField> fields;
    for (const char* n : {"sphericalRange", "sphericalAzimuth", "sphericalElevation"})
        fields.push_back(encoding == FieldEncoding::Float ? WriterField::Float(n) : WriterField::Double(n));
    return fields;
}

std::vector<WriterField> ColorFields(int64_t maximum)
{
    return {WriterField::Integer("colorRed", 0, maximum), WriterField::Integer("colorGreen", 0, maximum),
            WriterField::Integer("colorBlue", 0, maximum)};
}

void AddColorFields(ScanHeader& header, int64_t maximum, bool withInvalidFlag)
{
    for (const WriterField& f : ColorFields(maximum))
        header.prototype.push_back(f);
    if (withInvalidFlag)
        header.prototype.push_back(WriterField::Integer("isColorInvalid", 0, 1));
    header.hasColorLimits = true;
    const double m = double(maximum);
    header.colorLimits = {0, m, 0, m, 0, m};
}

// ---------------------------------------------------------------------------

struct Writer::Impl {
    struct Field {
        WriterField desc;
        unsigned bits = 0;
        Standard standard = Standard::None;
        BitpackEncoder encoder;
    };

    Impl(const std::string& path, const WriterOptions& opts) : options(opts), file(path)
    {
        if (options.maxPacketBytes < 64 || options.maxPacketBytes > 65536 || options.maxPacketBytes % 4 != 0)
            throw E57Exception("maxPacketBytes must be a multiple of 4 between 64 and 65536");
        uint8_t fileHeader[48] = {};
        file.Append(fileHeader, sizeof fileHeader);  // patched by Close()
    }

    WriterOptions options;
    PageWriter file;
    std::string scansXml;
    bool closed = false;

    // The open scan.
    bool scanOpen = false;
    ScanHeader header;
    std::vector<Field> fields;
    uint64_t sectionStart = 0;   // logical offset of the section header
    uint64_t recordCount = 0;
    uint64_t recordBits = 0;     // bits per record over all streams
    uint64_t capacityBits = 0;   // stream bytes one packet can carry, in bits
    uint64_t dataPackets = 0;
    std::vector<uint8_t> packet;
    std::vector<size_t> packetSizes;
    double boundsMin[3] = {0, 0, 0};
    double boundsMax[3] = {0, 0, 0};
    std::vector<float> floatScratch;
    std::vector<std::vector<double>> pointDoubles;   // WritePoints conversion buffers
    std::vector<std::vector<int64_t>> pointIntegers;

    void Begin(const ScanHeader& h)
    {
        if (closed)
            throw E57Exception("writer is closed");
        if (scanOpen)
            throw E57Exception("BeginScan: scan " + header.guid + " is still open");
        fields.clear();
        recordBits = 0;
        for (const WriterField& d : h.prototype) {
            if (d.name.empty())
                throw E57Exception("prototype field without a name");
            for (const Field& f : fields)
                if (f.desc.name == d.name)
                    throw E57Exception("prototype field " + d.name + " appears twice");
            Field f;
            f.desc = d;
            f.bits = d.BitWidth();
            f.encoder = BitpackEncoder(f.bits);
            if (d.name == "cartesianX")
                f.standard = Standard::X;
            else if (d.name == "cartesianY")
                f.standard = Standard::Y;
            else if (d.name == "cartesianZ")
                f.standard = Standard::Z;
            recordBits += f.bits;
            fields.push_back(std::move(f));
        }
        if (fields.empty())
            throw E57Exception("scan " + h.guid + " has an empty prototype");
        const uint64_t headerBytes = 6 + 2 * uint64_t(fields.size());
        if (headerBytes + 9 * fields.size() > options.maxPacketBytes)
            throw E57Exception("too many fields for the packet size");
        capacityBits = (options.maxPacketBytes - headerBytes) * 8;
        for (Field& f : fields)
            f.encoder = BitpackEncoder(f.bits);
        header = h;
        recordCount = 0;
        dataPackets = 0;
        for (int i = 0; i < 3; ++i) {
            boundsMin[i] = std::numeric_limits<double>::infinity();
            boundsMax[i] = -std::numeric_limits<double>::infinity();
        }
        sectionStart = file.LogicalSize();
        uint8_t sectionHeader[32] = {1};
        file.Append(sectionHeader, sizeof sectionHeader);  // patched by End()
        scanOpen = true;
    }

    uint64_t PendingBits() const
    {
        uint64_t bits = 0;
        for (const Field& f : fields)
            bits += f.encoder.PendingBits();
        return bits;
    }

    void EmitPacket(bool final, bool lagFirstStream = false)
    {
        if (options.writeEmptyPackets && dataPackets > 0) {
            const uint8_t empty[8] = {2, 0, 7, 0, 0, 0, 0, 0};
            file.Append(empty, sizeof empty);
        }
        size_t payload = 0;
        std::vector<size_t>& sizes = packetSizes;
        sizes.resize(fields.size());
        for (size_t i = 0; i < fields.size(); ++i) {
            BitpackEncoder& e = fields[i].encoder;
            if (final)
                e.Finish();
            else
                e.FlushCompleteBytes();
            sizes[i] = i == 0 && lagFirstStream ? e.Size() / 2 : e.Size();
            payload += sizes[i];
        }
        const size_t headerBytes = 6 + 2 * fields.size();
        const size_t length = (headerBytes + payload + 3) / 4 * 4;
        packet.assign(length, 0);
        packet[0] = 1;
        StoreLe(&packet[2], length - 1, 2);
        StoreLe(&packet[4], fields.size(), 2);
        size_t pos = headerBytes;
        for (size_t i = 0; i < fields.size(); ++i) {
            BitpackEncoder& e = fields[i].encoder;
            StoreLe(&packet[6 + 2 * i], sizes[i], 2);
            if (sizes[i] > 0)
                std::memcpy(&packet[pos], e.Data(), sizes[i]);
            pos += sizes[i];
            e.Consume(sizes[i]);
        }
        file.Append(packet.data(), packet.size());
        ++dataPackets;
    }

    void TrackBounds(const Field& f, double v)
    {
        const int i = int(f.standard) - 1;
        if (v < boundsMin[i])
            boundsMin[i] = v;
        if (v > boundsMax[i])
            boundsMax[i] = v;
    }

    int64_t ToRaw(const Field& f, double v) const
    {
        double r;
        if (f.desc.encoding == FieldEncoding::ScaledInteger)
            r = std::floor((v - f.desc.offset) / f.desc.scale + 0.5);
        else
            r = std::nearbyint(v);
        // 2^63 is the first double that does not fit into int64_t.
        if (!(r >= -9223372036854775808.0 && r < 9223372036854775808.0))
            throw E57Exception("field " + f.desc.name + ": value " + FormatDouble(v) + " is out of range");
        return int64_t(r);
    }

    void PutInteger(Field& f, int64_t raw)
    {
        if (raw < f.desc.minimum || raw > f.desc.maximum)
            throw E57Exception("field " + f.desc.name + ": value " + std::to_string(raw) + " is outside " +
                               std::to_string(f.desc.minimum) + ".." + std::to_string(f.desc.maximum));
        if (f.bits > 0)
            f.encoder.Put(uint64_t(raw) - uint64_t(f.desc.minimum));
    }

    void Encode(Field& f, const FieldValues& v, size_t start, size_t count)
    {
        const bool bounds = f.standard != Standard::None && header.writeCartesianBounds;
        switch (f.desc.encoding) {
        case FieldEncoding::Float: {
            floatScratch.resize(count);
            float* out = floatScratch.data();
            for (size_t i = 0; i < count; ++i) {
                const double d = v.doubles ? v.doubles[start + i] : double(v.integers[start + i]);
                out[i] = float(d);
                if (bounds)
                    TrackBounds(f, double(out[i]));
            }
            f.encoder.PutBytes(out, count * sizeof(float));
            break;
        }
        case FieldEncoding::Double:
            if (v.doubles) {
                f.encoder.PutBytes(v.doubles + start, count * sizeof(double));
                if (bounds)
                    for (size_t i = 0; i < count; ++i)
                        TrackBounds(f, v.doubles[start + i]);
            } else {
                for (size_t i = 0; i < count; ++i) {
                    const double d = double(v.integers[start + i]);
                    f.encoder.PutBytes(&d, sizeof d);
                    if (bounds)
                        TrackBounds(f, d);
                }
            }
            break;
        case FieldEncoding::Integer:
        case FieldEncoding::ScaledInteger: {
            const bool scaled = f.desc.encoding == FieldEncoding::ScaledInteger;
            for (size_t i = 0; i < count; ++i) {
                int64_t raw;
                if (v.integers)
                    raw = v.integers[start + i];
                else if (v.doubles)
                    raw = ToRaw(f, v.doubles[start + i]);
                else
                    raw = f.desc.minimum;
                PutInteger(f, raw);
                if (bounds)
                    TrackBounds(f, scaled ? double(raw) * f.desc.scale + f.desc.offset : double(raw));
            }
            break;
        }
        case FieldEncoding::String:
            break;
        }
    }

    void Write(size_t count, const std::vector<FieldValues>& columns)
    {
        if (!scanOpen)
            throw E57Exception("WriteColumns: no open scan");
        if (columns.size() != fields.size())
            throw E57Exception("WriteColumns: " + std::to_string(columns.size()) + " columns for " +
                               std::to_string(fields.size()) + " prototype fields");
        for (size_t i = 0; i < fields.size(); ++i) {
            const bool none = !columns[i].doubles && !columns[i].integers;
            const bool both = columns[i].doubles && columns[i].integers;
            if (both || (none && fields[i].bits != 0))
                throw E57Exception("WriteColumns: field " + fields[i].desc.name + " needs exactly one value array");
        }
        size_t done = 0;
        bool emittedWithoutProgress = false;
        while (done < count) {
            size_t k = count - done;
            if (recordBits > 0) {
                const uint64_t pending = PendingBits();
                const uint64_t fit = pending + recordBits <= capacityBits ? (capacityBits - pending) / recordBits : 0;
                if (fit == 0) {
                    // A lagging stream may leave too little room: then send everything.
                    EmitPacket(false, options.unevenStreams && !emittedWithoutProgress);
                    emittedWithoutProgress = true;
                    continue;
                }
                emittedWithoutProgress = false;
                if (fit < k)
                    k = size_t(fit);
            }
            for (size_t i = 0; i < fields.size(); ++i)
                Encode(fields[i], columns[i], done, k);
            done += k;
            recordCount += k;
        }
    }

    void WriteStandard(size_t count, const Data3DPointsData_t<double>& b)
    {
        if (!scanOpen)
            throw E57Exception("WritePoints: no open scan");
        constexpr size_t kChunk = 4096;
        pointDoubles.resize(fields.size());
        pointIntegers.resize(fields.size());
        std::vector<FieldValues> columns(fields.size());
        for (size_t done = 0; done < count;) {
            const size_t n = std::min(kChunk, count - done);
            for (size_t i = 0; i < fields.size(); ++i) {
                const std::string& name = fields[i].desc.name;
                const double* d = nullptr;
                if (name == "cartesianX") d = b.cartesianX;
                else if (name == "cartesianY") d = b.cartesianY;
                else if (name == "cartesianZ") d = b.cartesianZ;
                else if (name == "sphericalRange") d = b.sphericalRange;
                else if (name == "sphericalAzimuth") d = b.sphericalAzimuth;
                else if (name == "sphericalElevation") d = b.sphericalElevation;
                else if (name == "intensity") d = b.intensity;
                else if (name == "timeStamp") d = b.timeStamp;
                if (d) {
                    columns[i] = {d + done, nullptr};
                    continue;
                }
                std::vector<int64_t>& out = pointIntegers[i];
                out.resize(n);
                auto fill = [&](const auto* src) {
                    if (!src)
                        return false;
                    for (size_t j = 0; j < n; ++j)
                        out[j] = int64_t(src[done + j]);
                    return true;
                };
                bool ok = false;
                if (name == "colorRed") ok = fill(b.colorRed);
                else if (name == "colorGreen") ok = fill(b.colorGreen);
                else if (name == "colorBlue") ok = fill(b.colorBlue);
                else if (name == "isColorInvalid") ok = fill(b.isColorInvalid);
                else if (name == "cartesianInvalidState") ok = fill(b.cartesianInvalidState);
                else if (name == "sphericalInvalidState") ok = fill(b.sphericalInvalidState);
                else if (name == "isIntensityInvalid") ok = fill(b.isIntensityInvalid);
                else if (name == "rowIndex") ok = fill(b.rowIndex);
                else if (name == "columnIndex") ok = fill(b.columnIndex);
                else if (name == "returnIndex") ok = fill(b.returnIndex);
                else if (name == "returnCount") ok = fill(b.returnCount);
                else if (name == "isTimeStampInvalid") ok = fill(b.isTimeStampInvalid);
                if (!ok)
                    throw E57Exception("WritePoints: no buffer for field " + name);
                if (fields[i].desc.encoding == FieldEncoding::ScaledInteger ||
                    fields[i].desc.encoding == FieldEncoding::Float ||
                    fields[i].desc.encoding == FieldEncoding::Double) {
                    // Integer-valued buffers hold values, not raw numbers.
                    std::vector<double>& dv = pointDoubles[i];
                    dv.resize(n);
                    for (size_t j = 0; j < n; ++j)
                        dv[j] = double(out[j]);
                    columns[i] = {dv.data(), nullptr};
                } else {
                    columns[i] = {nullptr, out.data()};
                }
            }
            Write(n, columns);
            done += n;
        }
    }

    void AppendScanXml()
    {
        const std::string in = "    ";
        std::string& x = scansXml;
        x += "    <vectorChild type=\"Structure\">\n";
        x += in + "  <guid type=\"String\">" + Cdata(header.guid) + "</guid>\n";
        if (!header.name.empty())
            x += in + "  <name type=\"String\">" + Cdata(header.name) + "</name>\n";
        if (!header.description.empty())
            x += in + "  <description type=\"String\">" + Cdata(header.description) + "</description>\n";
        if (header.hasPose) {
            const RigidBodyTransform& p = header.pose;
            x += in + "  <pose type=\"Structure\">\n";
            x += in + "    <rotation type=\"Structure\">\n";
            AppendFloat(x, in + "      ", "w", p.rotation.w);
            AppendFloat(x, in + "      ", "x", p.rotation.x);
            AppendFloat(x, in + "      ", "y", p.rotation.y);
            AppendFloat(x, in + "      ", "z", p.rotation.z);
            x += in + "    </rotation>\n";
            x += in + "    <translation type=\"Structure\">\n";
            AppendFloat(x, in + "      ", "x", p.translation.x);
            AppendFloat(x, in + "      ", "y", p.translation.y);
            AppendFloat(x, in + "      ", "z", p.translation.z);
            x += in + "    </translation>\n";
            x += in + "  </pose>\n";
        }
        int cartesian = 0;
        for (const Field& f : fields)
            cartesian += f.standard != Standard::None;
        if (header.writeCartesianBounds && cartesian == 3 && recordCount > 0) {
            x += in + "  <cartesianBounds type=\"Structure\">\n";
            const char* names[6] = {"xMinimum", "xMaximum", "yMinimum", "yMaximum", "zMinimum", "zMaximum"};
            for (int i = 0; i < 3; ++i) {
                AppendFloat(x, in + "    ", names[2 * i], boundsMin[i]);
                AppendFloat(x, in + "    ", names[2 * i + 1], boundsMax[i]);
            }
            x += in + "  </cartesianBounds>\n";
        }
        if (header.hasIntensityLimits) {
            x += in + "  <intensityLimits type=\"Structure\">\n";
            AppendNumber(x, in + "    ", "intensityMinimum", header.intensityLimits.intensityMinimum);
            AppendNumber(x, in + "    ", "intensityMaximum", header.intensityLimits.intensityMaximum);
            x += in + "  </intensityLimits>\n";
        }
        if (header.hasColorLimits) {
            const ColorLimits& c = header.colorLimits;
            x += in + "  <colorLimits type=\"Structure\">\n";
            AppendNumber(x, in + "    ", "colorRedMinimum", c.colorRedMinimum);
            AppendNumber(x, in + "    ", "colorRedMaximum", c.colorRedMaximum);
            AppendNumber(x, in + "    ", "colorGreenMinimum", c.colorGreenMinimum);
            AppendNumber(x, in + "    ", "colorGreenMaximum", c.colorGreenMaximum);
            AppendNumber(x, in + "    ", "colorBlueMinimum", c.colorBlueMinimum);
            AppendNumber(x, in + "    ", "colorBlueMaximum", c.colorBlueMaximum);
            x += in + "  </colorLimits>\n";
        }
        x += in + "  <points type=\"CompressedVector\" fileOffset=\"" +
             std::to_string(PhysicalOffset(sectionStart)) + "\" recordCount=\"" + std::to_string(recordCount) +
             "\">\n";
        x += in + "    <prototype type=\"Structure\">\n";
        for (const Field& f : fields) {
            const WriterField& d = f.desc;
            x += in + "      <" + d.name;
            switch (d.encoding) {
            case FieldEncoding::Integer:
            case FieldEncoding::ScaledInteger:
                x += d.encoding == FieldEncoding::Integer ? " type=\"Integer\"" : " type=\"ScaledInteger\"";
                x += " minimum=\"" + std::to_string(d.minimum) + "\" maximum=\"" + std::to_string(d.maximum) + "\"";
                if (d.encoding == FieldEncoding::ScaledInteger)
                    x += " scale=\"" + FormatDouble(d.scale) + "\" offset=\"" + FormatDouble(d.offset) + "\"";
                break;
            default:
                x += d.encoding == FieldEncoding::Float ? " type=\"Float\" precision=\"single\""
                                                        : " type=\"Float\" precision=\"double\"";
                if (d.hasFloatLimits)
                    x += " minimum=\"" + FormatDouble(d.floatMinimum) + "\" maximum=\"" +
                         FormatDouble(d.floatMaximum) + "\"";
                break;
            }
            x += "/>\n";
        }
        x += in + "    </prototype>\n";
        x += in + "    <codecs type=\"Vector\" allowHeterogeneousChildren=\"1\"/>\n";
        x += in + "  </points>\n";
        x += "    </vectorChild>\n";
    }

    void End()
    {
        if (!scanOpen)
            throw E57Exception("EndScan: no open scan");
        // Partial last bytes may not fit beside what is pending: send that first.
        uint64_t finalBytes = 0;
        for (const Field& f : fields)
            finalBytes += (f.encoder.PendingBits() + 7) / 8;
        if (finalBytes * 8 > capacityBits)
            EmitPacket(false);
        if (dataPackets == 0 || PendingBits() > 0)
            EmitPacket(true);
        uint64_t indexOffset = 0;
        if (options.writeIndexPacket) {
            indexOffset = file.LogicalSize();
            uint8_t index[32] = {0, 0, 31, 0, 1, 0, 0};
            StoreLe(&index[16], 0, 8);
            StoreLe(&index[24], PhysicalOffset(sectionStart + 32), 8);
            file.Append(index, sizeof index);
        }
        uint8_t sectionHeader[32] = {1};
        StoreLe(&sectionHeader[8], file.LogicalSize() - sectionStart, 8);
        StoreLe(&sectionHeader[16], PhysicalOffset(sectionStart + 32), 8);
        StoreLe(&sectionHeader[24], indexOffset ? PhysicalOffset(indexOffset) : 0, 8);
        file.Patch(sectionStart, sectionHeader, sizeof sectionHeader);
        AppendScanXml();
        scanOpen = false;
    }

    void Finish()
    {
        if (closed)
            return;
        if (scanOpen)
            End();
        std::string xml = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n";
        xml += "<e57Root type=\"Structure\" xmlns=\"http://www.astm.org/COMMIT/E57/2010-e57-v1.0\"";
        for (const auto& ns : options.namespaces)
            xml += " xmlns:" + ns.first + "=\"" + ns.second + "\"";
        xml += ">\n";
        xml += "  <formatName type=\"String\">" + Cdata("ASTM E57 3D Imaging Data File") + "</formatName>\n";
        xml += "  <guid type=\"String\">" + Cdata(options.guid) + "</guid>\n";
        xml += "  <versionMajor type=\"Integer\">1</versionMajor>\n";
        xml += "  <versionMinor type=\"Integer\">0</versionMinor>\n";
        xml += "  <data3D type=\"Vector\" allowHeterogeneousChildren=\"1\">\n";
        xml += scansXml;
        xml += "  </data3D>\n";
        xml += "  <images2D type=\"Vector\" allowHeterogeneousChildren=\"1\"/>\n";
        xml += "</e57Root>\n";
        const uint64_t xmlOffset = file.LogicalSize();
        file.Append(xml.data(), xml.size());

        uint8_t h[48] = {'A', 'S', 'T', 'M', '-', 'E', '5', '7'};
        StoreLe(&h[8], 1, 4);
        StoreLe(&h[12], 0, 4);
        uint64_t pages = (file.LogicalSize() + kPagePayload - 1) / kPagePayload;
        StoreLe(&h[16], pages * kPageSize, 8);
        StoreLe(&h[24], PhysicalOffset(xmlOffset), 8);
        StoreLe(&h[32], xml.size(), 8);
        StoreLe(&h[40], kPageSize, 8);
        file.Patch(0, h, sizeof h);
        file.Finish();
        closed = true;
    }
};

Writer::Writer(const std::string& filePath, const WriterOptions& options)
    : impl_(std::make_unique<Impl>(filePath, options))
{
}

Writer::~Writer() = default;

void Writer::BeginScan(const ScanHeader& header)
{
    impl_->Begin(header);
}

void Writer::WriteColumns(size_t count, const std::vector<FieldValues>& columns)
{
    impl_->Write(count, columns);
}

void Writer::WritePoints(size_t count, const Data3DPointsData_t<double>& buffers)
{
    impl_->WriteStandard(count, buffers);
}

void Writer::EndScan()
{
    impl_->End();
}

void Writer::Close()
{
    impl_->Finish();
}

uint64_t Writer::ScanRecordCount() const
{
    return impl_->scanOpen ? impl_->recordCount : 0;
}

}  // namespace e57
