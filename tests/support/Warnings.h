#pragma once

#include <string>
#include <vector>

#include "platform/Log.h"

namespace testsupport {

// The warnings logged while it lives, each as "category: message". Only for
// tests that log from one thread at a time.
struct Warnings {
    std::vector<std::string> lines;
    platform::Log::Sink previous = platform::Log::setSink(
        [this](platform::Log::Level level, std::string_view category, std::string_view message) {
            if (level == platform::Log::Level::Warning) {
                lines.push_back(std::string(category) + ": " + std::string(message));
            }
        });
    ~Warnings() { platform::Log::setSink(std::move(previous)); }
};

}  // namespace testsupport
