#include "plugin/plugin_test.h"

#include "farm/daemon_session.h"
#include "maxscript/machine/heap.h"
#include "support/log.h"

#include <algorithm>

namespace corrivane::test {

namespace {

/// Ends the object and makes it anew, as an unload and a load of the library do.
template <typename Object>
void reload(Object& object) {
    std::destroy_at(&object);
    std::construct_at(&object);
}

}  // namespace

ValueLocalsFrame* current_locals_frame() {
    const auto* block = static_cast<MAXScriptThreadLocals*>(TlsGetValue(thread_locals_index));
    return block == nullptr ? nullptr : block->current_locals_frame;
}

ScriptTest::ScriptTest() : m_runtime(host::RuntimeOptions{.listener_to_stdout = false}) {
    fake_max() = FakeMax();
    host::set_listener([this](std::string_view text) { m_listener += text; });
    host::set_gc_stress(true);
}

ScriptTest::~ScriptTest() {
    EXPECT_EQ(current_locals_frame(), nullptr) << "a frame was left in the chain";
    host::set_gc_stress(false);
    host::set_listener({});
}

void ScriptTest::define(const std::string& name, std::function<Value*()> function) {
    host::define_function(name, [function = std::move(function)](host::Arguments&) { return function(); });
}

PluginTest::PluginTest() {
    std::filesystem::create_directories(m_drive_c.path() / "Quillane/logs");
    reload(connect_log);
    reload(job_state);
}

PluginTest::~PluginTest() {
    session_socket.close(true);
    daemon_running = false;
}

std::string PluginTest::log() const {
    std::string text;
    for (const std::string& line : read_lines(on_disk("Quillane\\logs\\3dsmaxConnect.log")))
        text += line + '\n';
    return text;
}

std::string PluginTest::on_disk(std::string name) const {
    std::ranges::replace(name, '\\', '/');
    return (m_drive_c.path() / name).string();
}

Texts Link::sent() {
    constexpr const char* end = "(end of what was sent)";
    if (socket.is_connected()) socket.send(end);
    return worker.receive_all(end);
}

std::string with_last_report(const std::string& error) {
    return error + "\n" + job_state.GetLastExceptionReport();
}

}  // namespace corrivane::test
