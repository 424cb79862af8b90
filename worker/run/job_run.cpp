#include "worker/run/job_run.h"

#include "images/image_module.h"
#include "worker/run/lane.h"

#include <corrivane_version.h>
#include <sys/eventfd.h>

#include <algorithm>
#include <thread>

namespace corrivane::worker {
namespace {

event::JobBegins beginning_of(const Job& job, const RunSettings& settings) {
    event::JobBegins begins{job.scene, job.frames, lane_count(job, settings)};
    begins.camera = job.camera;
    begins.output = job.output.value_or("");
    begins.threads = threads_of(0, begins.hosts, settings.host.threads);
    if (begins.threads == 0) begins.threads = static_cast<int>(std::thread::hardware_concurrency());
    begins.worker_version = CORRIVANE_VERSION;
    return begins;
}

/// Hands out no more frames once the user wants to stop, while it lives.
class StopWatch {
public:
    StopWatch(const StopRequest& stop, FrameQueue& queue)
        : m_end(::eventfd(0, EFD_CLOEXEC)), m_thread([this, &stop, &queue] {
              if (wait_readable({m_end.get(), stop.requested_fd()}, Deadline::max()) == stop.requested_fd())
                  queue.close();
          }) {}
    ~StopWatch() {
        ::eventfd_write(m_end.get(), 1);
        m_thread.join();
    }
    StopWatch(const StopWatch&) = delete;
    StopWatch& operator=(const StopWatch&) = delete;

private:
    const FileDescriptor m_end;
    std::thread m_thread;
};

}  // namespace

std::size_t lane_count(const Job& job, const RunSettings& settings) {
    return std::clamp<std::size_t>(settings.hosts, 1, std::max<std::size_t>(job.frames.size(), 1));
}

JobReport run_job(const Job& job, const RunSettings& settings, const StopRequest& stop, EventStream& events) {
    check_job(job);
    SharedJob shared(job, settings, stop, events);
    const std::size_t lanes = lane_count(job, settings);
    events.emit(beginning_of(job, settings));
    if (settings.verify != Verify::off) prefetch_image_module();
    {
        const StopWatch watch(stop, shared.queue);
        std::vector<std::thread> threads;
        for (std::size_t lane = 0; lane < lanes; ++lane)
            threads.emplace_back([&shared, lane, lanes] { Lane(shared, lane, lanes).run(); });
        for (std::thread& thread : threads)
            thread.join();
    }
    JobReport report = shared.report();
    events.emit(event::JobEnds{report});
    return report;
}

}  // namespace corrivane::worker
