#pragma once

/// Texts for a person at a terminal.
const char* helpText();
const char* versionText();
