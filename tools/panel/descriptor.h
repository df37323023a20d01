// Owner of a file descriptor.
#ifndef BRENHOLT_TOOLS_PANEL_DESCRIPTOR_H
#define BRENHOLT_TOOLS_PANEL_DESCRIPTOR_H

#include <unistd.h>

#include <utility>

namespace tavrin {

class Descriptor {
 public:
    Descriptor() = default;
    explicit Descriptor(int value) : value_(value) {}
    Descriptor(Descriptor&& other) noexcept : value_(std::exchange(other.value_, -1)) {}
    Descriptor& operator=(Descriptor&& other) noexcept {
        std::swap(value_, other.value_);
        return *this;
    }
    ~Descriptor() {
        if (value_ >= 0) {
            close(value_);
        }
    }

    int get() const { return value_; }
    int release() { return std::exchange(value_, -1); }
    explicit operator bool() const { return value_ >= 0; }

 private:
    int value_ = -1;
};

}  // namespace tavrin

#endif
