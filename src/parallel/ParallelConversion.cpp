#include "parallel/ParallelConversion.h"

#include <signal.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <exception>
#include <limits>
#include <deque>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

#include "e57/Reader.h"
#include "import/PointRecords.h"

namespace parallel {

namespace {

// One block's kept points on their way to the file.
struct Job {
    enum class State { Free, Queued, Done };
    State state = State::Free;
    uint64_t firstRecord = 0;
    size_t count = 0;
    std::vector<float> x, y, z;   // the kept points, posed
    std::vector<uint32_t> rgb;
    std::vector<unsigned char> records;
    gspc::RunBounds bounds;
    bool written = false;
};

// Hands the kept points of each block to worker threads. The jobs form a
// ring in file order: before a slot is used again, its earlier job must be
// done, and its bounds are merged then, so bounds are merged in file order.
class ParallelSink : public KeptPointSink {
public:
    ParallelSink(GspcWriter& writer, int workers) : writer_(writer), jobs_(static_cast<size_t>(2 * workers + 1))
    {
        // Ctrl-C stays with the calling thread, which asks for the cancel.
        sigset_t block, old;
        sigemptyset(&block);
        sigaddset(&block, SIGINT);
        pthread_sigmask(SIG_BLOCK, &block, &old);
        for (int i = 0; i < workers; ++i)
            threads_.emplace_back([this] { Work(); });
        pthread_sigmask(SIG_SETMASK, &old, nullptr);
    }

    ~ParallelSink() override
    {
        // Also after an exception of the reader: the jobs handed over are
        // written (as the one-thread writer writes out its buffer), then the
        // workers end. Their bounds are not merged: the file stays unfinished.
        {
            std::lock_guard<std::mutex> lock(mutex_);
            stopping_ = true;
        }
        workAvailable_.notify_all();
        for (std::thread& t : threads_)
            t.join();
    }

    ParallelSink(const ParallelSink&) = delete;
    ParallelSink& operator=(const ParallelSink&) = delete;

    void Put(const e57::RigidBodyTransform& pose, const DecodedBlock& block, const gspc::Gather& kept,
             uint64_t firstRecord) override
    {
        if (kept.count == 0)
            return;
        Job& job = jobs_[next_ % jobs_.size()];
        Retire(job);
        job.firstRecord = firstRecord;
        job.count = kept.count;
        job.x.resize(kept.count);
        job.y.resize(kept.count);
        job.z.resize(kept.count);
        job.rgb.resize(kept.count);
        PoseAndColourPoints(pose, block, kept, job.x.data(), job.y.data(), job.z.data(), job.rgb.data());
        {
            std::lock_guard<std::mutex> lock(mutex_);
            job.state = Job::State::Queued;
            queue_.push_back(&job);
        }
        workAvailable_.notify_one();
        ++next_;
    }

    void Finish() override
    {
        // Every job still in the ring, oldest first.
        const size_t n = jobs_.size();
        for (size_t i = 0; i < n; ++i)
            Retire(jobs_[(next_ + i) % n]);
    }

private:
    // Waits for the slot's job (if any) and merges its result into the writer.
    void Retire(Job& job)
    {
        {
            std::unique_lock<std::mutex> lock(mutex_);
            jobDone_.wait(lock, [&] { return job.state != Job::State::Queued; });
            if (job.state == Job::State::Free)
                return;
            job.state = Job::State::Free;
        }
        writer_.MergeBounds(job.bounds);
        if (!job.written)
            writer_.NoteWriteFailure();
    }

    void Work()
    {
        for (;;) {
            Job* job = nullptr;
            {
                std::unique_lock<std::mutex> lock(mutex_);
                workAvailable_.wait(lock, [&] { return stopping_ || !queue_.empty(); });
                if (queue_.empty())
                    return;   // stopping, and nothing left to write
                job = queue_.front();
                queue_.pop_front();
            }
            Convert(*job);
            {
                std::lock_guard<std::mutex> lock(mutex_);
                job->state = Job::State::Done;
            }
            jobDone_.notify_all();
        }
    }

    void Convert(Job& job) const
    {
        job.records.resize(job.count * gspc::kRecordSize + 1);
        job.bounds = gspc::RunBounds();
        gspc::FoldBounds(job.x.data(), job.y.data(), job.z.data(), job.count, job.bounds);
        gspc::EncodeRecords(job.x.data(), job.y.data(), job.z.data(), job.rgb.data(), job.count, job.records.data());
        job.written = writer_.WriteRecordsAt(job.firstRecord, job.records.data(), job.count);
    }

