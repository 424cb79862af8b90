#include "worker/run/file_check.h"

#include "images/image_module.h"

#include <system/drive_map.h>

#include <sys/stat.h>

#include <cerrno>
#include <cstring>
#include <stdexcept>

namespace corrivane::worker {
namespace {

std::int64_t nanoseconds(const timespec& time) {
    return std::int64_t{time.tv_sec} * 1'000'000'000 + time.tv_nsec;
}

std::string size_text(int width, int height) {
    return std::to_string(width) + 'x' + std::to_string(height) + " pixels";
}

void check_size(const ImageFacts& facts, const Expectation& expectation) {
    if (expectation.width == 0) return;
    if (facts.width != expectation.width || facts.height != expectation.height)
        throw std::runtime_error("it has " + size_text(facts.width, facts.height) + " instead of " +
                                 size_text(expectation.width, expectation.height));
}

/// The writer gives every image an alpha channel where the format has one, except where it puts the alpha into a file
/// of its own.
void check_channels(const ImageFacts& facts, const ImageFile& file) {
    const ImageFormat* const format = find_image_format(file.name);
    if (format == nullptr) return;
    const bool is_alpha = file.kind == ImageFile::Kind::alpha;
    const int most = is_alpha ? 1 : format->has_alpha ? 4 : 3;
    const int least = format->splits_alpha && !is_alpha ? 3 : most;
    if (facts.channels < least || facts.channels > most)
        throw std::runtime_error("it has " + std::to_string(facts.channels) + " channels instead of " +
                                 std::to_string(most));
}

/// Throws std::runtime_error with what is wrong.
void check_file(ImageFile& file, const Expectation& expectation) {
    if (file.path.empty()) throw std::runtime_error("it is on no drive or share of this machine");
    const auto identity = identity_of(file.path);
    if (!identity) throw std::runtime_error("it is not there (" + file.path + ')');
    file.bytes = identity->bytes;
    if (identity->bytes == 0) throw std::runtime_error("it is empty");
    const auto before = expectation.before.find(file.path);
    if (before != expectation.before.end() && before->second == identity)
        throw std::runtime_error("it is an older one, which the frame did not write");
    const ImageLook look = expectation.verify == Verify::full ? ImageLook::every_pixel : ImageLook::ends;
    const ImageFacts facts = verify_image_file(file.path, look);
    if (file.kind == ImageFile::Kind::preview) return;
    check_size(facts, expectation);
    check_channels(facts, file);
}

}  // namespace

std::optional<FileIdentity> identity_of(const std::string& path) {
    struct stat status;
    if (::stat(path.c_str(), &status) != 0 || !S_ISREG(status.st_mode)) return std::nullopt;
    return FileIdentity{status.st_dev, status.st_ino, static_cast<std::uint64_t>(status.st_size),
                        nanoseconds(status.st_mtim), nanoseconds(status.st_ctim)};
}

Snapshot snapshot_of(const std::vector<ImageFile>& files) {
    Snapshot snapshot;
    for (const ImageFile& file : files)
        snapshot[file.path] = identity_of(file.path);
    return snapshot;
}

void check_files(std::vector<ImageFile>& files, const Expectation& expectation) {
    if (expectation.verify == Verify::off) return;
    for (ImageFile& file : files) {
        try {
            check_file(file, expectation);
            file.state = ImageFile::State::verified;
            file.problem.clear();
        } catch (const std::exception& error) {
            file.state = ImageFile::State::failed;
            file.problem = error.what();
        }
    }
}

std::string problems_of(const std::vector<ImageFile>& files) {
    std::string problems;
    for (const ImageFile& file : files)
        if (file.state == ImageFile::State::failed && file.kind != ImageFile::Kind::preview)
            problems +=
                (problems.empty() ? "" : "\n") + ("The output file \"" + file.name + "\": " + file.problem);
    return problems;
}

}  // namespace corrivane::worker
