#include "core/core.h"
#include "render/progress_callback.h"
#include "support/log.h"
#include "support/scene_file.h"
#include "support/temporary_folder.h"
#include "support/wire_peer.h"

#include <max/bitmap.h>
#include <system/drive_map.h>

#include <benchmark/benchmark.h>

#include <stdexcept>
#include <thread>

log_stream connect_log;

namespace {

using namespace corrivane::test;
using corrivane::host::Core;

/// Without an end: other benchmarks may take any time.
constexpr std::chrono::seconds patience_between_benchmarks{0};

/// A worker that lets every render go on, at the other end of `socket()`.
class AnsweringPeer {
public:
    AnsweringPeer() : m_socket("127.0.0.1", m_peer.port()), m_thread([this] { answer(); }) {}
    ~AnsweringPeer() {
        m_socket.close(true);
        m_thread.join();
    }
    quorvel::win32::simple_socket& socket() { return m_socket; }

private:
    void answer() {
        try {
            m_peer.accept();
            for (;;)
                if (m_peer.receive().starts_with("FUNCTION: PROGRESS")) m_peer.send("CONTINUE");
        } catch (const std::runtime_error&) {
            // The benchmark is over.
        }
    }

    WirePeer m_peer{patience_between_benchmarks};
    quorvel::win32::simple_socket m_socket;
    std::thread m_thread;
};

CorrivaneRenderCallback& shared_callback() {
    static AnsweringPeer peer;
    static CorrivaneRenderCallback callback(peer.socket(), "");
    return callback;
}

/// As the renderer's threads call it; a report is due every 100 ms and is part of the time. Processor time of
/// all threads over all calls, which is the cost of a call whatever the number of threads.
void throttled_call(benchmark::State& state) {
    CorrivaneRenderCallback& callback = shared_callback();
    for (auto round : state)
        benchmark::DoNotOptimize(callback.Progress(1, 100));
}

constexpr int width = 640;
constexpr int height = 480;
constexpr int samples = 8;

/// An open scene with its renderer, and a bitmap to render into.
class OpenScene {
public:
    OpenScene() {
        map_drive('C', m_folder.path());
        nlohmann::json scene = small_scene();
        render_settings(scene).update({{"width", width}, {"height", height}, {"samples", samples}});
        save_scene(scene, m_folder.path());
        Core& core = Core::instance();
        if (core.LoadFromFile("C:\\scene.gltf", 0) == 0) throw std::runtime_error("the scene does not load");
        INode* camera = core.GetINodeByName("Camera01");
        if (core.OpenCurRenderer(camera, nullptr, RENDTYPE_NORMAL, width, height) == 0)
            throw std::runtime_error("the renderer does not open");
        BitmapInfo info;
        info.SetWidth(width);
        info.SetHeight(height);
        m_bitmap = TheManager->Create(info);
        render(nullptr);
    }
    ~OpenScene() {
        Core::instance().CloseCurRenderer();
        m_bitmap->DeleteThis();
    }

    bool render(RendProgressCallback* progress) {
        return Core::instance().CurRendererRenderFrame(0, m_bitmap, progress, 1.0F, nullptr, nullptr) != 0;
    }

private:
    TemporaryFolder m_folder;
    Bitmap* m_bitmap;
};

void render_without_progress(benchmark::State& state) {
    OpenScene scene;
    for (auto round : state)
        if (!scene.render(nullptr)) state.SkipWithError("the render failed");
}

void render_with_progress(benchmark::State& state) {
    OpenScene scene;
    AnsweringPeer peer;
    for (auto round : state) {
        CorrivaneRenderCallback callback(peer.socket(), "");
        if (!scene.render(&callback)) state.SkipWithError("the render failed");
    }
}

BENCHMARK(throttled_call)->Name("progress/call")->Threads(1)->Threads(2);
BENCHMARK(render_without_progress)
    ->Name("progress/render_without")
    ->MeasureProcessCPUTime()
    ->UseRealTime()
    ->Unit(benchmark::kMillisecond);
BENCHMARK(render_with_progress)
    ->Name("progress/render_with")
    ->MeasureProcessCPUTime()
    ->UseRealTime()
    ->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
