// The frame for compilers that know __try and __except, on either processor.
#include "system/windows/guard.h"

namespace system_detail {

bool call_behind_guard(void (*call)(void*), void* argument, Guard& guard) {
    __try {
        call(argument);
    } __except (decide(guard, *static_cast<const EXCEPTION_POINTERS*>(_exception_info()))) {
        return false;
    }
    return true;
}

}  // namespace system_detail
