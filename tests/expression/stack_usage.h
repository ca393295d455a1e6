// Test helper: how many bytes of stack a piece of work touches, measured on
// a thread whose stack is painted first (Linux; sanitizers enlarge frames, so
// figures taken under them say little).
#ifndef EXPRCURVE_TESTS_STACK_USAGE_H
#define EXPRCURVE_TESTS_STACK_USAGE_H

#include <pthread.h>

#include <cstddef>
#include <cstdint>
#include <vector>

namespace stack_usage {

// SIZE_MAX when no thread could be started.
template <typename Work>
std::size_t stackBytesUsed(Work work, std::size_t size = std::size_t{1} << 20)
{
    std::vector<unsigned char> stack(size, 0xA5);
    pthread_attr_t attributes;
    pthread_attr_init(&attributes);
    pthread_attr_setstack(&attributes, stack.data(), size);
    pthread_t thread;
    auto run = [](void* argument) -> void* {
        (*static_cast<Work*>(argument))();
        return nullptr;
    };
    const bool started = pthread_create(&thread, &attributes, run, &work) == 0;
    if (started)
        pthread_join(thread, nullptr);
    pthread_attr_destroy(&attributes);
    if (!started)
        return SIZE_MAX;
    std::size_t untouched = 0;
    while (untouched < size && stack[untouched] == 0xA5)
        ++untouched;
    return size - untouched;
}

}  // namespace stack_usage

#endif  // EXPRCURVE_TESTS_STACK_USAGE_H
