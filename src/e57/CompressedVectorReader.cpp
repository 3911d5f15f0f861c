#include "e57/CompressedVectorReader.h"

#include <algorithm>
#include <cstdint>

#include "e57/CompressedVectorReaderImpl.h"
#include "e57/E57Exception.h"

namespace e57 {

unsigned CompressedVectorReader::Impl::Read(size_t first, size_t stride)
{
    if (!open)
        throw E57Exception("read() on a closed point reader");
    // read() reports the count as unsigned: larger buffers are filled in part.
    const size_t n = static_cast<size_t>(std::min<uint64_t>({capacity, remaining, UINT32_MAX}));
    size_t done = 0;
    size_t stored = 0;   // records stored so far in this read
    while (done < n) {
        // Decode as many records as every requested field has bytes for.
        size_t m = n - done;
        const FieldDecoder* shortest = nullptr;
        for (FieldDecoder& d : decoders) {
            const size_t a = static_cast<size_t>(d.Available(m));
            if (a < m || !shortest) {
                m = a;
                shortest = &d;
            }
        }
        if (m == 0) {
            // The next packet may replace the window the decoders point into.
            for (FieldDecoder& d : decoders)
                d.Detach();
            if (!walker->Next(packet))
                walker->Fail("field '" + shortest->Name() + "' ends after " +
                             std::to_string(recordCount - remaining + done) + " of " +
                             std::to_string(recordCount) + " records");
            for (FieldDecoder& d : decoders) {
                const DataPacketView::Stream& s = packet.streams[d.StreamIndex()];
                if (d.PendingBytes() + s.size > kMaxFieldLead)
                    walker->Fail("field '" + d.Name() + "' runs more than " + std::to_string(kMaxFieldLead >> 20) +
                                 " MiB ahead of the other fields at logical offset " +
                                 std::to_string(packet.logicalOffset));
                d.Attach(s.data, s.size);
            }
            continue;
        }
        // Records done .. done + m - 1 of this read; the first of them to keep.
        const size_t from = done <= first ? first - done : (stride - (done - first) % stride) % stride;
        size_t kept = 0;
        for (FieldDecoder& d : decoders)
            kept = d.DecodeKept(m, from, stride, stored);
        stored += kept;
        done += m;
    }
    remaining -= n;
    return static_cast<unsigned>(n);
}

CompressedVectorReader::CompressedVectorReader(std::unique_ptr<Impl> impl) : impl_(std::move(impl)) {}
CompressedVectorReader::CompressedVectorReader(CompressedVectorReader&&) noexcept = default;
CompressedVectorReader& CompressedVectorReader::operator=(CompressedVectorReader&&) noexcept = default;
CompressedVectorReader::~CompressedVectorReader() = default;

unsigned CompressedVectorReader::read()
{
    return read(0, 1);
}

unsigned CompressedVectorReader::read(size_t first, size_t stride)
{
    if (!impl_)
        throw E57Exception("read() on a closed point reader");
    if (stride == 0)
        throw E57Exception("read() with a stride of 0");
    try {
        return impl_->Read(first, stride);
    } catch (...) {
        // The fields may have advanced unevenly: nothing after this is usable.
        impl_->open = false;
        throw;
    }
}

void CompressedVectorReader::close()
{
    if (impl_) {
        impl_->open = false;
        impl_->walker.reset();
        impl_->decoders.clear();
    }
}

bool CompressedVectorReader::isOpen() const
{
    return impl_ && impl_->open;
}

}  // namespace e57
