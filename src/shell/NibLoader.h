#pragma once

#include <QString>
#include <QUrl>

// A view's drawing found by the plain name of its class: the QML file of that
// name in any of the application's QML modules ("FileCell" ->
// qrc:/Corvantis/Intake/FileCell.qml). A class with no drawing is a
// programming error and stops the application, naming the class.
QUrl loadFromNib(const QString& className);
// The same without stopping: empty when there is no such drawing.
QUrl findNib(const QString& className);
