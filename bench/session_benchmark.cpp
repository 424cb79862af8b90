#include "bench/support/host_link.h"
#include "bitmap/image_module.h"
#include "render/renderer.h"
#include "scene/load_scene.h"

#include <max/bitmap.h>

#include <benchmark/benchmark.h>
#include <unistd.h>

#include <chrono>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace {

using namespace corrivane::bench;
namespace host = corrivane::host;

constexpr std::string_view erroneous_command = "nonsense,1";
constexpr int width = 64;
constexpr int height = 48;

/// The host that serves all benchmarks but that of its start.
HostLink& served_host() {
    static HostLink link;
    return link;
}

/// Sends a frame and waits for so many bytes.
void exchange(Connection& connection, const std::string& request, std::string& reply) {
    connection.send_bytes(request);
    connection.receive_bytes(reply.data(), reply.size());
}

/// Room for the frame that answers the erroneous command.
std::string reply_room() {
    static const std::size_t size = [] {
        served_host().connection().send(erroneous_command);
        return Connection::frame(served_host().connection().receive()).size();
    }();
    return std::string(size, '\0');
}

[[noreturn]] void serve_echo(int port, std::size_t request_size, const std::string& reply) {
    try {
        Connection connection(Connection::connect(port));
        std::string request(request_size, '\0');
        for (;;) {
            connection.receive_bytes(request.data(), request.size());
            connection.send_bytes(reply);
        }
    } catch (const std::exception&) {
        _exit(0);
    }
}

/// A process that answers requests of the erroneous command's size with replies of the host's; it ends with
/// the connection.
Connection& echo_process() {
    static Connection connection([] {
        const std::string reply = reply_room();
        Listener listener;
        if (fork() == 0) serve_echo(listener.port(), Connection::frame(erroneous_command).size(), reply);
        return listener.accept();
    }());
    return connection;
}

void measure_exchanges(benchmark::State& state, Connection& connection) {
    const std::string request = Connection::frame(erroneous_command);
    std::string reply = reply_room();
    for (auto round : state)
        exchange(connection, request, reply);
}

void erroneous_command_host(benchmark::State& state) {
    measure_exchanges(state, served_host().connection());
}

void erroneous_command_host_without_log(benchmark::State& state) {
    static HostLink link(ProductLog::off);
    measure_exchanges(state, link.connection());
}

void erroneous_command_raw(benchmark::State& state) {
    measure_exchanges(state, echo_process());
}

void small_frame_host(benchmark::State& state) {
    HostLink& link = served_host();
    write_scene(link.drive_c(), width, height, 1);
    link.run(R"(StartJob,"C:\\scene.gltf",Camera01)");
    link.run("RenderTask,0");
    for (auto round : state)
        link.run("RenderTask,0");
    link.run("EndJob");
}

void small_frame_renderer(benchmark::State& state) {
    const TemporaryFolder folder;
    host::Renderer renderer(host::load_scene(write_scene(folder.path(), width, height, 1)));
    host::RenderRequest request;
    request.camera_node = scene_camera_node;
    request.width = width;
    request.height = height;
    request.samples = 1;
    std::vector<float> pixels(4 * width * height);
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
    host::image_module();
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
    measure_start(state, [] { return std::make_unique<HostLink>(); });
}

void start_empty_process(benchmark::State& state) {
    measure_start(state, [] {
        auto child = std::make_unique<ChildProcess>(std::vector<std::string>{"/bin/true"});
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
