#pragma once
// Shared pieces of the fuzz targets: the input as a file the code under test
// can open by path (an anonymous in-memory file), and page checksums redone so
// that mutations reach the structures behind the checksum check.
#include <sys/mman.h>
#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "e57/Crc32c.h"

namespace fuzzsupport {

// One in-memory file per process, rewritten for every input.
class MemFile {
public:
    explicit MemFile(const char* name)
    {
        fd_ = memfd_create(name, 0);
        if (fd_ < 0) {
            std::perror("memfd_create");
            std::abort();
        }
        path_ = "/proc/self/fd/" + std::to_string(fd_);
    }

    // Replaces the file's contents; returns its path.
    const std::string& Write(const uint8_t* data, size_t size)
    {
        if (ftruncate(fd_, 0) != 0 || (size != 0 && pwrite(fd_, data, size, 0) != static_cast<ssize_t>(size))) {
            std::perror("memfd write");
            std::abort();
        }
        return path_;
    }

private:
    int fd_ = -1;
    std::string path_;
};

// Rewrites the big-endian CRC-32C of every whole 1024-byte page.
inline void FixPageChecksums(std::vector<uint8_t>& file)
{
    for (size_t page = 0; page + 1024 <= file.size(); page += 1024) {
        const uint32_t crc = e57::Crc32c(file.data() + page, 1020);
        for (int i = 0; i < 4; ++i)
            file[page + 1020 + i] = static_cast<uint8_t>(crc >> (24 - 8 * i));
    }
}

// How an input is turned into the E57 file that is read. The last byte of a
// real file is a checksum byte, so it is free to choose the mode: mostly the
// checksums are redone and all of them verified (mutations then reach the
// structures), sometimes the bytes are read as they are under another policy.
struct E57Input {
    std::vector<uint8_t> bytes;
    int checksumPolicy = 100;
};

inline E57Input PrepareE57(const uint8_t* data, size_t size)
{
    E57Input in;
    in.bytes.assign(data, data + size);
    const uint8_t mode = size ? data[size - 1] : 0;
    if ((mode & 3) != 0) {
        FixPageChecksums(in.bytes);
        in.checksumPolicy = 100;
    } else {
        in.checksumPolicy = (mode >> 2) % 101;
    }
    return in;
}

}  // namespace fuzzsupport
