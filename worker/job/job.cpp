#include "worker/job/job.h"

#include "net/farm_protocol.h"

#include <boost/algorithm/string/join.hpp>

#include <stdexcept>

namespace corrivane::worker {
namespace {

/// Far beyond any image, and small enough that the plug-in's sums of coordinates and padding stay within
/// 32 bits.
constexpr int max_coordinate = 1 << 20;

void check_region(const Region& region) {
    for (const int value : {region.left, region.top, region.right, region.bottom, region.padding})
        if (value < -max_coordinate || value > max_coordinate)
            throw std::invalid_argument("region: " + std::to_string(value) + " is out of range");
    if (region.right <= region.left || region.bottom <= region.top)
        throw std::invalid_argument("region: right and bottom must be greater than left and top");
    if (region.padding < 0) throw std::invalid_argument("region: the padding must not be negative");
}

void check_black_frame(const BlackFrameCheck& check) {
    if (check.percentage < 0 || check.percentage > 100)
        throw std::invalid_argument("black-frame check: the percentage must be from 0 to 100");
    if (!(check.threshold >= 0 && check.threshold <= 1))
        throw std::invalid_argument("black-frame check: the threshold must be from 0 to 1");
}

/// The worker answers a request for a value with "SUCCESS: " and the value in one message.
void check_value(const std::string& what, const std::string& value) {
    if (value.find('\0') != std::string::npos) throw std::invalid_argument(what + " holds a NUL character");
    if (value.size() > max_sent_payload - reply::success_value.size())
        throw std::invalid_argument(what + " is too long for one message (" + std::to_string(value.size()) +
                                    " bytes)");
}

void check_values(const Job& job) {
    for (const auto& [key, value] : job.job_info)
        check_value("job information \"" + key + "\"", value);
    for (const auto& [key, elements] : job.submit_info)
        check_value("submission information \"" + key + "\"", submit_value(elements));
    for (const std::string& file : job.aux_files)
        check_value("auxiliary file", file);
}

}  // namespace

std::string submit_value(const std::vector<std::string>& elements) {
    return boost::algorithm::join(elements, ",");
}

void check_job(const Job& job) {
    if (job.scene.empty()) throw std::invalid_argument("the job names no scene");
    if (job.frames.empty()) throw std::invalid_argument("the job names no frames");
    if (job.options.remove_padding && job.frames.size() > 1)
        throw std::invalid_argument(
            "without numbers in the file names, all frames would be written to one file: "
            "removing the padding takes a job of one frame");
    if (job.options.region) check_region(*job.options.region);
    if (job.options.fail_on_black) check_black_frame(*job.options.fail_on_black);
    check_values(job);
}

}  // namespace corrivane::worker
