// The bytes that a fuzz target was given, and what its findings look like.
#ifndef BRENHOLT_FUZZ_INPUT_H
#define BRENHOLT_FUZZ_INPUT_H

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

namespace brenholt {

// Ends the process when an invariant does not hold: a finding.
inline void Require(bool holds, const char* invariant) {
    if (!holds) {
        std::fprintf(stderr, "not so: %s\n", invariant);
        std::abort();
    }
}

// Takes an input piece by piece; zeros and empty texts past its end.
class FuzzInput {
 public:
    FuzzInput(const uint8_t* data, size_t size)
        : m_rest(reinterpret_cast<const char*>(data), size) {}

    bool AtEnd() const { return m_rest.empty(); }
    uint8_t Byte() {
        const std::string byte = Text(1);
        return byte.empty() ? 0 : static_cast<uint8_t>(byte[0]);
    }
    std::string Text(size_t length) {
        std::string text = m_rest.substr(0, length);
        m_rest.erase(0, length);
        return text;
    }
    // Two bytes of length, the lower first, and as many bytes.
    std::string Counted() {
        const size_t low = Byte();
        return Text(low + 256U * Byte());
    }

 private:
    std::string m_rest;
};

}  // namespace brenholt

#endif
