#pragma once

#include <string>

#include "platform/BundleTrust.h"

namespace platform::Workspace {

// Opens the URL with the user's preferred application (xdg-open, found on
// PATH) and returns at once, without waiting for it. False when the URL is
// empty or starts with "-", or no opener could be started; nothing is reported.
bool openURL(const std::string& url);
// The same with the opener looked up in `searchPath` (":"-separated folders):
// the first one there that `trust` lets us start.
bool openURL(const std::string& url, const std::string& searchPath,
             const BundleTrust& trust = BundleTrust());

}  // namespace platform::Workspace
