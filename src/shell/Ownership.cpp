#include "Ownership.h"

#include <QQmlEngine>

Ownership* Ownership::create(QQmlEngine*, QJSEngine*) {
    return new Ownership;
}

void Ownership::keepWith(QObject* object, QObject* owner) {
    if (!object || !owner || object == owner || object->parent()) {
        return;
    }
    object->setParent(owner);
    // Deleted through its owner, never collected by the script engine.
    QQmlEngine::setObjectOwnership(object, QQmlEngine::CppOwnership);
}
