#include "e57/Reader.h"

#include <cstring>
#include <vector>

#include "e57/BitpackDecoder.h"
#include "e57/CompressedVectorReaderImpl.h"
#include "e57/CompressedVectorSection.h"
#include "e57/E57Exception.h"
#include "e57/PagedFile.h"
#include "e57/ScanHeader.h"
#include "e57/XmlSection.h"

namespace e57 {

namespace {

constexpr size_t kFileHeaderSize = 48;

uint64_t U64(const uint8_t* p)
{
    uint64_t v = 0;
    for (int i = 7; i >= 0; --i)
        v = (v << 8) | p[i];
    return v;
}

uint32_t U32(const uint8_t* p)
{
    return uint32_t(p[0]) | uint32_t(p[1]) << 8 | uint32_t(p[2]) << 16 | uint32_t(p[3]) << 24;
}

}  // namespace

struct Reader::Impl {
    std::shared_ptr<PagedFile> file = std::make_shared<PagedFile>();
    XmlSection xml;
    std::vector<pugi::xml_node> scans;
    bool open = false;

    void ReadFileHeader(uint64_t& xmlOffset, uint64_t& xmlLength) const;
    pugi::xml_node Scan(int64_t index) const;
};

void Reader::Impl::ReadFileHeader(uint64_t& xmlOffset, uint64_t& xmlLength) const
{
    const uint64_t size = file->PhysicalLength();
    if (size < kPageSize)
        throw E57Exception("not an E57 file: " + std::to_string(size) + " bytes are less than one page");
    uint8_t h[kFileHeaderSize];
    file->ReadRaw(0, h, sizeof h);
    if (std::memcmp(h, "ASTM-E57", 8) != 0)
        throw E57Exception("not an E57 file: bad signature");
    if (size % kPageSize != 0)
        throw E57Exception("E57 file length " + std::to_string(size) + " is not a whole number of 1024-byte pages");
    file->ReadLogical(0, h, sizeof h);  // now with page 0's checksum
    const uint32_t major = U32(h + 8);
    const uint32_t minor = U32(h + 12);
    if (major > 1 || (major == 1 && minor > 0))
        throw E57Exception("unsupported E57 version " + std::to_string(major) + "." + std::to_string(minor));
    const uint64_t declared = U64(h + 16);
    if (declared != size)
        throw E57Exception("E57 header gives a file length of " + std::to_string(declared) + " bytes, but the file has " +
                           std::to_string(size));
    const uint64_t pageSize = U64(h + 40);
    if (pageSize != kPageSize)
        throw E57Exception("E57 header gives page size " + std::to_string(pageSize) + " instead of 1024");
    xmlOffset = U64(h + 24);
    xmlLength = U64(h + 32);
}

pugi::xml_node Reader::Impl::Scan(int64_t index) const
{
    if (!open)
        throw E57Exception("E57 file is not open");
    if (index < 0 || static_cast<uint64_t>(index) >= scans.size())
        throw E57Exception("scan index " + std::to_string(index) + " is out of range (" +
                           std::to_string(scans.size()) + " scans)");
    return scans[static_cast<size_t>(index)];
}

Reader::Reader(const std::string& filePath, const ReaderOptions& options) : impl_(std::make_unique<Impl>())
{
    if (!impl_->file->Open(filePath, options.checksumPolicy))
        return;
    uint64_t xmlOffset = 0, xmlLength = 0;
    impl_->ReadFileHeader(xmlOffset, xmlLength);
    impl_->xml.Load(*impl_->file, xmlOffset, xmlLength);
    for (pugi::xml_node c = impl_->xml.Data3D().first_child(); c; c = c.next_sibling())
        if (c.type() == pugi::node_element)
            impl_->scans.push_back(c);
    impl_->open = true;
}

Reader::~Reader() = default;

bool Reader::IsOpen() const
{
    return impl_->open;
}

int64_t Reader::GetData3DCount() const
{
    return impl_->open ? static_cast<int64_t>(impl_->scans.size()) : 0;
}

bool Reader::ReadData3D(int64_t index, Data3D& data3DHeader) const
{
    if (!impl_->open || index < 0 || static_cast<uint64_t>(index) >= impl_->scans.size())
        return false;
    ReadScanHeader(impl_->scans[static_cast<size_t>(index)], index, data3DHeader);
    return true;
}

namespace {

template <typename T>
void Bind(std::vector<FieldDecoder>& out, const std::vector<FieldDescription>& fields, const char* name, T* buffer)
{
    if (!buffer)
        return;
    for (size_t i = 0; i < fields.size(); ++i)
        if (fields[i].name == name) {
            out.emplace_back(fields[i], i, buffer);
            return;
        }
}

}  // namespace

template <typename COORDTYPE>
CompressedVectorReader Reader::SetUpData3DPointsData(int64_t index, size_t pointCount,
                                                     const Data3DPointsData_t<COORDTYPE>& b) const
{
    pugi::xml_node scan = impl_->Scan(index);
    if (pointCount == 0)
        throw E57Exception("point reader for scan " + std::to_string(index) + " needs buffers of at least one point");
    ScanPoints points = ReadScanPoints(scan, index);
    auto cv = std::make_unique<CompressedVectorReader::Impl>();
    cv->recordCount = cv->remaining = points.recordCount;
    cv->capacity = pointCount;
    const std::vector<FieldDescription>& f = points.fields;
    std::vector<FieldDecoder>& d = cv->decoders;
    Bind(d, f, "cartesianX", b.cartesianX);
    Bind(d, f, "cartesianY", b.cartesianY);
    Bind(d, f, "cartesianZ", b.cartesianZ);
    Bind(d, f, "cartesianInvalidState", b.cartesianInvalidState);
    Bind(d, f, "sphericalRange", b.sphericalRange);
    Bind(d, f, "sphericalAzimuth", b.sphericalAzimuth);
    Bind(d, f, "sphericalElevation", b.sphericalElevation);
    Bind(d, f, "sphericalInvalidState", b.sphericalInvalidState);
    Bind(d, f, "colorRed", b.colorRed);
    Bind(d, f, "colorGreen", b.colorGreen);
    Bind(d, f, "colorBlue", b.colorBlue);
    Bind(d, f, "isColorInvalid", b.isColorInvalid);
    Bind(d, f, "intensity", b.intensity);
    Bind(d, f, "isIntensityInvalid", b.isIntensityInvalid);
    Bind(d, f, "rowIndex", b.rowIndex);
    Bind(d, f, "columnIndex", b.columnIndex);
    Bind(d, f, "returnIndex", b.returnIndex);
    Bind(d, f, "returnCount", b.returnCount);
    Bind(d, f, "timeStamp", b.timeStamp);
    Bind(d, f, "isTimeStampInvalid", b.isTimeStampInvalid);
    // A scan without records has no packets to read; its section is only
    // checked to be one (writers put placeholders of several forms there).
    if (points.recordCount > 0) {
        SectionInfo section = ReadSectionHeader(*impl_->file, points.fileOffset, points.recordCount, f);
        cv->walker = std::make_unique<PacketWalker>(impl_->file, section, f.size());
    } else {
        CheckEmptySectionHeader(*impl_->file, points.fileOffset);
    }
    return CompressedVectorReader(std::move(cv));
}

template CompressedVectorReader Reader::SetUpData3DPointsData<float>(int64_t, size_t,
                                                                    const Data3DPointsData_t<float>&) const;
template CompressedVectorReader Reader::SetUpData3DPointsData<double>(int64_t, size_t,
                                                                     const Data3DPointsData_t<double>&) const;

uint64_t Reader::VerifyAllPages() const
{
    if (!impl_->file->IsOpen())
        throw E57Exception("E57 file is not open");
    return impl_->file->CountBadPages();
}

bool Reader::Close()
{
    const bool wasOpen = impl_->open;
    impl_->open = false;
    impl_->scans.clear();
    impl_->file->Close();
    return wasOpen;
}

}  // namespace e57
