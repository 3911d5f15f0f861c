#pragma once
// The conversion on several threads, for the command-line tool only (the
// add-on converts on the host's main thread and starts none). The calling
// thread runs the very conversion of the add-on: reading, thinning, progress,
// cancel and errors are the same code. Only the work on the kept points of
// each block (pose, bounds, records, writing them) goes to worker threads;
// each block's records have their place in the file already, and the bounds
// are merged in file order, so the bytes are those of one thread.
#include <cstdint>
#include <string>

#include "import/ConvertE57ToGspc.h"

namespace parallel {

// Threads to use when none are asked for: the machine's cores (at least 1).
int DefaultThreadCount();

// ConvertE57ToGspc with `threads` threads in all; 1 (or less) is exactly the
// add-on's conversion. Memory: the one-thread conversion's plus about 6 MiB
// per further thread.
ConversionResult ConvertWithThreads(e57::Reader& reader, int64_t scanCount, GspcWriter& writer,
                                    int32_t densityPercent, const std::string& windowTitle,
                                    host::ProcessWindow& processWindow, bool& processWindowOpen, int threads);

}  // namespace parallel
