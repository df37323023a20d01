// How much of a campaign a test runs.
#ifndef BRENHOLT_TESTS_SUPPORT_SCALE_H
#define BRENHOLT_TESTS_SUPPORT_SCALE_H

#include <algorithm>
#include <cstdlib>

namespace brenholt {

#ifdef BRENHOLT_SANITIZED
inline constexpr bool kSanitized = true;
#else
inline constexpr bool kSanitized = false;
#endif

// `rounds`, times what BRENHOLT_CAMPAIGN says; a part of it under a sanitizer, where each costs
// more.
inline int Scaled(int rounds, int partWhenSanitized = 5) {
    const char* factor = std::getenv("BRENHOLT_CAMPAIGN");
    return std::max(rounds / (kSanitized ? partWhenSanitized : 1), 1) *
           (factor != nullptr ? std::max(std::atoi(factor), 1) : 1);
}

}  // namespace brenholt

#endif
