#pragma once

// The agent's log goes through Qt's logging categories ("sweepwell.<part>"),
// so that QT_LOGGING_RULES can tune it like any Qt program's; the core's
// lines reach them through its sink. Debug lines only with SWEEPWELL_LOG=debug.
namespace composition {

void installLogging();

}  // namespace composition
