#pragma once

#include <QtQml/qqmlregistration.h>
#include <QObject>

class QQmlEngine;
class QJSEngine;

// Some controls make items of their own with no owner: a swipe row makes
// the button it reveals that way, and the button then outlives the row it
// was made for, with its bindings and texts, until the process ends. Such
// an item is handed to the item it belongs to here, and goes with it.
class Ownership : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_SINGLETON

public:
    using QObject::QObject;
    static Ownership* create(QQmlEngine*, QJSEngine*);

    // Makes `owner` delete `object` when it goes, unless something owns it
    // already. Nothing happens when either is missing.
    Q_INVOKABLE static void keepWith(QObject* object, QObject* owner);
};
