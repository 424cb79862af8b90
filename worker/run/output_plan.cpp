#include "worker/run/output_plan.h"

#include "images/image_formats.h"
#include "worker/job/output_names.h"

#include <system/drive_map.h>

#include <algorithm>
#include <sstream>

namespace corrivane::worker {
namespace {

using Kind = ImageFile::Kind;

ImageFile unchecked_file(std::string name, Kind kind) {
    ImageFile file;
    file.path = native_path(name).path;
    file.name = std::move(name);
    file.kind = kind;
    return file;
}

std::size_t folder_length(std::string_view name) {
    const auto separator = name.find_last_of("\\/:");
    return separator == std::string_view::npos ? 0 : separator + 1;
}

std::string alpha_name(const std::string& name) {
    const auto length = folder_length(name);
    return name.substr(0, length) + "A_" + name.substr(length);
}

std::string preview_name(const std::string& folder, const std::string& output) {
    std::string name = output.substr(folder_length(output));
    name = name.substr(0, name.size() - name_extension(name).size()) + ".jpg";
    const bool is_separated = folder.ends_with('\\') || folder.ends_with('/');
    return folder + (is_separated ? "" : "\\") + name;
}

/// A region that lies within the image is saved in its own size.
void use_region(const std::optional<Region>& region, OutputPlan& plan) {
    if (!region) return;
    const bool is_inside =
        region->left >= 0 && region->top >= 0 && region->right <= plan.width && region->bottom <= plan.height;
    plan.width = is_inside ? region->right - region->left : 0;
    plan.height = is_inside ? region->bottom - region->top : 0;
}

}  // namespace

OutputPlan make_output_plan(std::string_view lines, const Job& job) {
    OutputPlan plan;
    std::istringstream text{std::string(lines)};
    for (std::string line; std::getline(text, line);) {
        const auto blank = line.find(' ');
        const std::string word = line.substr(0, blank);
        const std::string rest = blank == std::string::npos ? "" : line.substr(blank + 1);
        if (word == "skip") plan.skips_frames = true;
        if (word == "main") plan.output = rest;
        if (word == "element") plan.elements.push_back(rest);
        if (word == "size") std::istringstream(rest) >> plan.width >> plan.height;
    }
    if (plan.output && job.output) plan.output = job.output;
    use_region(job.options.region, plan);
    return plan;
}

OutputPlan make_output_plan_of_name(const std::optional<std::string>& scene_output, const Job& job) {
    OutputPlan plan;
    plan.output = job.output ? job.output : scene_output;
    if (plan.output && plan.output->empty()) plan.output.reset();
    return plan;
}

std::vector<ImageFile> OutputPlan::files_of(int frame, const JobOptions& options) const {
    std::vector<ImageFile> files;
    const auto add = [&](const std::string& base, Kind kind) {
        const std::string name = frame_file_name(base, frame, options);
        files.push_back(unchecked_file(name, kind));
        if (options.alpha_split) files.push_back(unchecked_file(alpha_name(name), Kind::alpha));
        return name;
    };
    if (output) {
        const std::string name = add(*output, Kind::output);
        if (options.jpeg_preview && !options.region)
            files.push_back(unchecked_file(preview_name(*options.jpeg_preview, name), Kind::preview));
    }
    for (const std::string& element : elements)
        add(element, Kind::element);
    return files;
}

std::vector<ImageFile> files_of_names(const std::vector<std::string>& names,
                                      const std::vector<ImageFile>& planned) {
    std::vector<ImageFile> files;
    for (const std::string& name : names) {
        const auto known = std::ranges::find(planned, name, &ImageFile::name);
        files.push_back(known != planned.end() ? *known : unchecked_file(name, Kind::output));
    }
    for (const ImageFile& file : planned)
        if (file.kind == Kind::preview) files.push_back(file);
    return files;
}

}  // namespace corrivane::worker
