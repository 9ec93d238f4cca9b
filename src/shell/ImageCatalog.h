#pragma once

#include <QtQml/qqmlregistration.h>
#include <QObject>
#include <QString>
#include <QUrl>

class QQmlEngine;
class QJSEngine;

// The images the screens name by their literal names ("AddBtn",
// "Tutorial 1", ...), each drawn by us as a vector file.
class ImageCatalog : public QObject {
    Q_OBJECT
    QML_NAMED_ELEMENT(Images)
    QML_SINGLETON

public:
    explicit ImageCatalog(QObject* parent = nullptr) : QObject(parent) {}
    static ImageCatalog* create(QQmlEngine* engine, QJSEngine*);

    // The drawing of a named image; empty, with a diagnostic naming it, for a
    // name that has none.
    Q_INVOKABLE static QUrl source(const QString& name);
    static bool contains(const QString& name);
    static QStringList names();
};
