#include "parallel/ParallelConversion.h"

#include <signal.h>

#include <algorithm>
#include <condition_variable>
#include <deque>
#include <mutex>
#include <thread>
#include <vector>

#include "import/PointRecords.h"

namespace parallel {

namespace {

// One block's kept points on their way to the file.
struct Job {
    enum class State { Free, Queued, Done };
    State state = State::Free;
    e57::RigidBodyTransform pose;
    uint64_t firstRecord = 0;
    size_t count = 0;
    std::vector<double> x, y, z;   // gathered kept points, before the pose
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
        job.pose = pose;
        job.firstRecord = firstRecord;
        job.count = kept.count;
        job.x.resize(kept.count);
        job.y.resize(kept.count);
        job.z.resize(kept.count);
        job.rgb.resize(kept.count);
        for (size_t k = 0, j = kept.first; k < kept.count; ++k, j += kept.stride) {
            job.x[k] = block.x[j];
            job.y[k] = block.y[j];
            job.z[k] = block.z[j];
        }
        if (block.hasColour)
            gspc::ColourPoints(block.red, block.green, block.blue, block.colourInvalid, kept, job.rgb.data());
        else
            gspc::GreyPoints(kept.count, job.rgb.data());
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
        constexpr size_t kChunk = 2048;
        float x[kChunk], y[kChunk], z[kChunk];
        job.records.resize(job.count * gspc::kRecordSize + 1);
        job.bounds = gspc::RunBounds();
        for (size_t done = 0; done < job.count;) {
            const size_t n = std::min(kChunk, job.count - done);
            gspc::PosePoints(job.pose, job.x.data() + done, job.y.data() + done, job.z.data() + done,
                             gspc::Gather{0, 1, n}, x, y, z);
            gspc::FoldBounds(x, y, z, n, job.bounds);
            gspc::EncodeRecords(x, y, z, job.rgb.data() + done, n, job.records.data() + done * gspc::kRecordSize);
            done += n;
        }
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

}  // namespace

int DefaultThreadCount()
{
    const unsigned n = std::thread::hardware_concurrency();
    return n == 0 ? 1 : static_cast<int>(std::min(n, 256u));
}

ConversionResult ConvertWithThreads(e57::Reader& reader, int64_t scanCount, GspcWriter& writer,
                                    int32_t densityPercent, const std::string& windowTitle,
                                    host::ProcessWindow& processWindow, bool& processWindowOpen, int threads)
{
    if (threads <= 1)
        return ConvertE57ToGspc(reader, scanCount, writer, densityPercent, windowTitle, processWindow,
                                processWindowOpen);
    ParallelSink sink(writer, threads - 1);
    return ConvertE57ToGspc(reader, scanCount, writer, densityPercent, windowTitle, processWindow, processWindowOpen,
                            sink);
}

}  // namespace parallel
