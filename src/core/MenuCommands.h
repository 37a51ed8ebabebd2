#pragma once

#include "core/Companion.h"
#include "presence/ContextMenu.h"

// What the entries of the context menu and a saved settings window do. Threads: window thread only.

/// What the menu is to show now.
MenuState menuState(const Companion& companion);

/// Carries out an entry.
void carryOut(Companion& companion, MenuCommand command);
