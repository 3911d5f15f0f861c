#pragma once
// The conversion on several threads, for the command-line tool only (the
// add-on converts on the host's main thread and starts none).
//
// A file of several scans has its scans converted side by side, each by one
// worker with a reader of its own: the declared point counts fix where each
// scan's kept points start in the running point index and in the file, so
// every worker writes its records at their place, and the bounds are merged
// in scan order at the end. The calling thread shows the one progress bar and
// asks for the cancel. Should a scan fail or not hold the points it declares,
// the file is converted again on one thread, which gives that run's result or
// error exactly. A cancel leaves the records written so far with zero bounds
// in the header: an unfinished file.
//
// A file of one scan is converted by the add-on's own code on the calling
// thread (reading, thinning, progress, cancel, errors), which also poses and
// colours the kept points; their bounds, records and writing go to worker
// threads, each block's records to their place in the file, the bounds merged
// in file order.
//
// Either way the point file holds the bytes of the one-thread conversion.
#include <cstdint>
#include <string>

#include "import/ConvertE57ToGspc.h"

namespace parallel {

// Threads to use when none are asked for: the machine's cores (at least 1).
int DefaultThreadCount();

// ConvertE57ToGspc with `threads` threads in all; 1 (or less) is exactly the
// add-on's conversion. `e57Path` is the file the reader has open. Memory: the
// one-thread conversion's plus about 4 MiB per further thread.
ConversionResult ConvertWithThreads(e57::Reader& reader, const std::string& e57Path, int64_t scanCount,
                                    GspcWriter& writer, int32_t densityPercent, const std::string& windowTitle,
                                    host::ProcessWindow& processWindow, bool& processWindowOpen, int threads);

}  // namespace parallel
