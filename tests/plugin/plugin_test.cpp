#include "plugin/plugin_test.h"

#include "fakes/fake_max.h"
#include "fakes/fake_scripts.h"
#include "farm/daemon_session.h"
#include "support/log.h"

#include <system/drive_map.h>

#include <algorithm>
#include <memory>

namespace corrivane::test {

namespace {

/// Ends the object and makes it anew, as an unload and a load of the library do.
template <typename Object>
void reload(Object& object) {
    std::destroy_at(&object);
    std::construct_at(&object);
}

}  // namespace

PluginTest::PluginTest() {
    std::filesystem::create_directories(m_drive_c.path() / "Quillane/logs");
    map_drive('C', m_drive_c.path());
    fake_max() = FakeMax();
    reset_fake_scripts();
    reload(connect_log);
    reload(job_state);
}

PluginTest::~PluginTest() {
    session_socket.close(true);
    daemon_running = false;
    reset_fake_scripts();
    clear_drive_map();
}

std::string PluginTest::log() const {
    return read_file(on_disk("Quillane\\logs\\3dsmaxConnect.log"));
}

std::string PluginTest::on_disk(std::string name) const {
    std::ranges::replace(name, '\\', '/');
    return m_drive_c / name;
}

std::vector<std::string> Link::sent() {
    constexpr const char* end = "(end of what was sent)";
    if (socket.is_connected()) socket.send(end);
    return worker.receive_all(end);
}

std::string with_last_report(const std::string& error) {
    return error + "\n" + job_state.GetLastExceptionReport();
}

std::vector<std::string> run_command(Link& link, const std::string& line) {
    job_state.ProcessCommand(line, link.socket);
    return link.sent();
}

}  // namespace corrivane::test
