#pragma once

#include <QColor>
#include <QString>

#include "DialogViewController.h"

// A notice in the app's own look: a card with a black title over `options`'
// text, and one filled button in the app's colour that only closes it; no
// blur, no separator. `options` brings the text, fonts, spacing and width;
// the notice sets the sizes every such card shares.
DialogViewController* makeNoticeDialog(DialogViewController::Options options,
                                       const QColor& messageColor, const QString& buttonTitle,
                                       qreal buttonCornerRadius);