    GspcWriter& writer_;
    std::vector<Job> jobs_;
    uint64_t next_ = 0;   // sequence number of the next job
    std::deque<Job*> queue_;
    std::mutex mutex_;
    std::condition_variable workAvailable_;
    std::condition_variable jobDone_;
    bool stopping_ = false;
    std::vector<std::thread> threads_;
};

// The kept points of one scan, converted on the worker that reads the scan
// and written at their place in the file in large blocks.
class PlacedSink : public KeptPointSink {
public:
    PlacedSink(const GspcWriter& writer, std::atomic<int64_t>& progress)
        : writer_(writer), progress_(progress), buffer_(kBufferRecords * gspc::kRecordSize + 1)
    {
    }

    void Put(const e57::RigidBodyTransform& pose, const DecodedBlock& block, const gspc::Gather& kept,
             uint64_t firstRecord) override
    {
        if (used_ == 0)
            bufferStart_ = firstRecord;
        for (size_t done = 0; done < kept.count;) {
            if (used_ == kBufferRecords)
                Flush(firstRecord + done);
            const size_t n = std::min({kChunk, kept.count - done, kBufferRecords - used_});
            const gspc::Gather g{kept.first + done * kept.stride, kept.stride, n};
            PoseAndColourPoints(pose, block, g, x_, y_, z_, rgb_);
            gspc::FoldBounds(x_, y_, z_, n, bounds);
            gspc::EncodeRecords(x_, y_, z_, rgb_, n, buffer_.data() + used_ * gspc::kRecordSize);
            used_ += n;
            done += n;
        }
        progress_.fetch_add(static_cast<int64_t>(kept.count), std::memory_order_relaxed);
    }

    void Finish() override { Flush(bufferStart_ + used_); }

    gspc::RunBounds bounds;
    bool writeFailed = false;

private:
    void Flush(uint64_t nextRecord)
    {
        if (used_ > 0 && !writer_.WriteRecordsAt(bufferStart_, buffer_.data(), used_))
            writeFailed = true;
        used_ = 0;
        bufferStart_ = nextRecord;
    }

