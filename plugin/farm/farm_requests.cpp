#include "net/farm_protocol.h"
#include "render/job_state.h"
#include "support/message_pump.h"
#include "support/number_text.h"

#include <max/maxscript/exceptions.h>

#include <boost/lexical_cast.hpp>

#include <stdexcept>
#include <string_view>

namespace {

namespace request = corrivane::request;
using quorvel::win32::simple_socket;
using quorvel::win32::simple_socket_error;

constexpr int reply_timeout_ms = 1000;

/// Runs an exchange with the worker; a socket failure in it is the script's error.
template <typename Exchange>
auto exchange_for(const char* operation, Exchange exchange) {
    try {
        return exchange();
    } catch (const simple_socket_error& error) {
        throw RuntimeError((std::string("Error in ") + operation + ": " + error.what()).c_str());
    }
}

std::string ask(simple_socket& socket, const std::string& text) {
    socket.send(text);
    return socket.receive(reply_timeout_ms);
}

/// The value that the worker answers; std::invalid_argument with the given text when it has none.
std::string ask_for_value(const char* operation, simple_socket& socket, const std::string& text,
                          const std::string& not_found) {
    pump_messages();
    const std::string reply = exchange_for(operation, [&] { return ask(socket, text); });
    if (!reply.starts_with(corrivane::reply::success_value)) throw std::invalid_argument(not_found);
    return reply.substr(corrivane::reply::success_value.size());
}

std::string no_such_key(const std::string& key) {
    return "Key " + key + " doesn't exist";
}

}  // namespace

void JobState::SetTitle(const std::string& title, simple_socket& socket) {
    pump_messages();
    exchange_for("SetTitle", [&] { socket.send(request::text(request::set_title, title)); });
}

void JobState::LogMessage(const std::string& text, simple_socket& socket) {
    exchange_for("LogMessage", [&] { socket.send(request::text(request::log_line, text)); });
}

bool JobState::SetProgress(float percent, simple_socket& socket) {
    pump_messages();
    const std::string text = request::text(request::progress, float_text(percent));
    return exchange_for("SetProgress", [&] { return ask(socket, text); }) == corrivane::continue_word;
}

std::string JobState::GetJobInfoEntry(const std::string& key, simple_socket& socket) {
    return ask_for_value("GetJobInfoEntry", socket, request::text(request::get_job_info_entry, key),
                         no_such_key(key));
}

std::string JobState::GetSubmitInfoEntry(const std::string& key, simple_socket& socket) {
    return ask_for_value("GetSubmitInfoEntry", socket, request::text(request::get_submit_info_entry, key),
                         no_such_key(key));
}

int JobState::GetSubmitInfoEntryElementCount(const std::string& key, simple_socket& socket) {
    return boost::lexical_cast<int>(
        ask_for_value("GetSubmitInfoEntryElementCount", socket,
                      request::text(request::get_submit_info_entry_element_count, key), no_such_key(key)));
}

std::string JobState::GetSubmitInfoEntryElement(int index, const std::string& key, simple_socket& socket) {
    return ask_for_value(
        "GetSubmitInfoEntryElement", socket,
        request::text(request::get_submit_info_entry_element, std::to_string(index) + "," + key),
        no_such_key(key));
}

std::string JobState::GetAuxFilename(int index, simple_socket& socket) {
    return ask_for_value("GetAuxFilename", socket,
                         request::text(request::get_aux_file, std::to_string(index)),
                         "Aux file requested doesn't exist");
}
