#pragma once

#include <functional>
#include <string_view>

// One line per failure a user would otherwise never learn of: the agent is
// silent on screen, so this is what the person who debugs it reads (standard
// error, which the session's journal keeps for autostarted programs).
// Warnings always; the normal events (applications seen, windows shown) only
// when SWEEPWELL_LOG=debug. The interface sets a sink of its own that goes
// through its logging categories; below it, nothing knows which.
namespace platform::Log {

enum class Level { Warning, Debug };

// Receives every line that is enabled; may be called from any thread.
using Sink = std::function<void(Level level, std::string_view category, std::string_view message)>;

// Installs the sink (null: standard error again) and answers the previous one.
Sink setSink(Sink sink);
// Whether lines of the level are written (Debug: SWEEPWELL_LOG=debug).
bool isEnabled(Level level);

void warning(std::string_view category, std::string_view message);
void debug(std::string_view category, std::string_view message);

}  // namespace platform::Log
