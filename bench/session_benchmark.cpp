#include "end_to_end/host_session.h"
#include "images/image_module.h"
#include "render/renderer.h"
#include "scene/load_scene.h"
#include "support/scene_file.h"

#include <max/bitmap.h>

#include <benchmark/benchmark.h>
#include <unistd.h>

#include <chrono>
#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace {

using namespace corrivane::test;
namespace host = corrivane::host;

constexpr std::string_view erroneous_command = "nonsense,1";
// The small scene's.
constexpr int width = 64;
constexpr int height = 48;

/// The host that serves all benchmarks but that of its start.
HostSession& served_host() {
    static HostSession session;
    return session;
}

/// Measures the erroneous command's way there and the reply's way back.
void measure_exchanges(benchmark::State& state, auto& peer, std::size_t reply_size) {
    const std::string request = WirePeer::frame(erroneous_command);
    for (auto round : state) {
        peer.send_bytes(request);
        benchmark::DoNotOptimize(peer.receive_bytes(reply_size));
    }
}

/// The size of the frame that answers the erroneous command.
std::size_t reply_size() {
    static const std::size_t size = WirePeer::frame(served_host().run(erroneous_command).front()).size();
    return size;
}

[[noreturn]] void serve_echo(int port) {
    try {
        WirePeer peer(std::chrono::seconds(0));  // other benchmarks may take any time
        peer.connect(port);
        const std::size_t request_size = WirePeer::frame(erroneous_command).size();
        const std::string reply(reply_size(), '\0');
        for (;;) {
            peer.receive_bytes(request_size);
            peer.send_bytes(reply);
        }
    } catch (const std::exception&) {
        _exit(0);
    }
}

/// A process that answers requests of the erroneous command's size with replies of the host's; it ends with
/// the connection.
WirePeer& echo_process() {
    static const std::unique_ptr<WirePeer> echo = [] {
        auto peer = std::make_unique<WirePeer>();
        reply_size();  // asks the host, which the new process must not
        if (fork() == 0) serve_echo(peer->port());
        peer->accept();
        return peer;
    }();
    return *echo;
}

void erroneous_command_host(benchmark::State& state) {
    measure_exchanges(state, served_host(), reply_size());
}

void erroneous_command_host_without_log(benchmark::State& state) {
    static HostSession session({.product_log = false});
    measure_exchanges(state, session, reply_size());
}

void erroneous_command_raw(benchmark::State& state) {
    measure_exchanges(state, echo_process(), reply_size());
}

void run(HostSession& session, const std::string& command) {
    const std::string reply = session.run(command).back();
    if (!reply.starts_with("SUCCESS")) throw std::runtime_error(command + ": " + reply);
}

void small_frame_host(benchmark::State& state) {
    HostSession& session = served_host();
    const auto scene = save_scene(small_scene(), session.folder() / "scene");
    run(session, "StartJob," + field(scene.string()) + ",Camera01");
    run(session, "RenderTask,0");
    for (auto round : state)
        run(session, "RenderTask,0");
    run(session, "EndJob");
}

void small_frame_renderer(benchmark::State& state) {
    const TemporaryFolder folder;
    host::Renderer renderer(host::load_scene(save_scene(small_scene(), folder.path())));
    host::RenderRequest request;
    request.camera_node = small_scene_camera;
    request.width = width;
    request.height = height;
    request.samples = 1;
    std::vector<float> pixels(std::size_t{4} * width * height);
    const host::FrameBuffers buffers{.beauty = pixels, .elements = {}};
    renderer.render(request, buffers);
    for (auto round : state)
        renderer.render(request, buffers);
}

void small_frame_saving(benchmark::State& state) {
    const TemporaryFolder folder;
    BitmapInfo info;
    info.SetName((folder.path() / "beauty.png").c_str());
    info.SetWidth(width);
    info.SetHeight(height);
    info.SetType(BMM_TRUE_64);
    info.SetFlags(MAP_HAS_ALPHA);
    Bitmap* bitmap = TheManager->Create(info);
    corrivane::image_module();
    for (auto round : state) {
        const bool saved = bitmap->OpenOutput(info) == BMMRES_SUCCESS &&
                           bitmap->Write(info, BMM_SINGLEFRAME) == BMMRES_SUCCESS &&
                           bitmap->Close(info, 0) == BMMRES_SUCCESS;
        if (!saved) state.SkipWithError("cannot save");
    }
    bitmap->DeleteThis();
}

/// Runs a start and takes its time, without what follows at the end of what it returns.
template <typename Start>
void measure_start(benchmark::State& state, Start start) {
    for (auto round : state) {
        const auto begin = std::chrono::steady_clock::now();
        const auto started = start();
        state.SetIterationTime(
            std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count());
    }
}

void start_host(benchmark::State& state) {
    measure_start(state, [] { return std::make_unique<HostSession>(); });
}

void start_empty_process(benchmark::State& state) {
    measure_start(state, [] {
        auto child = std::make_unique<RunningProgram>(std::vector<std::string>{"/bin/true"}, "/dev/null");
        child->wait();
        return child;
    });
}

BENCHMARK(erroneous_command_raw)->Name("erroneous_command/raw")->UseRealTime();
BENCHMARK(erroneous_command_host)->Name("erroneous_command/host")->UseRealTime();
BENCHMARK(erroneous_command_host_without_log)->Name("erroneous_command/host_without_log")->UseRealTime();
BENCHMARK(small_frame_host)->Name("small_frame/host")->UseRealTime()->Unit(benchmark::kMillisecond);
BENCHMARK(small_frame_renderer)->Name("small_frame/renderer")->UseRealTime()->Unit(benchmark::kMillisecond);
BENCHMARK(small_frame_saving)->Name("small_frame/saving")->UseRealTime()->Unit(benchmark::kMillisecond);
BENCHMARK(start_host)->Name("start/host")->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK(start_empty_process)->Name("start/empty_process")->UseManualTime()->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
