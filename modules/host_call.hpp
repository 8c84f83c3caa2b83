// System calls, repeated when a signal interrupted them before anything was done, and descriptors that close
// themselves.
#pragma once

#include <cerrno>
#include <unistd.h>

namespace kmr::plain {

template <typename Call>
auto retried(Call call) {
    auto result = call();
    while (result < 0 && errno == EINTR)
        result = call();
    return result;
}

class host_descriptor {
public:
    explicit host_descriptor(int descriptor) : descriptor_(descriptor) {}
    ~host_descriptor() {
        if (descriptor_ >= 0)
            close(descriptor_);
    }
    host_descriptor(const host_descriptor&) = delete;
    host_descriptor& operator=(const host_descriptor&) = delete;

    int number() const { return descriptor_; }

private:
    int descriptor_;
};

} // namespace kmr::plain
