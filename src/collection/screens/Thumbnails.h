#pragma once

#include <QtQml/qqmlregistration.h>
#include <QObject>
#include <QString>

class QQmlEngine;
class QJSEngine;

// The rows' pictures for QML: "image://thumbnails/<key>" addresses, served by
// an image provider that decodes on threads of its own, so a row shows its
// picture when it arrives and the main thread never waits for one. Using the
// singleton installs the provider in its engine.
class Thumbnails : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_SINGLETON

public:
    static constexpr auto kProviderName = "thumbnails";

    static Thumbnails* create(QQmlEngine* engine, QJSEngine*);
    // Installs the provider once in `engine`.
    static void install(QQmlEngine* engine);

    // The address of a row's picture; empty for an empty key.
    Q_INVOKABLE static QString source(const QString& key);

private:
    explicit Thumbnails(QObject* parent = nullptr) : QObject(parent) {}
};
