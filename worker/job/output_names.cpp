#include "worker/job/output_names.h"

#include "images/image_formats.h"
#include "images/numbered_name.h"

#include <algorithm>
#include <stdexcept>

namespace corrivane::worker {
namespace {

constexpr std::string_view separators = "\\/:";
constexpr std::size_t plugin_digits = 4;

/// A single # is a character like others, except where the number would stand.
bool is_number_place(std::size_t begin, std::size_t end, std::size_t stem_end) {
    return end - begin > 1 || end == stem_end;
}

}  // namespace

std::string without_number_place(const std::string& name) {
    const std::size_t element = folder_of_name(name).size();
    const std::size_t stem_end = name.size() - name_extension(name).size();
    for (std::size_t begin = name.find('#', element); begin < stem_end;) {
        const std::size_t end = std::min(name.find_first_not_of('#', begin), name.size());
        if (is_number_place(begin, end, stem_end)) {
            const std::string rest = name.substr(0, begin) + name.substr(end, stem_end - end);
            const std::string extension = name.substr(stem_end);
            if (end == stem_end && end - begin == plugin_digits) return rest + extension;
            throw std::invalid_argument('"' + name +
                                        "\": frames are numbered with four digits in front of the "
                                        "extension; write \"" +
                                        rest + std::string(plugin_digits, '#') + extension + "\", or \"" +
                                        rest + extension + '"');
        }
        begin = name.find('#', end);
    }
    return name;
}

std::string frame_file_name(const std::string& name, int frame, const JobOptions& options) {
    if (options.remove_padding) return name;
    // The sum wraps as 32-bit numbers do.
    return numbered_name(name, static_cast<int>(static_cast<unsigned>(frame) +
                                                static_cast<unsigned>(options.frame_base.value_or(0))));
}

std::string_view folder_of_name(std::string_view name) {
    return name.substr(0, name.find_last_of(separators) + 1);
}

std::string moved_to_folder(const std::string& folder, std::string_view name) {
    const std::string_view element = name.substr(folder_of_name(name).size());
    if (separators.find(folder.back()) != std::string_view::npos) return folder + std::string(element);
    const bool is_windows = folder.find('/') == std::string::npos;
    return folder + (is_windows ? '\\' : '/') + std::string(element);
}

}  // namespace corrivane::worker
