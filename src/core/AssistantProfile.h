#pragma once

#include "assistant/UserProfile.h"
#include "foundation/Settings.h"

/// Returns the assistant's access to these settings, which must outlive it. Threads: any.
UserProfile assistantProfile(Settings& settings);
