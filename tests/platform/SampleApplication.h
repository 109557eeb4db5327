#pragma once

// Kept for the tests not yet switched to the shared maker.
#include "support/SampleBundle.h"
