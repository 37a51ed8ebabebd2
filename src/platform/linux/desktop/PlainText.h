#pragma once

#include <QString>
#include <string>

/// A text for a control that would take an "&" in it as the mark of a key.
inline QString withoutMnemonics(const std::string& text) {
    return QString::fromStdString(text).replace('&', "&&");
}
