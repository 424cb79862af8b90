#include "worker/views/frame_files.h"

#include "worker/base/printable.h"

namespace corrivane::worker {

std::vector<ImageFile> frame_files(const FrameOutcome& outcome) {
    std::vector<ImageFile> files = outcome.images;
    if (files.empty() && outcome.files)
        for (const std::string& name : *outcome.files)
            files.emplace_back().name = name;
    return files;
}

const char* name_of(ImageFile::Kind kind) {
    constexpr const char* names[] = {"output", "element", "alpha", "preview"};
    return names[static_cast<int>(kind)];
}

const char* name_of(ImageFile::State state) {
    constexpr const char* names[] = {"verified", "failed", "unchecked"};
    return names[static_cast<int>(state)];
}

std::string files_text(const FrameOutcome& outcome) {
    const std::vector<ImageFile> files = frame_files(outcome);
    if (files.empty() && !outcome.files) return ", its files are not known";
    if (files.empty()) return outcome.skipped ? "" : ", no file written (skipped, or the scene saves none)";
    std::string text;
    for (const ImageFile& file : files) {
        text += text.empty() ? ": " : ", ";
        if (file.kind == ImageFile::Kind::preview) text += "preview ";
        text += printable(file.name);
    }
    return text;
}

}  // namespace corrivane::worker
