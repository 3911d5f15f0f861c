#include "cli/CliSupport.h"

#include <cctype>
#include <cerrno>
#include <cstdio>
#include <cstring>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

void PrintFailure(const std::string& message, const std::string& detail)
{
    if (detail.empty())
        std::fprintf(stderr, "%s\n", message.c_str());
    else
        std::fprintf(stderr, "%s (%s)\n", message.c_str(), detail.c_str());
}

std::string FileNameOf(const std::string& path)
{
    const size_t slash = path.find_last_of('/');
    return slash == std::string::npos ? path : path.substr(slash + 1);
}

std::string E57BaseName(const std::string& path)
{
    std::string name = FileNameOf(path);
    if (name.size() > 4) {
        std::string tail = name.substr(name.size() - 4);
        for (char& c : tail)
            c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
        if (tail == ".e57")
            name.resize(name.size() - 4);
    }
    return name;
}

std::string ErrnoText()
{
    return std::strerror(errno);
}

std::string WhyNotReadable(const std::string& path)
{
    // O_NONBLOCK: opening a FIFO for reading must not wait for a writer.
    const int fd = ::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    if (fd < 0)
        return ErrnoText();
    struct stat st {};
    const bool regular = ::fstat(fd, &st) == 0 && S_ISREG(st.st_mode);
    ::close(fd);
    return regular ? "cannot be read" : "not a regular file";
}
