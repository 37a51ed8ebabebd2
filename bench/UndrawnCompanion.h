#pragma once

class Companion;

/// Creates the companion's window and menu, with a renderer that draws nothing, so that its loop can run
/// alone.
void openUndrawn(Companion& companion);
