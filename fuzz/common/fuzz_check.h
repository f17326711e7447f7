#ifndef FUZZ_CHECK_H
#define FUZZ_CHECK_H

#include <cstdio>
#include <cstdlib>

// A property that failed is a finding like a crash: say which one, then abort so
// that libFuzzer keeps the input.
#define FUZZ_REQUIRE(condition, what)                                                       \
    do {                                                                                    \
        if (!(condition)) {                                                                 \
            std::fprintf(stderr, "property failed at %s:%d: %s (%s)\n", __FILE__, __LINE__, \
                         what, #condition);                                                 \
            std::abort();                                                                   \
        }                                                                                   \
    } while (0)

#endif
