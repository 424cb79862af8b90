// The C++ runtime's account of the thread's exceptions, as the Itanium C++ ABI lays it out. A call that ends by a
// fault never ends its catch blocks, so the account is set back by hand.
#pragma once

#include <cxxabi.h>

namespace system_detail {

struct CppExceptions {
    void* caught;
    unsigned uncaught;
};

inline CppExceptions& cpp_exceptions() {
    return *reinterpret_cast<CppExceptions*>(abi::__cxa_get_globals());
}

}  // namespace system_detail
