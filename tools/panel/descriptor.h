// Owner of a file descriptor.
#ifndef BRENHOLT_TOOLS_PANEL_DESCRIPTOR_H
#define BRENHOLT_TOOLS_PANEL_DESCRIPTOR_H

#include <unistd.h>

#include <utility>

namespace tavrin {

class Descriptor {
 public:
    Descriptor() = default;
    explicit Descriptor(int value) : m_value(value) {}
    Descriptor(Descriptor&& other) noexcept : m_value(std::exchange(other.m_value, -1)) {}
    Descriptor& operator=(Descriptor&& other) noexcept {
        std::swap(m_value, other.m_value);
        return *this;
    }
    ~Descriptor() {
        if (m_value >= 0) {
            close(m_value);
        }
    }

    int get() const { return m_value; }
    int release() { return std::exchange(m_value, -1); }
    explicit operator bool() const { return m_value >= 0; }

 private:
    int m_value = -1;
};

}  // namespace tavrin

#endif
