#pragma once

class Companion;

/// Gives the companion its window on the display, with a renderer that draws nothing, so that its loop can be
/// run by itself.
void openUndrawn(Companion& companion);
