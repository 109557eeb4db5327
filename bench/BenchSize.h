#pragma once

#include <cstdlib>
#include <cstring>

// SWEEPWELL_BENCH_SMOKE=1 (set by `scripts/bench --smoke`) shrinks every
// benchmark to a size that runs in moments. Such a run checks that each
// benchmark still runs to its end and reports its figures; its times mean
// nothing.
inline bool isBenchSmokeRun() {
    const char* value = std::getenv("SWEEPWELL_BENCH_SMOKE");
    return value != nullptr && *value != '\0' && std::strcmp(value, "0") != 0;
}

// `full` in a real run, `smoke` in a smoke run.
template <typename T>
T benchSize(T full, T smoke) {
    return isBenchSmokeRun() ? smoke : full;
}
