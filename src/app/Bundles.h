#pragma once

#include <QList>
#include <QString>
#include <QUrl>

// Registers every screen bundle under its name. Call once before the window
// is made; a bundle left out opens a plain page with its name.
void registerBundles();

// The views the first frame of `bundle` shows (for ViewPreload); none for a
// bundle that only ever opens later.
QList<QUrl> firstViewsOf(const QString& bundle);