    static constexpr size_t kChunk = 2048;
    static constexpr size_t kBufferRecords = size_t(1) << 16;
    const GspcWriter& writer_;
    std::atomic<int64_t>& progress_;
    std::vector<unsigned char> buffer_;
    size_t used_ = 0;
    uint64_t bufferStart_ = 0;
    float x_[kChunk], y_[kChunk], z_[kChunk];
    uint32_t rgb_[kChunk];
};

// One scan of the side-by-side conversion: where its points and records
// start, and what its worker found.
struct ScanTask {
    int64_t index = 0;
    int64_t declared = 0;       // declared point count (0 when negative)
    int64_t firstPoint = 0;     // running point index of its first point
    uint64_t firstRecord = 0;
    uint64_t keptCount = 0;
    int64_t read = -1;          // points read, -1 while not done
    gspc::RunBounds bounds;
    bool writeFailed = false;
    bool failed = false;
};

// Kept points among running point indices [a, a + n): the multiples of step.
uint64_t MultiplesIn(int64_t a, int64_t n, int64_t step)
{
    auto ceilDiv = [step](int64_t v) { return (v + step - 1) / step; };
    return static_cast<uint64_t>(ceilDiv(a + n) - ceilDiv(a));
}

// Converts the scans side by side, each on one worker with a reader of its
// own. Scans are placed in the file by their declared point counts; if a scan
// does not hold what it declares, or any scan fails, `redo` is set and
// nothing is decided here: the caller converts again on one thread, which
// gives the one-thread result and error.
ConversionResult ConvertScansSideBySide(e57::Reader& reader, const std::string& e57Path, int64_t scanCount,
                                        GspcWriter& writer, int32_t densityPercent, const std::string& windowTitle,
                                        host::ProcessWindow& processWindow, bool& processWindowOpen, int threads,
                                        bool& redo)
{
    ConversionResult result;
    redo = false;
    processWindowOpen = false;
    const int64_t step = DensityStep(densityPercent);
    const int64_t estimate = ProgressEstimate(reader, scanCount, step, result.totalPoints);

    std::vector<ScanTask> tasks;
    int64_t pointIndex = 0;
    uint64_t record = 0;
    for (int64_t i = 0; i < scanCount; ++i) {
        e57::Data3D header;
        if (!reader.ReadData3D(i, header))
            continue;
        ScanTask t;
        t.index = i;
        t.declared = std::max<int64_t>(0, header.pointCount);
        if (t.declared > std::numeric_limits<int64_t>::max() / 2 - pointIndex) {
            redo = true;   // counts beyond any real file: one thread tells what is wrong
            return result;
        }
        t.firstPoint = pointIndex;
        t.firstRecord = record;
        t.keptCount = MultiplesIn(pointIndex, t.declared, step);
        pointIndex += t.declared;
        record += t.keptCount;
        tasks.push_back(t);
    }

    // The same window, phase and progress maximum as on one thread.
    processWindow.Open(windowTitle, 2);
    processWindowOpen = true;
    const int32_t progressMax = static_cast<int32_t>(std::min<int64_t>(estimate, 2000000000));
    processWindow.NextPhase("Punktwolke konvertieren...", progressMax);

    std::atomic<int64_t> progress{0};
    std::atomic<size_t> nextTask{0};
    std::atomic<bool> stop{false};
    std::atomic<int> running{0};
    std::mutex mutex;
    std::condition_variable finished;

    auto work = [&] {
        e57::ReaderOptions options;
        options.checksumPolicy = 100;
        std::unique_ptr<e57::Reader> own;
        try {
            own = std::make_unique<e57::Reader>(e57Path, options);
        } catch (const std::exception&) {
            own.reset();
        }
        for (size_t k = 0; !stop.load() && (k = nextTask.fetch_add(1)) < tasks.size();) {
            ScanTask& t = tasks[k];
            if (!own || !own->IsOpen()) {
                t.failed = true;
                stop = true;
                break;
            }
            try {
                PlacedSink sink(writer, progress);
                t.read = ConvertScan(*own, t.index, densityPercent, t.firstPoint, t.firstRecord, sink, stop);
                sink.Finish();
                t.bounds = sink.bounds;
                t.writeFailed = sink.writeFailed;
            } catch (const std::exception&) {
                t.failed = true;
                stop = true;   // the one-thread run that follows reports it
            }
        }
        {
            std::lock_guard<std::mutex> lock(mutex);
            --running;
        }
        finished.notify_all();
    };

    const int workers = static_cast<int>(std::min<size_t>(static_cast<size_t>(threads), tasks.size()));
    std::vector<std::thread> pool;
    {
        sigset_t block, old;
        sigemptyset(&block);
        sigaddset(&block, SIGINT);
        pthread_sigmask(SIG_BLOCK, &block, &old);
        running = workers;
        for (int i = 0; i < workers; ++i)
            pool.emplace_back(work);
        pthread_sigmask(SIG_SETMASK, &old, nullptr);
    }

    // This thread shows the progress and asks for the cancel, also once more
    // after the workers are done.
    bool cancelled = false;
    for (bool done = false;;) {
        processWindow.SetValue(static_cast<int32_t>(std::min<int64_t>(progress.load(), progressMax)));
        bool askCancel = false;
        processWindow.IsCanceled(askCancel);
        if (askCancel) {
            cancelled = true;
            stop = true;
        }
        if (done || cancelled)
            break;
        std::unique_lock<std::mutex> lock(mutex);
        done = finished.wait_for(lock, std::chrono::milliseconds(50), [&] { return running == 0; });
    }
    for (std::thread& t : pool)
        t.join();

    if (cancelled) {
        // Records written so far stay, but the bounds are not patched: the
        // file does not pass for a finished one.
        writer.CloseUnfinished();
        reader.Close();
        result.cancelled = true;
        result.keptPoints = progress.load();
        return result;
    }
    for (const ScanTask& t : tasks) {
        if (t.failed || t.read != t.declared) {
            redo = true;
            return result;
        }
    }
    bool writeFailed = false;
    for (const ScanTask& t : tasks) {
        writer.MergeBounds(t.bounds);
        writeFailed = writeFailed || t.writeFailed;
    }
    if (writeFailed)
        writer.NoteWriteFailure();
    writer.Close();
    reader.Close();
    result.keptPoints = static_cast<int64_t>(record);
    TakeCloudExtent(writer, result);
    return result;
}

}  // namespace

int DefaultThreadCount()
{
    const unsigned n = std::thread::hardware_concurrency();
    return n == 0 ? 1 : static_cast<int>(std::min(n, 256u));
}

ConversionResult ConvertWithThreads(e57::Reader& reader, const std::string& e57Path, int64_t scanCount,
                                    GspcWriter& writer, int32_t densityPercent, const std::string& windowTitle,
                                    host::ProcessWindow& processWindow, bool& processWindowOpen, int threads)
{
    if (threads <= 1)
        return ConvertE57ToGspc(reader, scanCount, writer, densityPercent, windowTitle, processWindow,
                                processWindowOpen);
    if (scanCount > 1) {
        bool redo = false;
        ConversionResult r = ConvertScansSideBySide(reader, e57Path, scanCount, writer, densityPercent,
                                                    windowTitle, processWindow, processWindowOpen, threads, redo);
        if (!redo)
            return r;
        writer.Restart();
        if (processWindowOpen)
            processWindow.Close();
        return ConvertE57ToGspc(reader, scanCount, writer, densityPercent, windowTitle, processWindow,
                                processWindowOpen);
    }
    ParallelSink sink(writer, threads - 1);
    return ConvertE57ToGspc(reader, scanCount, writer, densityPercent, windowTitle, processWindow, processWindowOpen,
                            sink);
}

}  // namespace parallel
