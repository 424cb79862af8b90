#include "farm/command_handlers.h"
#include "net/farm_protocol.h"
#include "support/log.h"

#include <algorithm>
#include <cstdint>
#include <limits>

namespace {

/// `Parameter 2, "x", is not a valid ` of the named command.
std::string not_valid(const Command& command, std::size_t number) {
    return command.fields.front() + ": Parameter " + std::to_string(number) + ", \"" +
           command.parameter(number) + "\", is not a valid ";
}

int saturated(std::int64_t value) {
    return static_cast<int>(
        std::clamp<std::int64_t>(value, std::numeric_limits<int>::min(), std::numeric_limits<int>::max()));
}

/// An edge of the region that the padding moved up or to the left: clipped at 0, and what was cut off noted.
void set_low_edge(int& edge, int& overflow, std::int64_t padded) {
    if (padded < 0) overflow = saturated(-padded);
    edge = saturated(std::max<std::int64_t>(padded, 0));
}

/// An edge of the region that the padding moved down or to the right: clipped at the image's size.
void set_high_edge(int& edge, int& overflow, std::int64_t padded, int limit) {
    if (padded > limit) overflow = saturated(padded - limit);
    edge = saturated(std::min<std::int64_t>(padded, limit));
}

/// The size of the image; known before the first job too.
Interface* render_settings(const JobState& job) {
    return job.coreInterface != nullptr ? job.coreInterface : GetCOREInterface();
}

void set_padding(JobState& job, int value) {
    job.regionPadding = value;
}

void set_left(JobState& job, int value) {
    set_low_edge(job.regionLeft, job.regionLeftOverflow, std::int64_t{value} - job.regionPadding);
}

void set_top(JobState& job, int value) {
    set_low_edge(job.regionTop, job.regionTopOverflow, std::int64_t{value} - job.regionPadding);
}

void set_right(JobState& job, int value) {
    set_high_edge(job.regionRight, job.regionRightOverflow, std::int64_t{value} + job.regionPadding,
                  render_settings(job)->GetRendWidth());
}

void set_bottom(JobState& job, int value) {
    set_high_edge(job.regionBottom, job.regionBottomOverflow, std::int64_t{value} + job.regionPadding,
                  render_settings(job)->GetRendHeight());
}

struct region_parameter {
    const char* name;
    void (*store)(JobState& job, int value);
};

constexpr region_parameter region_parameters[] = {
    {"Padding", set_padding}, {"Left", set_left},     {"Top", set_top},
    {"Right", set_right},     {"Bottom", set_bottom},
};

/// Switches a feature off because of its parameter count.
void log_wrong_count(const Command& command, int wanted) {
    connect_log.entry(command.fields.front(), ": requires ", wanted, " parameters, got ",
                      command.parameter_count(), ", setting to false");
}

void set_frame_number_base(Command& command) {
    if (command.parameter_count() != 1)
        return command.reply_error("FrameNumberBase: Expected 1 parameter, got " +
                                   std::to_string(command.parameter_count()));
    if (const std::optional<int> base = parse_integer(command.parameter(1)))
        command.job.frameNumberBase = *base;
    else
        command.reply_error(not_valid(command, 1) + "value for frame number base.");
}

void set_region_rendering(Command& command) {
    constexpr std::size_t count = std::size(region_parameters);
    if (command.parameter_count() != count)
        return command.reply_error("RegionRendering: Expected 5 parameters, got " +
                                   std::to_string(command.parameter_count()));
    command.job.regionRendering = true;
    for (std::size_t number = 1; number <= count; ++number) {
        const region_parameter& parameter = region_parameters[number - 1];
        const std::optional<int> value = parse_integer(command.parameter(number));
        if (!value)
            return command.reply_error(not_valid(command, number) + "value for " + parameter.name + ".");
        parameter.store(command.job, *value);
    }
}

void set_jpeg_output(Command& command) {
    command.job.useJpegOutput = command.parameter_count() == 1;
    if (command.job.useJpegOutput)
        command.job.jpegOutputPath = command.parameter(1);
    else
        log_wrong_count(command, 1);
}

void set_fail_on_black_frames(Command& command) {
    JobState& job = command.job;
    job.failOnBlackFrames = command.parameter_count() == 2;
    if (!job.failOnBlackFrames) return log_wrong_count(command, 2);

    if (const std::optional<int> percentage = parse_integer(command.parameter(1))) {
        job.blackFramePercentage = std::clamp(*percentage, 0, 100);
    } else {
        connect_log.entry(not_valid(command, 1), "percentage.");
        job.failOnBlackFrames = false;
    }
    if (const std::optional<float> threshold = parse_float(command.parameter(2))) {
        job.blackFrameThreshold = std::clamp(*threshold, 0.0F, 1.0F);
    } else {
        connect_log.entry(not_valid(command, 2), "threshold.");
        job.failOnBlackFrames = false;
    }
}

void set_output_image_filename(Command& command) {
    connect_log.entry("Setting output image filename");
    command.job.useOutputImageFilename = command.parameter_count() == 1;
    if (!command.job.useOutputImageFilename) return log_wrong_count(command, 1);
    command.job.outputImageFilename = command.parameter(1);
    connect_log.entry("Saving output to ", command.parameter(1));
}

template <bool JobState::*Flag, bool Value>
void set_switch(Command& command) {
    command.job.*Flag = Value;
}

namespace name = corrivane::command;

constexpr vocabulary_entry vocabulary[] = {
    {name::frame_number_base, set_frame_number_base},
    {name::region_rendering, set_region_rendering},
    {name::use_jpeg_output, set_jpeg_output},
    {name::fail_on_black_frames, set_fail_on_black_frames},
    {name::output_image_filename, set_output_image_filename},
    {name::restart_renderer_mode, set_switch<&JobState::restartRendererMode, true>},
    {name::hide_frame_buffer, set_switch<&JobState::showFrameBuffer, false>},
    {name::ignore_missing_external_files, set_switch<&JobState::ignoreMissingExternalFiles, true>},
    {name::ignore_missing_uvws, set_switch<&JobState::ignoreMissingUVWs, true>},
    {name::ignore_missing_dlls, set_switch<&JobState::ignoreMissingDLLs, true>},
    {name::ignore_missing_xrefs, set_switch<&JobState::ignoreMissingXREFs, true>},
    {name::remove_padding, set_switch<&JobState::removePadding, true>},
    {name::alpha_split, set_switch<&JobState::alphaSplit, true>},
};

}  // namespace

std::span<const vocabulary_entry> option_commands() {
    return vocabulary;
}
