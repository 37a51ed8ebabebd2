#pragma once

#include <QString>
#include <string>

/// Returns a text for a control that treats "&" as the mark of a shortcut key.
inline QString withoutMnemonics(const std::string& text) {
    return QString::fromStdString(text).replace('&', "&&");
}
