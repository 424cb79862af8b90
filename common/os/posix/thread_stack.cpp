#include "os/thread_stack.h"

#include <pthread.h>

namespace corrivane {

ThreadStack thread_stack() {
    pthread_attr_t attributes;
    if (pthread_getattr_np(pthread_self(), &attributes) != 0) return {};
    void* lowest = nullptr;
    ThreadStack stack;
    pthread_attr_getstack(&attributes, &lowest, &stack.bytes);
    pthread_attr_destroy(&attributes);
    stack.lowest = reinterpret_cast<std::uintptr_t>(lowest);
    return stack;
}

}  // namespace corrivane
