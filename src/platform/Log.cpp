#include "platform/Log.h"

#include <cstdio>
#include <cstdlib>
#include <mutex>
#include <string>
#include <utility>

namespace platform::Log {

namespace {

std::mutex& sinkLock() {
    static std::mutex lock;
    return lock;
}

Sink& installed() {
    static Sink sink;
    return sink;
}

void toStandardError(Level level, std::string_view category, std::string_view message) {
    std::fprintf(stderr, "sweepwell-helper %s %.*s: %.*s\n",
                 level == Level::Warning ? "warning" : "debug", static_cast<int>(category.size()),
                 category.data(), static_cast<int>(message.size()), message.data());
}

void write(Level level, std::string_view category, std::string_view message) {
    if (!isEnabled(level)) return;
    const std::lock_guard<std::mutex> guard(sinkLock());
    if (const Sink& sink = installed()) {
        sink(level, category, message);
    } else {
        toStandardError(level, category, message);
    }
}

}  // namespace

Sink setSink(Sink sink) {
    const std::lock_guard<std::mutex> guard(sinkLock());
    return std::exchange(installed(), std::move(sink));
}

bool isEnabled(Level level) {
    if (level == Level::Warning) return true;
    static const bool debugging = [] {
        const char* value = std::getenv("SWEEPWELL_LOG");
        return value != nullptr && std::string_view(value) == "debug";
    }();
    return debugging;
}

void warning(std::string_view category, std::string_view message) {
    write(Level::Warning, category, message);
}

void debug(std::string_view category, std::string_view message) {
    write(Level::Debug, category, message);
}

}  // namespace platform::Log
