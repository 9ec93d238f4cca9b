#pragma once

#include <QColor>

// The frame's colours as the C++ side needs them; Theme.qml holds the same.
namespace ShellColors {

inline QColor accentColor() {
    return QColor::fromRgbF(140 / 256.0, 213 / 256.0, 242 / 256.0);
}
inline QColor buttonColor() {
    return QColor::fromRgbF(56 / 256.0, 158 / 256.0, 170 / 256.0);
}
inline QColor lightGray() {
    return QColor::fromRgbF(2 / 3.0, 2 / 3.0, 2 / 3.0);
}
inline QColor darkGray() {
    return QColor::fromRgbF(1 / 3.0, 1 / 3.0, 1 / 3.0);
}

}  // namespace ShellColors
