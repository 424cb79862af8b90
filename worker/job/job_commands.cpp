#include "worker/job/job_commands.h"

#include "net/farm_protocol.h"
#include "worker/job/command_line_text.h"

#include <stdexcept>

namespace corrivane::worker {

std::string render_command(int frame) {
    return command_line(command::render_task, {std::to_string(frame)});
}

std::string script_command(int frame, const std::string& file, bool set_time) {
    std::vector<std::string> parameters{std::to_string(frame), file};
    if (set_time) parameters.emplace_back(corrivane::set_time);
    return command_line(command::execute_script, parameters);
}

std::string script_text_command(int frame, const std::string& script) {
    return command_line(command::execute_string_script, {std::to_string(frame), script});
}

std::string element_outputs_script(const std::vector<std::string>& names) {
    std::string calls;
    for (std::size_t i = 0; i < names.size(); ++i) {
        if (names[i].empty()) continue;
        if (names[i].find('"') != std::string::npos)
            throw std::invalid_argument('"' + names[i] + "\": an output name cannot hold a double quote");
        calls += "manager.SetRenderElementFilename " + std::to_string(i) + " @\"" + names[i] + "\"; ";
    }
    return calls.empty() ? "" : "(local manager = maxOps.GetCurRenderElementMgr(); " + calls + "\"\")";
}

}  // namespace corrivane::worker
