#pragma once

#include <cstddef>
#include <string>
#include <string_view>

/// The words of the farm link, shared by both ends: the plug-in (client) and the farm's worker (server).
/// Every message is one frame: its length as a big-endian 32-bit number, then that many 8-bit characters.
namespace corrivane {

/// What a frame may hold. The sender counts its 4 length bytes against the limit, the receiver does not.
inline constexpr std::size_t max_sent_payload = 99996;
inline constexpr std::size_t max_received_payload = 100000;

/// The worker's answer to the plug-in's token; the plug-in's greeting (its version) follows.
inline constexpr std::string_view handshake_word = "QuillaneStartup";
/// How the greeting begins: the version and the build stamp follow, separated by single blanks.
inline constexpr std::string_view greeting_prefix = "Corrivane ";
/// What ends the greeting when the handshake word was a wrong one.
inline constexpr std::string_view incompatible_note = "   Incompatible plugin versions detected, exiting.";

/// Replies of the plug-in to a command.
namespace reply {
inline constexpr std::string_view started = "STARTED";
inline constexpr std::string_view success = "SUCCESS";
/// StartJob: the description of the output follows.
inline constexpr std::string_view success_description = "SUCCESS ";
/// ExecuteStringScript: the script's text follows. Also the worker's answer to a value request: the
/// value follows.
inline constexpr std::string_view success_value = "SUCCESS: ";
inline constexpr std::string_view error = "ERROR: ";
/// The one error whose text follows without a blank.
inline constexpr std::string_view maxscript_error = "ERROR: Maxscript exception:";
/// RenderTask's last word on a frame that failed, whatever error came before it.
inline constexpr std::string_view frame_failed = "ERROR: Failed to save file.";
}  // namespace reply

/// What lets a render go on, in answer to a PROGRESS request. Any other answer stops it.
inline constexpr std::string_view continue_word = "CONTINUE";

/// Requests of the plug-in to the worker while a command runs. The argument follows the prefix as it is: a
/// text, a key, an index, or for an element the index, a comma and the key.
namespace request {
inline constexpr std::string_view prefix = "FUNCTION: ";
inline constexpr std::string_view set_title = "FUNCTION: SETTITLE ";
inline constexpr std::string_view log_line = "FUNCTION: STDOUT: ";
inline constexpr std::string_view progress = "FUNCTION: PROGRESS ";
/// A render whose progress is not known, or not known yet.
inline constexpr std::string_view progress_unknown = "FUNCTION: PROGRESS -1";
inline constexpr std::string_view get_job_info_entry = "FUNCTION: GETJOBINFOENTRY ";
inline constexpr std::string_view get_submit_info_entry = "FUNCTION: GETSUBMITINFOENTRY ";
inline constexpr std::string_view get_submit_info_entry_element_count =
    "FUNCTION: GETSUBMITINFOENTRYELEMENTCOUNT ";
inline constexpr std::string_view get_submit_info_entry_element = "FUNCTION: GETSUBMITINFOENTRYELEMENT ";
inline constexpr std::string_view get_aux_file = "FUNCTION: GETAUXFILE ";

/// A request with its argument.
inline std::string text(std::string_view request_prefix, const std::string& argument) {
    return std::string(request_prefix).append(argument);
}
}  // namespace request

/// Names of the worker's commands: the first field of a command line.
namespace command {
inline constexpr std::string_view render_task = "RenderTask";
inline constexpr std::string_view start_job = "StartJob";
inline constexpr std::string_view end_job = "EndJob";
inline constexpr std::string_view frame_number_base = "FrameNumberBase";
inline constexpr std::string_view region_rendering = "RegionRendering";
inline constexpr std::string_view use_jpeg_output = "UseJpegOutput";
inline constexpr std::string_view fail_on_black_frames = "FailOnBlackFrames";
inline constexpr std::string_view execute_script = "ExecuteScript";
inline constexpr std::string_view execute_string_script = "ExecuteStringScript";
inline constexpr std::string_view output_image_filename = "OutputImageFilename";
inline constexpr std::string_view restart_renderer_mode = "RestartRendererMode";
inline constexpr std::string_view hide_frame_buffer = "HideFrameBuffer";
inline constexpr std::string_view ignore_missing_external_files = "IgnoreMissingExternalFiles";
inline constexpr std::string_view ignore_missing_uvws = "IgnoreMissingUVWs";
inline constexpr std::string_view ignore_missing_dlls = "IgnoreMissingDLLs";
inline constexpr std::string_view ignore_missing_xrefs = "IgnoreMissingXREFs";
inline constexpr std::string_view remove_padding = "RemovePadding";
inline constexpr std::string_view alpha_split = "AlphaSplit";
}  // namespace command

/// ExecuteScript's third parameter when the scene is to be moved to the frame's time first.
inline constexpr std::string_view set_time = "setTime";

}  // namespace corrivane
