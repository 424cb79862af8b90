#include "system/posix/utc_offset.h"

#include "system/posix/guard_chain.h"

#include <atomic>
#include <ctime>

namespace system_detail {

namespace {

std::atomic<std::int64_t> remembered_offset{0};

}  // namespace

void remember_utc_offset() {
    const std::time_t now = std::time(nullptr);
    std::tm local;
    if (localtime_r(&now, &local) != nullptr) remembered_offset = local.tm_gmtoff;
}

std::int64_t utc_offset_seconds() {
    if (!in_filter()) remember_utc_offset();
    return remembered_offset;
}

}  // namespace system_detail
