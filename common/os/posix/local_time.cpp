#include "os/local_time.h"

namespace corrivane {

std::tm local_time(std::time_t seconds) {
    std::tm local{};
    localtime_r(&seconds, &local);
    return local;
}

}  // namespace corrivane
