#pragma once
// Streaming E57 reader. Opens the file, verifies page checksums as it reads,
// parses the XML section and hands out scan headers and block readers over
// the points of one scan. Memory use does not depend on the file's size.
//
// Errors in the file throw e57::E57Exception. A file that the operating
// system cannot open as a regular file (missing, a folder, a FIFO, no
// permission) does not throw: IsOpen() is then false.
#include <cstdint>
#include <memory>
#include <string>

#include "e57/CompressedVectorReader.h"
#include "e57/Data3D.h"
#include "e57/Data3DPointsData.h"

namespace e57 {

struct ReaderOptions {
    // Share of pages whose CRC-32C is verified: 100 = all, 0 = none; in
    // between, every round(100 / p)-th page plus the last page of each request.
    int checksumPolicy = 100;
};

class Reader {
public:
    Reader(const std::string& filePath, const ReaderOptions& options);
    ~Reader();
    Reader(const Reader&) = delete;
    Reader& operator=(const Reader&) = delete;

    bool IsOpen() const;
    int64_t GetData3DCount() const;

    // Fills the header of scan `index`; false when the index is out of range.
    bool ReadData3D(int64_t index, Data3D& data3DHeader) const;

    // A reader over the points of scan `index` that fills up to `pointCount`
    // records per read() into `buffers`.
    template <typename COORDTYPE>
    CompressedVectorReader SetUpData3DPointsData(int64_t index, size_t pointCount,
                                                 const Data3DPointsData_t<COORDTYPE>& buffers) const;

    // Verifies the checksum of every page of the file; returns the number of
    // bad pages (0 = all good). Independent of the checksum policy.
    uint64_t VerifyAllPages() const;

    bool Close();

    struct Impl;

private:
    std::unique_ptr<Impl> impl_;
};

}  // namespace e57
