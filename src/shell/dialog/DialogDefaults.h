#pragma once

// The scale factors of every dialog, read when a dialog is built, so a change
// here reaches the dialogs built after it and none already standing.
namespace DialogDefaults {

inline double spacingRatio = 0.012;
inline double titleFontSizeRatio = 0.0275;
inline double messageFontSizeRatio = 0.0225;
// In points, not a ratio.
inline double separatorHeight = 0.7;
inline double buttonStackWidthRatio = 0.65;
inline double buttonHeightRatio = 0.07;
inline double cancelButtonHeightRatio = 0.0449;
inline double defaultWidthRatio = 0.75;

}  // namespace DialogDefaults
