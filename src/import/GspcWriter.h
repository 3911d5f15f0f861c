#pragma once
// Writer of the .gspc point file: a 32-byte header ("GSPC", version 2, the
// interleaved bounds min X, max X, min Y, max Y, min Z, max Z as float32),
// then one 15-byte record per point (x, y, z float32, r, g, b uint8), all
// little-endian. The bounds are patched into the header by Close().
#include <cstdint>
#include <cstdio>
#include <vector>

#include "import/PointRecords.h"

class GspcWriter {
public:
    GspcWriter();
    GspcWriter(const GspcWriter&) = delete;
    GspcWriter& operator=(const GspcWriter&) = delete;
    // A writer destroyed without Close (a conversion left by an exception)
    // writes out its buffered records and releases the file, but does not
    // patch the bounds: the header keeps zero bounds, marking the file unfinished.
    ~GspcWriter();

    bool Open(const char* path);
    void Write(float x, float y, float z, unsigned char r, unsigned char g, unsigned char b);
    // `count` points at once from the arrays x, y, z and rgb (r, g, b per point).
    // Same bytes and bounds as calling Write for each point in order.
    void Write(const float* x, const float* y, const float* z, const unsigned char* rgb, size_t count);
    // The same with each colour as r | g << 8 | b << 16.
    void WritePoints(const float* x, const float* y, const float* z, const uint32_t* rgb, size_t count);
    bool Close();

    // For records encoded elsewhere (gspc::EncodeRecords), e.g. by several
    // threads: writes `count` of them as records firstRecord... of the file,
    // at their place, without touching the writer's buffer or bounds; safe
    // to call from several threads at once. False when the write fails.
    bool WriteRecordsAt(uint64_t firstRecord, const unsigned char* records, size_t count) const;
    // The bounds of records written with WriteRecordsAt, merged in file order.
    void MergeBounds(const gspc::RunBounds& run) { gspc::MergeBounds(run, bounds_, firstPoint_); }
    void NoteWriteFailure() { writeFailed_ = true; }
    // Back to a file of just the header, as after Open (bounds and records gone).
    void Restart();
    // Closes without patching the bounds: the header keeps zero bounds, the
    // mark of an unfinished file. False if no file is open.
    bool CloseUnfinished();

    float MinX() const { return bounds_[0]; }
    float MaxX() const { return bounds_[1]; }
    float MinY() const { return bounds_[2]; }
    float MaxY() const { return bounds_[3]; }
    float MinZ() const { return bounds_[4]; }
    float MaxZ() const { return bounds_[5]; }

    // True when a write, the seek or the close of the current/last file failed
    // (e.g. a full disk). Open and Close keep their results regardless.
    bool WriteFailed() const { return writeFailed_; }

private:
    void Flush();
    void ReleaseFile();   // closes the file and lets the buffer go

    std::FILE* file_ = nullptr;
    float bounds_[6] = {0, 0, 0, 0, 0, 0};
    bool firstPoint_ = true;
    std::vector<unsigned char> buffer_;
    size_t used_ = 0;            // bytes of buffer_ not yet handed to the file
    bool writeFailed_ = false;
};
