#pragma once

#include "core/Companion.h"
#include "presence/ContextMenu.h"

// The actions of the context menu and of a saved settings window. Threads: window thread only.

/// Returns what the menu shows now.
MenuState menuState(const Companion& companion);

/// Carries out an entry of the menu.
void carryOut(Companion& companion, MenuCommand command);
