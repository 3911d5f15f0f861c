#pragma once
// Small helpers shared by the info, convert and preview commands.
#include <string>

// Writes "message (detail)" (or just the message) as one line to stderr.
void PrintFailure(const std::string& message, const std::string& detail);

// The file name of `path` without a trailing ".e57" in any case, when the
// name is longer than those 4 characters (Scan.E57 -> Scan, .e57 stays).
std::string E57BaseName(const std::string& path);

// The last path component of `path`.
std::string FileNameOf(const std::string& path);

// The text of errno as it is now.
std::string ErrnoText();

// Why `path` cannot be read as a regular file ("No such file or directory",
// "not a regular file", ...). Never blocks, also not on a FIFO.
std::string WhyNotReadable(const std::string& path);
